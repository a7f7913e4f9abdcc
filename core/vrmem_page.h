// The pages of the pools and what lies where in them. A page holds 25 slots, and a free slot names
// the next one by an index in its own header, so a page keeps no list of slots.
//
//     page:  | record | header | payload | header | payload | ...   25 times
//
// A slot's header holds its distance from the page, so that a slot finds its page with one
// subtraction.
#ifndef CORE_VRMEM_PAGE_H
#define CORE_VRMEM_PAGE_H

#include "core/vrmem.h"
#include "core/vrmem_poison.h"

namespace vr::pool {

constexpr int32_t kPoolCount = 16;
constexpr int32_t kSizeStep = 4;  // payload bytes from one pool to the next
constexpr int32_t kSlotsPerPage = 25;

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
    uint8_t classByte;    // kPoolSlotClass
};
static_assert(sizeof(SlotHeader) == 4);

constexpr int32_t StrideOf(int32_t itemSize) {
    return poison::ClosedSize(itemSize) + poison::kFiller +
           static_cast<int32_t>(sizeof(SlotHeader));
}

inline int32_t SlotStride(const Pool& pool) {
    return StrideOf(pool.itemSize);
}

inline uint32_t OffsetOfIndex(const Pool& pool, int32_t index) {
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

inline uint8_t IndexOfOffset(const Pool& pool, uint32_t offset) {
    const uint32_t distance = offset - static_cast<uint32_t>(sizeof(Page));
    return static_cast<uint8_t>((distance * pool.reciprocal >> kReciprocalBits) + 1);
}

inline SlotHeader& SlotAt(Page& page, uint32_t offset) {
    return *reinterpret_cast<SlotHeader*>(reinterpret_cast<char*>(&page) + offset);
}

inline SlotHeader& HeaderOf(void* payload) {
    return static_cast<SlotHeader*>(payload)[-1];
}

inline Page& PageOf(SlotHeader& slot) {
    return *reinterpret_cast<Page*>(reinterpret_cast<char*>(&slot) - slot.pageOffset);
}

inline void PushFront(Page*& list, Page& page) {
    page.next = list;
    page.previous = nullptr;
    if (list != nullptr) list->previous = &page;
    list = &page;
}

inline void Unlink(Page*& list, Page& page) {
    if (page.previous != nullptr) {
        page.previous->next = page.next;
    } else {
        list = page.next;
    }
    if (page.next != nullptr) page.next->previous = page.previous;
}

// Writes the headers of all slots, which are free.
void LayOutSlots(const Pool& pool, Page& page);

// Whether the page belongs on that list of the pool, and is linked and chained as it says.
bool IsSound(const Pool& pool, const Page* list, Page& page);

// Whether the pool counts the free slots that its pages have.
bool CountsAreSound(const Pool& pool);

}  // namespace vr::pool

#endif
