/* Memory: fixed blocks, resizable blocks and a view of what is left.
 *
 * A block's address is a multiple of 8. The platform keeps the size that was
 * asked for, so that a resize can zero exactly the bytes that are new. */
#ifndef PLATFORM_MEMORY_H
#define PLATFORM_MEMORY_H

#include "platform/base.h"

/* Flags of blocks. */
enum {
    LMEM_FIXED = 0,     /* none: new bytes are undefined */
    LMEM_MOVEABLE = 2,  /* of a resize: the block may move */
    LMEM_ZEROINIT = 64, /* new bytes are zero */
    GMEM_MOVEABLE = 2   /* of GlobalAlloc: the block is reached through its handle */
};

PLATFORM_BEGIN

/* A block of `size` bytes, zeroed with LMEM_ZEROINIT; null when there is no memory. A size of 0
 * gives a block too. The caller frees it with LocalFree. */
PLATFORM_API void* LocalAlloc(uint32_t flags, uint32_t size) PLATFORM_SYMBOL(LocalAlloc);

/* The block at its new size, which may have moved; null when there is no memory, and then the old
 * block is unchanged. The contents survive up to the smaller size. With LMEM_ZEROINIT the bytes
 * beyond the old size are zero. A resize without LMEM_MOVEABLE may move the block too. */
PLATFORM_API void* LocalReAlloc(void* block, uint32_t size, uint32_t flags)
    PLATFORM_SYMBOL(LocalReAlloc);

/* Frees a block; null is ignored. Always returns null. */
PLATFORM_API void* LocalFree(void* block) PLATFORM_SYMBOL(LocalFree);

/* Gives unused heap pages back to the system, and returns the largest block of address space, in
 * bytes, that is still free. `size`, the number of bytes that a caller wants, is a hint that is
 * ignored here. */
PLATFORM_API uint32_t GlobalCompact(uint32_t size) PLATFORM_SYMBOL(GlobalCompact);

/* A block reached through a handle; here the handle is the block's address. Flags as of LocalAlloc.
 * GlobalLock returns the address; GlobalUnlock returns 0, for no longer locked; GlobalFree frees
 * the block and returns null. */
PLATFORM_API void* GlobalAlloc(uint32_t flags, uint32_t size) PLATFORM_SYMBOL(GlobalAlloc);
PLATFORM_API void* GlobalLock(void* handle) PLATFORM_SYMBOL(GlobalLock);
PLATFORM_API int32_t GlobalUnlock(void* handle) PLATFORM_SYMBOL(GlobalUnlock);
PLATFORM_API void* GlobalFree(void* handle) PLATFORM_SYMBOL(GlobalFree);

PLATFORM_END

#endif
