// Laying out a page, and what no caller can break about the pages of a pool.

#include "core/vrmem_page.h"

using namespace vr::pool;

namespace {

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

}  // namespace

void vr::pool::LayOutSlots(const Pool& pool, Page& page) {
    for (int32_t index = 1; index <= pool.itemsPerPage; ++index) {
        const uint32_t offset = OffsetOfIndex(pool, index);
        const int32_t next = index < pool.itemsPerPage ? index + 1 : 0;
        SlotHeader& slot = SlotAt(page, offset);
        slot = {static_cast<uint16_t>(offset), static_cast<uint8_t>(next), kPoolSlotClass};
        poison::Close(&slot + 1, poison::ClosedSize(pool.itemSize));
    }
}

bool vr::pool::IsSound(const Pool& pool, const Page* list, Page& page) {
    const bool isOpen = list == pool.openPages;
    return page.pool == &pool && (page.freeSlots != 0) == isOpen && LinksAreSound(list, page) &&
           ChainIsSound(pool, page);
}

bool vr::pool::CountsAreSound(const Pool& pool) {
    int32_t freeSlots = 0;
    for (const Page* page = pool.openPages; page != nullptr; page = page->next)
        freeSlots += page->freeSlots;
    return freeSlots == pool.freeSlots;
}
