// The pools: 16 size classes of 4 to 64 bytes. A page holds 25 slots, and a free
// slot names the next one by an index in its own header, so a page keeps no list
// of slots and taking or giving back costs a handful of moves.
//
//     page:  | record | header | payload | header | payload | ...   25 times
//
// A slot's header holds its distance from the page, so that a slot finds its page with one
// subtraction. Pages with a free slot are on the pool's open list, the others on its full list; up
// to two pages' worth of slots is kept when free, so that a pool does not make and free the same
// page over and over.

#define VR_MODULE "vrmem"

#include <emmintrin.h>

#include <cstring>

#include "core/Invariant.h"
#include "core/vrmem.h"
#include "core/vrmem_poison.h"
#include "platform/memory.h"

namespace {

constexpr int32_t kPoolCount = 16;
constexpr int32_t kSizeStep = 4;  // payload bytes from one pool to the next
constexpr int32_t kSlotsPerPage = 25;
constexpr int32_t kFreeSlotsKept = 2 * kSlotsPerPage;
constexpr int32_t kWideStore = 16;  // bytes
static_assert(kPoolCount * kSizeStep <= 4 * kWideStore, "four stores reach all of a payload");

struct Page;

struct Pool {
    Pool* self;
    int32_t itemSize;      // payload bytes of a slot
    int32_t itemsPerPage;  // 1 to 255, since an index lives in one byte
    Page* openPages;
    Page* fullPages;
    int32_t freeSlots;  // in all pages
    uint32_t noClear;   // not 0: slots are not zeroed when they are taken
    uint32_t reciprocal;
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

constexpr int32_t StrideOf(int32_t itemSize) {
    return vr::poison::ClosedSize(itemSize) + vr::poison::kFiller +
           static_cast<int32_t>(sizeof(SlotHeader));
}

int32_t SlotStride(const Pool& pool) {
    return StrideOf(pool.itemSize);
}

uint32_t OffsetOfIndex(const Pool& pool, int32_t index) {
    return static_cast<uint32_t>(static_cast<int32_t>(sizeof(Page)) +
                                 (index - 1) * SlotStride(pool));
}

// A division by the pool's stride is a product with its reciprocal in 16 bits, which costs a
// quarter as much and is exact for every slot of a page.
constexpr uint32_t kReciprocalBits = 16;

constexpr uint32_t ReciprocalOf(uint32_t stride) {
    return ((1U << kReciprocalBits) + stride - 1) / stride;
}

constexpr bool ReciprocalsAreExact() {
    for (int32_t pool = 1; pool <= kPoolCount; ++pool) {
        const auto stride = static_cast<uint32_t>(StrideOf(pool * kSizeStep));
        for (uint32_t slot = 0; slot < uint32_t{kSlotsPerPage}; ++slot) {
            if ((slot * stride * ReciprocalOf(stride)) >> kReciprocalBits != slot) return false;
        }
    }
    return true;
}
static_assert(ReciprocalsAreExact());

uint8_t IndexOfOffset(const Pool& pool, uint32_t offset) {
    const uint32_t distance = offset - static_cast<uint32_t>(sizeof(Page));
    return static_cast<uint8_t>((distance * pool.reciprocal >> kReciprocalBits) + 1);
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

// Zeroes a payload in two to four stores, which overlap where the size is not a multiple of theirs;
// a call would cost more than the stores.
void ZeroPayload(char* payload, int32_t size) {
    const auto zeroWide = [payload](int32_t at) {
        _mm_storeu_si128(reinterpret_cast<__m128i*>(payload + at), _mm_setzero_si128());
    };
    const auto zeroNarrow = [payload](int32_t at) { std::memset(payload + at, 0, kSizeStep); };
    if (size < kWideStore) {
        zeroNarrow(0);
        zeroNarrow(size / 2 & -kSizeStep);
        zeroNarrow(size - kSizeStep);
        return;
    }
    zeroWide(0);
    zeroWide(size - kWideStore);
    if (size <= 2 * kWideStore) return;
    zeroWide(kWideStore);
    zeroWide(size - 2 * kWideStore);
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

// Its neighbours' links lead back to the page.
bool LinksAreSound(const Page* list, const Page& page) {
    if (page.next != nullptr && page.next->previous != &page) return false;
    return page.previous == nullptr ? list == &page : page.previous->next == &page;
}

// The chain of free slots is as long as the page says. On a full page there is none.
bool ChainIsSound(const Pool& pool, Page& page) {
    if (page.freeSlots == 0) return true;
    uint32_t offset = page.firstFree;
    for (int32_t left = page.freeSlots; left > 1; --left) {
        const uint8_t next = SlotAt(page, offset).nextFree;
        if (next == 0 || next > pool.itemsPerPage) return false;
        offset = OffsetOfIndex(pool, next);
    }
    return SlotAt(page, offset).nextFree == 0;
}

bool IsSound(const Pool& pool, const Page* list, Page& page) {
    const bool isOpen = list == pool.openPages;
    return page.pool == &pool && (page.freeSlots != 0) == isOpen && LinksAreSound(list, page) &&
           ChainIsSound(pool, page);
}

bool CountsAreSound(const Pool& pool) {
    int32_t freeSlots = 0;
    for (const Page* page = pool.openPages; page != nullptr; page = page->next)
        freeSlots += page->freeSlots;
    return freeSlots == pool.freeSlots;
}

void LayOutSlots(const Pool& pool, Page& page) {
    for (int32_t index = 1; index <= pool.itemsPerPage; ++index) {
        const uint32_t offset = OffsetOfIndex(pool, index);
        const int32_t next = index < pool.itemsPerPage ? index + 1 : 0;
        SlotHeader& slot = SlotAt(page, offset);
        slot = {static_cast<uint16_t>(offset), static_cast<uint8_t>(next), vr::kPoolSlotClass};
        vr::poison::Close(&slot + 1, vr::poison::ClosedSize(pool.itemSize));
    }
}

// What happens once for a page, and not for each slot, is not inlined.

// Memory may run short here, and then callbacks give slots back: the lists are
// read only after the page is there.
[[gnu::noinline]] void MakePage(Pool& pool) {
    const auto size = static_cast<uint32_t>(static_cast<int32_t>(sizeof(Page)) +
                                            pool.itemsPerPage * SlotStride(pool));
    auto& page = *static_cast<Page*>(_MallocMore(size, nullptr, nullptr, 0));
    page.pool = &pool;
    page.freeSlots = pool.itemsPerPage;
    page.firstFree = OffsetOfIndex(pool, 1);
    LayOutSlots(pool, page);
    PushFront(pool.openPages, page);
    pool.freeSlots += pool.itemsPerPage;
    VR_INVARIANT(IsSound(pool, pool.openPages, page));
}

[[gnu::noinline]] void ReleasePage(Pool& pool, Page& page) {
    VR_INVARIANT(IsSound(pool, pool.openPages, page));
    Unlink(pool.openPages, page);
    pool.freeSlots -= pool.itemsPerPage;
    LocalFree(&page);
}

[[gnu::noinline]] void ClosePage(Pool& pool, Page& page) {
    Unlink(pool.openPages, page);
    PushFront(pool.fullPages, page);
    VR_INVARIANT(IsSound(pool, pool.fullPages, page));
}

[[gnu::noinline]] void ReopenPage(Pool& pool, Page& page) {
    Unlink(pool.fullPages, page);
    PushFront(pool.openPages, page);
    VR_INVARIANT(IsSound(pool, pool.openPages, page));
}

// The head of the open list serves the next request. It tends to be the page with
// the most free slots, so that nearly full pages are left to fill and empty ones
// to be released.
[[gnu::noinline]] void PromotePage(Pool& pool, Page& page) {
    Unlink(pool.openPages, page);
    PushFront(pool.openPages, page);
    VR_INVARIANT(IsSound(pool, pool.openPages, page));
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
        const int32_t itemSize = (i + 1) * kSizeStep;
        const auto stride = static_cast<uint32_t>(StrideOf(itemSize));
        *pool = {pool, itemSize, kSlotsPerPage, nullptr, nullptr, 0, 0, ReciprocalOf(stride)};
    }
}

void vr::FreePools() {
    for (Pool* pool : pools) {
        if (pool == nullptr) continue;
        VR_INVARIANT(CountsAreSound(*pool));
        FreePages(pool->fullPages);
        FreePages(pool->openPages);
        LocalFree(pool);
    }
}

// `size` includes the zero byte after the block, so that a block of 62 bytes takes a slot of 64,
// and one of 4 bytes a slot of 8.
void* vr::TakeSlot(uint32_t size) {
    Pool* pool = pools[(size - 1) / kSizeStep];
    if (pool == nullptr) [[unlikely]]
        return nullptr;
    if (pool->openPages == nullptr) [[unlikely]]
        MakePage(*pool);

    Page& page = *pool->openPages;
    SlotHeader& slot = SlotAt(page, page.firstFree);
    page.firstFree = OffsetOfIndex(*pool, slot.nextFree);
    --pool->freeSlots;
    if (--page.freeSlots == 0) [[unlikely]]
        ClosePage(*pool, page);
    auto* payload = reinterpret_cast<char*>(&slot + 1);
    vr::poison::Open(payload, pool->itemSize);
    if (pool->noClear == 0) ZeroPayload(payload, pool->itemSize);
    const auto used = static_cast<int32_t>(size);
    vr::poison::Close(payload + used, vr::poison::ClosedSize(pool->itemSize) - used);
    return payload;
}

void vr::GiveSlotBack(void* payload) {
    SlotHeader& slot = HeaderOf(payload);
    Page& page = PageOf(slot);
    Pool& pool = *page.pool;
    const bool wasFull = page.freeSlots == 0;
    vr::poison::Touch(payload);
    vr::poison::Close(payload, vr::poison::ClosedSize(pool.itemSize));

    slot.nextFree = wasFull ? uint8_t{0} : IndexOfOffset(pool, page.firstFree);
    page.firstFree = slot.pageOffset;
    ++page.freeSlots;
    ++pool.freeSlots;
    if (wasFull) [[unlikely]] {
        ReopenPage(pool, page);
    } else if (page.freeSlots == pool.itemsPerPage && pool.freeSlots > kFreeSlotsKept)
        [[unlikely]] {
        ReleasePage(pool, page);
    } else if (pool.openPages->freeSlots < page.freeSlots) {
        PromotePage(pool, page);
    }
}

uint32_t vr::SlotSize(void* payload) {
    return static_cast<uint32_t>(PageOf(HeaderOf(payload)).pool->itemSize);
}
