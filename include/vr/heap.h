/* Region heaps: small pieces that belong together and are freed together.
 *
 * Taking a piece costs moving a pointer, and a piece has no header. Pieces lie back to back in
 * chunks of a multiple of 4096 bytes, and a piece never spans two chunks; only the last chunk is
 * ever tried. What was written to a heap can be taken out as one string.
 *
 * A heap belongs to its creator, who destroys it; VrExit does not. Every function accepts a null
 * heap, and returns null, 0 or NullVrStr's string for it. */
#ifndef VR_HEAP_H
#define VR_HEAP_H

#include "vr/abi.h"
#include "vr/chunk.h"
#include "vr/string.h"

/* The size of a chunk is a multiple of so many bytes. */
enum { kVrHeapUnit = 4096 };

/* A heap. */
typedef struct VrHeap {
    VrChunkChain chunks;     /* hold the pieces */
    struct VrHeap* previous; /* in the list of all heaps, newest first */
    struct VrHeap* next;     /* an older one; null for the oldest */
} VrHeap;
VR_STATIC_ASSERT(sizeof(VrHeap) == 24, "six words");

VR_BEGIN

/* Forgets all heaps without freeing them. Not needed at the start. */
VR_API void vrHeapInitialise(void);

/* A new heap without a chunk. */
VR_API VR_OWNED VrHeap* vrHeapCreate(void);

/* The first frees the heap and all its pieces, the second does this with every heap. */
VR_API void vrHeapDestroy(VrHeap* heap);
VR_API void vrHeapDestroyAll(void);

/* A piece of `size` bytes, all zero; null for a size of 0 or less. It belongs to the
 * heap, as do those of the next two. */
VR_API void* vrHeapAlloc(VrHeap* heap, int32_t size);

/* A copy of the zero-terminated text, its zero included. A null text counts as an
 * empty one. */
VR_API char* vrHeapWriteStr(VrHeap* heap, const char* text);

/* A copy of `count` bytes; null for a count of 0 or less. */
VR_API void* vrHeapWriteNChars(VrHeap* heap, const void* source, int32_t count);

/* The bytes of all pieces. *reserved receives the bytes of all chunks. */
VR_API int32_t vrHeapSize(const VrHeap* heap, int32_t* reserved);

/* A new string of all pieces in the order in which they were taken, which the caller
 * frees; NullVrStr's string when there are none. The heap stays as it was. */
VR_API VR_OWNED VrString vrHeapUnloadToVrString(const VrHeap* heap);

VR_END

#endif
