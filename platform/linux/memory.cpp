// Memory blocks over the C heap; small ones are pieces of pages. A block carries its asked size in
// a header of eight bytes, since a resize must know which bytes are new and the C heap only knows a
// rounded size. The caller gets the address after the header.

#include "platform/memory.h"

#include <malloc.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

#include "linux/failures.h"
#include "linux/owned.h"
#include "linux/smallblocks.h"
#include "platform/control.h"

namespace vrplatform {

namespace {

struct BlockHeader {
    uint32_t size;    // as asked for
    PiecePage* page;  // that the block is a piece of; null for one of the C heap's own
};
static_assert(sizeof(BlockHeader) == 8, "a block's address is a multiple of 8");

uint32_t blocksOut = 0;
FailurePlan failures = {};

bool FitsWithHeader(uint32_t size) {
    return size <= UINT32_MAX - sizeof(BlockHeader);
}

BlockHeader* HeaderOf(void* block) {
    return static_cast<BlockHeader*>(block) - 1;
}

// A block with its header filled in.
BlockHeader* NewBlock(uint32_t size, bool zeroed) {
    const size_t total = sizeof(BlockHeader) + size;
    PiecePage* page = nullptr;
    void* raw = TakePiece(total, page);
    if (raw == nullptr) {
        raw = zeroed ? std::calloc(1, total) : std::malloc(total);
    } else if (zeroed) {
        std::memset(raw, 0, total);
    }
    return raw == nullptr ? nullptr : new (raw) BlockHeader{size, page};
}

void GiveBack(BlockHeader* header) {
    if (header->page != nullptr) {
        GivePieceBack(header, header->page);
    } else {
        std::free(header);
    }
}

// The block, moved where it needs more room; null leaves it unchanged.
BlockHeader* WithRoom(BlockHeader* header, uint32_t size) {
    const size_t total = sizeof(BlockHeader) + size;
    if (header->page == nullptr) return static_cast<BlockHeader*>(std::realloc(header, total));
    if (total <= PieceSize(*header->page)) return header;
    BlockHeader* larger = NewBlock(size, false);
    if (larger == nullptr) return nullptr;
    std::memcpy(larger + 1, header + 1, header->size);
    GiveBack(header);
    return larger;
}

}  // namespace

}  // namespace vrplatform

using namespace vrplatform;

void* LocalAlloc(uint32_t flags, uint32_t size) {
    if (failures.MustFail() || !FitsWithHeader(size)) return nullptr;
    BlockHeader* header = NewBlock(size, (flags & LMEM_ZEROINIT) != 0);
    if (header == nullptr) return nullptr;
    ++blocksOut;
    return header + 1;
}

void* LocalReAlloc(void* block, uint32_t size, uint32_t flags) {
    if (block == nullptr) return LocalAlloc(flags, size);
    if (failures.MustFail() || !FitsWithHeader(size)) return nullptr;
    const uint32_t oldSize = HeaderOf(block)->size;
    BlockHeader* header = WithRoom(HeaderOf(block), size);
    if (header == nullptr) return nullptr;
    header->size = size;
    auto* bytes = reinterpret_cast<unsigned char*>(header + 1);
    if ((flags & LMEM_ZEROINIT) != 0 && size > oldSize) {
        std::memset(bytes + oldSize, 0, size - oldSize);
    }
    return bytes;
}

void* LocalFree(void* block) {
    if (block == nullptr) return nullptr;
    GiveBack(HeaderOf(block));
    --blocksOut;
    return nullptr;
}

// A line of the map begins with the range's first address and the one after its end, in hexadecimal
// with a hyphen between.
uint32_t GlobalCompact(uint32_t) {
    malloc_trim(0);
    const FileStream maps(std::fopen("/proc/self/maps", "re"));
    if (maps == nullptr) return 0;
    unsigned long largest = 0;
    unsigned long previousEnd = 0;
    char line[512];
    while (std::fgets(line, sizeof line, maps.get()) != nullptr) {
        char* hyphen = nullptr;
        const unsigned long start = std::strtoul(line, &hyphen, 16);
        if (*hyphen != '-') continue;  // the rest of a long line
        if (start > previousEnd) largest = std::max(largest, start - previousEnd);
        previousEnd = std::strtoul(hyphen + 1, nullptr, 16);
    }
    return static_cast<uint32_t>(largest);
}

void* GlobalAlloc(uint32_t flags, uint32_t size) {
    return LocalAlloc(flags, size);
}

void* GlobalLock(void* handle) {
    return handle;
}

int32_t GlobalUnlock(void*) {
    return 0;
}

void* GlobalFree(void* handle) {
    return LocalFree(handle);
}

void ControlFailAllocations(uint32_t nth, uint32_t count) {
    failures = {nth, count, 0};
}

uint32_t ControlBlocksOut() {
    return blocksOut;
}
