// The pools: 16 size classes of 4 to 64 bytes. A page holds 25 slots, and a free
// slot names the next one by an index in its own header, so a page keeps no list
// of slots and taking or giving back costs a handful of moves.
//
//     page:  | record | header | payload | header | payload | ...   25 times
//
// A slot's header holds its distance from the page, so that a slot finds its page
// with one subtraction. Pages with a free slot stand on the pool's open list, the
// others on its full list; up to two pages' worth of slots is kept when free, so
// that a pool does not make and free one page in turn.

#include <cstring>

#include "core/vrmem.h"
#include "platform/memory.h"

namespace {

constexpr int32_t kPoolCount = 16;
constexpr int32_t kSizeStep = 4;  // payload bytes from one pool to the next
constexpr int32_t kSlotsPerPage = 25;
constexpr int32_t kFreeSlotsKept = 2 * kSlotsPerPage;

struct Page;

struct Pool {
    Pool* self;
    int32_t itemSize;      // payload bytes of a slot
    int32_t itemsPerPage;  // 1 to 255, since an index lives in one byte
    Page* openPages;
    Page* fullPages;
    int32_t freeSlots;  // in all pages
    uint32_t noClear;   // not 0: slots are handed out without zeroing
};

struct Page {
    Pool* pool;
    int32_t freeSlots;
    Page* next;
    Page* previous;      // null at the head
    uint32_t firstFree;  // offset of a slot's header; means nothing on a full page
};
static_assert(sizeof(Page) == 20);

struct SlotHeader {
    uint16_t pageOffset;  // from the start of the page to this header
    uint8_t nextFree;     // 1-based index of the next free slot, 0 ends the chain
    uint8_t classByte;    // vr::kPoolSlotClass
};
static_assert(sizeof(SlotHeader) == 4);

Pool* pools[kPoolCount];

int32_t SlotStride(const Pool& pool) {
    return pool.itemSize + static_cast<int32_t>(sizeof(SlotHeader));
}

uint32_t OffsetOfIndex(const Pool& pool, int32_t index) {
    return static_cast<uint32_t>(static_cast<int32_t>(sizeof(Page)) +
                                 (index - 1) * SlotStride(pool));
}

uint8_t IndexOfOffset(const Pool& pool, uint32_t offset) {
    const uint32_t distance = offset - static_cast<uint32_t>(sizeof(Page));
    return static_cast<uint8_t>(distance / static_cast<uint32_t>(SlotStride(pool)) + 1);
}

SlotHeader& SlotAt(Page& page, uint32_t offset) {
    return *reinterpret_cast<SlotHeader*>(reinterpret_cast<char*>(&page) + offset);
}

SlotHeader& HeaderOf(void* payload) {
    return static_cast<SlotHeader*>(payload)[-1];
}

Page& PageOf(SlotHeader& slot) {
    return *reinterpret_cast<Page*>(reinterpret_cast<char*>(&slot) - slot.pageOffset);
}

void PushFront(Page*& list, Page& page) {
    page.next = list;
    page.previous = nullptr;
    if (list != nullptr) list->previous = &page;
    list = &page;
}

void Unlink(Page*& list, Page& page) {
    if (page.previous != nullptr) {
        page.previous->next = page.next;
    } else {
        list = page.next;
    }
    if (page.next != nullptr) page.next->previous = page.previous;
}

void LayOutSlots(const Pool& pool, Page& page) {
    for (int32_t index = 1; index <= pool.itemsPerPage; ++index) {
        const uint32_t offset = OffsetOfIndex(pool, index);
        const int32_t next = index < pool.itemsPerPage ? index + 1 : 0;
        SlotAt(page, offset) = {static_cast<uint16_t>(offset), static_cast<uint8_t>(next),
                                vr::kPoolSlotClass};
    }
}

// Memory may run short here, and then callbacks give slots back: the lists are
// read only after the page is there.
void MakePage(Pool& pool) {
    const auto size = static_cast<uint32_t>(static_cast<int32_t>(sizeof(Page)) +
                                            pool.itemsPerPage * SlotStride(pool));
    auto& page = *static_cast<Page*>(_MallocMore(size, nullptr, nullptr, 0));
    page.pool = &pool;
    page.freeSlots = pool.itemsPerPage;
    page.firstFree = OffsetOfIndex(pool, 1);
    LayOutSlots(pool, page);
    PushFront(pool.openPages, page);
    pool.freeSlots += pool.itemsPerPage;
}

void ReleasePage(Pool& pool, Page& page) {
    Unlink(pool.openPages, page);
    pool.freeSlots -= pool.itemsPerPage;
    LocalFree(&page);
}

// The head of the open list serves the next request. It tends to be the page with
// the most free slots, so that nearly full pages are left to fill and empty ones
// to be released.
void PromotePage(Pool& pool, Page& page) {
    if (pool.openPages->freeSlots >= page.freeSlots) return;
    Unlink(pool.openPages, page);
    PushFront(pool.openPages, page);
}

void FreePages(Page* list) {
    while (list != nullptr) {
        Page* next = list->next;
        LocalFree(list);
        list = next;
    }
}

}  // namespace

void vr::StartPools() {
    for (int32_t i = 0; i < kPoolCount; ++i) {
        auto* pool = static_cast<Pool*>(LocalAlloc(LMEM_FIXED, sizeof(Pool)));
        pools[i] = pool;
        if (pool == nullptr) continue;
        *pool = {pool, (i + 1) * kSizeStep, kSlotsPerPage, nullptr, nullptr, 0, 0};
    }
}

void vr::FreePools() {
    for (Pool* pool : pools) {
        if (pool == nullptr) continue;
        FreePages(pool->fullPages);
        FreePages(pool->openPages);
        LocalFree(pool);
    }
}

// `size` counts the zero byte behind the block, so that a block of 62 bytes takes
// a slot of 64, and one of 4 bytes a slot of 8.
void* vr::TakeSlot(uint32_t size) {
    Pool* pool = pools[(size - 1) / kSizeStep];
    if (pool == nullptr) return nullptr;
    if (pool->openPages == nullptr) MakePage(*pool);

    Page& page = *pool->openPages;
    SlotHeader& slot = SlotAt(page, page.firstFree);
    page.firstFree = OffsetOfIndex(*pool, slot.nextFree);
    --pool->freeSlots;
    if (--page.freeSlots == 0) {
        Unlink(pool->openPages, page);
        PushFront(pool->fullPages, page);
    }
    void* payload = &slot + 1;
    if (pool->noClear == 0) std::memset(payload, 0, size);
    return payload;
}

void vr::GiveSlotBack(void* payload) {
    SlotHeader& slot = HeaderOf(payload);
    Page& page = PageOf(slot);
    Pool& pool = *page.pool;
    const bool wasFull = page.freeSlots == 0;

    slot.nextFree = wasFull ? uint8_t{0} : IndexOfOffset(pool, page.firstFree);
    page.firstFree = slot.pageOffset;
    ++page.freeSlots;
    ++pool.freeSlots;
    if (wasFull) {
        Unlink(pool.fullPages, page);
        PushFront(pool.openPages, page);
    } else if (page.freeSlots == pool.itemsPerPage && pool.freeSlots > kFreeSlotsKept) {
        ReleasePage(pool, page);
    } else {
        PromotePage(pool, page);
    }
}

uint32_t vr::SlotSize(void* payload) {
    return static_cast<uint32_t>(PageOf(HeaderOf(payload)).pool->itemSize);
}
