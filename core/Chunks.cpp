// A chunk hands out its room from the front and remembers the last byte in use. Only
// the last chunk of a chain is asked, so what is left in the others stays unused.

#define VR_MODULE "Chunks"

#include "core/Chunks.h"

#include "core/vrmem.h"

namespace {

void Append(VrChunkChain& chain, VrChunk* chunk) {
    (chain.last == nullptr ? chain.first : chain.last->next) = chunk;
    chain.last = chunk;
    chain.units += chunk->units;
}

// No sum exceeds 32 bits: at most 2^31 + 15 bytes are needed. Rounding up to a unit of 2^31 - 15
// bytes or less adds fewer bytes than the unit has, and two of a larger unit are enough. The
// allocator refuses sizes that no block can have.
VrChunk* NewChunk(int32_t unitSize, int32_t size, const char* tag) {
    const uint32_t needed = sizeof(VrChunk) + static_cast<uint32_t>(size);
    const auto unit = static_cast<uint32_t>(unitSize);
    const uint32_t units = (needed - 1) / unit + 1;
    const uint32_t bytes = units * unit;
    auto* chunk = static_cast<VrChunk*>(_alloc_memory(bytes, tag, __LINE__));
    chunk->units = static_cast<int32_t>(units);
    chunk->room = static_cast<int32_t>(bytes - sizeof(VrChunk));
    chunk->lastByte = reinterpret_cast<unsigned char*>(chunk + 1) - 1;
    return chunk;
}

}  // namespace

void* vr::TakePiece(VrChunkChain& chain, int32_t unitSize, int32_t size, const char* tag) {
    if (size <= 0) return nullptr;
    if (chain.last == nullptr || size > chain.last->room) {
        Append(chain, NewChunk(unitSize, size, tag));
    }
    VrChunk& chunk = *chain.last;
    unsigned char* piece = chunk.lastByte + 1;
    chunk.lastByte += size;
    chunk.room -= size;
    chain.used += size;
    return piece;
}

void vr::FreeChunks(VrChunkChain& chain) {
    while (chain.first != nullptr) {
        VrChunk* next = chain.first->next;
        free_mem(&chain.first);
        chain.first = next;
    }
    chain = {};
}
