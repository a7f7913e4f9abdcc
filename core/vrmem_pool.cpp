// The pools: 16 size classes of 4 to 64 bytes, in pages of 25 slots (vrmem_page.h), so that taking
// or giving back a slot costs a handful of moves. Pages with a free slot are on the pool's open
// list, the others on its full list; up to two pages' worth of slots is kept when free, so that a
// pool does not make and free the same page over and over.

#define VR_MODULE "vrmem"

#include <emmintrin.h>

#include <cstring>

#include "core/Invariant.h"
#include "core/vrmem_page.h"
#include "platform/memory.h"

using namespace vr::pool;

namespace {

constexpr int32_t kFreeSlotsKept = 2 * kSlotsPerPage;
constexpr int32_t kWideStore = 16;  // bytes
static_assert(kPoolCount * kSizeStep <= 4 * kWideStore, "four stores reach all of a payload");

Pool* pools[kPoolCount];

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
        *pool = {.self = pool,
                 .itemSize = itemSize,
                 .itemsPerPage = kSlotsPerPage,
                 .openPages = nullptr,
                 .fullPages = nullptr,
                 .freeSlots = 0,
                 .noClear = 0,
                 .reciprocal = ReciprocalOf(stride)};
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
