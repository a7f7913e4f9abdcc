/* The chunks that region heaps and memory buffers are made of. */
#ifndef VR_CHUNK_H
#define VR_CHUNK_H

#include "vr/abi.h"

/* The header of a chunk; the pieces follow it at once. */
typedef struct VrChunk {
    int32_t units;           /* size of the chunk, this header included */
    int32_t room;            /* bytes still free at the end */
    unsigned char* lastByte; /* the last byte in use */
    struct VrChunk* next;    /* null for the last chunk */
} VrChunk;
VR_STATIC_ASSERT(sizeof(VrChunk) == 16, "four words");

/* The chunks of one heap or buffer, in the order in which they were made. */
typedef struct VrChunkChain {
    VrChunk* first; /* null for an empty chain */
    VrChunk* last;  /* the one that new pieces go to */
    int32_t units;  /* of all chunks */
    int32_t used;   /* bytes of all pieces */
} VrChunkChain;
VR_STATIC_ASSERT(sizeof(VrChunkChain) == 16, "four words");

#endif
