/* Memory buffers and buffer descriptors.
 *
 * A MemBuf hands out pieces as a region heap does (vr/heap.h), in chunks of a unit
 * that its creator chooses. A BufDscr is one growing block that is appended to, and
 * can be taken out as a string.
 *
 * Both belong to their creator, who destroys them. Every function accepts a null one, and returns
 * null, 0 or NullVrStr's string for it. */
#ifndef VR_BUFFER_H
#define VR_BUFFER_H

#include "vr/abi.h"
#include "vr/chunk.h"
#include "vr/string.h"

/* A memory buffer. */
typedef struct MemBuf {
    VrChunkChain chunks; /* hold the pieces */
    int32_t unitSize;    /* bytes; a chunk is a multiple of it */
} MemBuf;
VR_STATIC_ASSERT(sizeof(MemBuf) == 20, "five words");

/* A buffer descriptor. */
typedef struct BufDscr {
    int32_t capacity;    /* bytes of the data block */
    int32_t step;        /* by how much it grows each time */
    int32_t used;        /* bytes written */
    unsigned char* data; /* the block, which moves when it grows */
} BufDscr;
VR_STATIC_ASSERT(sizeof(BufDscr) == 16, "four words");

VR_BEGIN

/* A new MemBuf without a chunk; null for a unit size below 1. */
VR_API VR_OWNED MemBuf* MemBufCreate(int32_t unitSize);

/* Frees the MemBuf and all its pieces. */
VR_API void MemBufDestroy(MemBuf* buffer);

/* A piece of `size` bytes, all zero, which belongs to the MemBuf; null for a size of 0
 * or less. */
VR_API void* MemBufAlloc(MemBuf* buffer, int32_t size);

/* The bytes of all pieces. *reserved receives the bytes of all chunks. */
VR_API int32_t MemBufSize(const MemBuf* buffer, int32_t* reserved);

/* A new BufDscr of that capacity, which is also its step; null for a size below 1. */
VR_API VR_OWNED BufDscr* BufDscrCreate(int32_t size);

/* Frees the BufDscr and its data. */
VR_API void BufDscrDestroy(BufDscr* buffer);

/* Appends `length` bytes and then, unless it is 0, the end byte, as for a field with
 * its mark. A null source, and a length below 0, count as length 0. The source must not
 * lie in the BufDscr, whose data may move. Returns the BufDscr. */
VR_API BufDscr* AddStrToBuffer(BufDscr* buffer, const void* source, int32_t length,
                               unsigned char endByte);

/* A new string of the bytes written, which the caller frees; NullVrStr's string when
 * there are none. The BufDscr stays as it was. */
VR_API VR_OWNED VrString BufDscrMakeVrStr(const BufDscr* buffer);

VR_END

#endif
