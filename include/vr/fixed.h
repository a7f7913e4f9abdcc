/* The fixed store: small pieces that stay until VrExit.
 *
 * Pieces lie back to back, with no header and no alignment, in blocks of 20480 bytes, of which
 * 20476 hold pieces; taking a piece costs moving a pointer, and a piece is never freed. One larger
 * than a block gets a block of its own. What is left in a block when a piece does not fit is not
 * used any more. */
#ifndef VR_FIXED_H
#define VR_FIXED_H

#include "vr/abi.h"

/* Bytes of a block that hold pieces. */
enum { kVrFixedBlockRoom = 20476 };

VR_BEGIN

/* A piece of `size` bytes of undefined content, which the caller fills. A size of 0 or
 * less takes nothing and gives the place of the next piece. */
VR_API void* MemFixedAlloc(int32_t size);

/* A piece that is a copy of the `size` bytes at `source`. */
VR_API void* MemFixedWrite(const void* source, int32_t size);

VR_END

#endif
