// Chunk chains, which region heaps and memory buffers share.
#ifndef CORE_CHUNKS_H
#define CORE_CHUNKS_H

#include "vr/chunk.h"

namespace vr {

// A piece of `size` zero bytes from the last chunk, or from a new one of the smallest
// number of units that holds it, taken for the module `tag`. Null for a size of 0 or less.
void* TakePiece(VrChunkChain& chain, int32_t unitSize, int32_t size, const char* tag);

void FreeChunks(VrChunkChain& chain);

}  // namespace vr

#endif
