// The fixed store: a chain of blocks, each with the next one's address in its first word. Pieces
// are cut off the current block. A new block is linked in after the current one. It becomes the
// current one, unless it was made for a single piece that is larger than a block.

#define VR_MODULE "vrmem"

#include "vr/fixed.h"

#include <algorithm>
#include <cstring>

#include "core/vrmem.h"

namespace {

struct Block {
    Block* next;  // the pieces follow at once
};

Block* firstBlock = nullptr;
Block* currentBlock = nullptr;
unsigned char* writePosition = nullptr;
int32_t roomLeft = 0;

unsigned char* PiecesOf(Block* block) {
    return reinterpret_cast<unsigned char*>(block + 1);
}

Block* AddBlock(uint32_t room) {
    auto* block = static_cast<Block*>(alloc_memory(room + sizeof(Block)));
    if (firstBlock == nullptr) {
        firstBlock = block;
    } else {
        block->next = currentBlock->next;
        currentBlock->next = block;
    }
    return block;
}

void StartBlock() {
    currentBlock = AddBlock(kVrFixedBlockRoom);
    writePosition = PiecesOf(currentBlock);
    roomLeft = kVrFixedBlockRoom;
}

}  // namespace

void vr::StartFixedStore() {
    StartBlock();
}

void vr::FreeFixedStore() {
    while (firstBlock != nullptr) {
        Block* next = firstBlock->next;
        free_mem(&firstBlock);
        firstBlock = next;
    }
}

void* MemFixedAlloc(int32_t size) {
    size = std::max(size, 0);
    if (size > kVrFixedBlockRoom) return PiecesOf(AddBlock(static_cast<uint32_t>(size)));
    if (size > roomLeft) StartBlock();
    unsigned char* piece = writePosition;
    writePosition += size;
    roomLeft -= size;
    return piece;
}

void* MemFixedWrite(const void* source, int32_t size) {
    void* piece = MemFixedAlloc(size);
    if (size > 0) std::memcpy(piece, source, static_cast<size_t>(size));
    return piece;
}
