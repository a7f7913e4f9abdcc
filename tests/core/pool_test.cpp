// The pools against a model, which names the very slot that serves each request.

#include "tests/support/library_test.h"

namespace {

constexpr int kSlots = 25;
constexpr int kPageRecord = 20;
constexpr int kSlotHeader = 4;

struct Page {
    char* base;
    std::vector<int> free;  // the last one serves next
};

struct Pool {
    explicit Pool(uint32_t forSize) : size(forSize), stride(int(forSize) / 4 * 4 + 8) {}

    // The head of the open list serves; a page without a free slot leaves it.
    void Take() {
        const uint32_t blocks = ControlBlocksOut();
        auto* slot = static_cast<char*>(alloc_memory(size));
        ASSERT_EQ(ControlBlocksOut(), blocks + (open.empty() ? 1 : 0));
        uint16_t offset = 0;
        std::memcpy(&offset, slot - kSlotHeader, sizeof offset);
        if (open.empty()) {
            open.push_front({slot - kSlotHeader - offset, {}});
            for (int index = kSlots; index-- > 0;)
                open.front().free.push_back(index);
        }
        Page& page = open.front();
        ASSERT_EQ(slot - page.base, kPageRecord + page.free.back() * stride + kSlotHeader);
        ASSERT_EQ(std::string(slot, size + 1), std::string(size + 1, '\0'));
        std::memset(slot, 'x', size + 1);
        page.free.pop_back();
        taken.push_back(slot);
        if (page.free.empty()) full.splice(full.end(), open, open.begin());
    }

    // A page that was full opens again at the head. One that is all free goes if more than two
    // pages' worth is free, and otherwise the page with more free slots than the head becomes it.
    void Give(char* slot) {
        const uint32_t blocks = ControlBlocksOut();
        std::list<Page>& list = PageOf(full, slot) != full.end() ? full : open;
        const auto page = PageOf(list, slot);
        const bool wasFull = page->free.empty();
        page->free.push_back(int(slot - page->base - kPageRecord) / stride);
        size_t freeSlots = 0;
        for (const Page& each : open)
            freeSlots += each.free.size();
        const bool goes = !wasFull && page->free.size() == kSlots && freeSlots > 2 * kSlots;
        if (goes) {
            list.erase(page);
        } else if (wasFull || open.front().free.size() < page->free.size()) {
            open.splice(open.begin(), list, page);
        }
        free_mem(&slot);
        ASSERT_EQ(slot, nullptr);
        ASSERT_EQ(ControlBlocksOut(), blocks - (goes ? 1 : 0));
    }

    std::list<Page>::iterator PageOf(std::list<Page>& list, const char* slot) const {
        return std::ranges::find_if(list, [=, this](const Page& page) {
            return slot > page.base && slot < page.base + kPageRecord + kSlots * stride;
        });
    }

    const uint32_t size;
    const int stride;
    std::list<Page> open, full;
    std::vector<char*> taken;
};

TEST_F(LibraryTest, PoolsServeCloseReopenPromoteAndGiveBackTheirPages) {
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "slots are kept apart for the sanitizer";
#endif
    for (const uint32_t size : {62u, 56u, 19u, 47u}) {  // of pools that nobody uses
        std::mt19937 random(size);
        Pool pool(size);
        for (int step = 0; step < 3000 && !HasFailure(); ++step) {
            const bool grows = random() % 100 < (step / 300 % 2 == 0 ? 65u : 38u);
            if (grows || pool.taken.empty()) {
                pool.Take();
            } else {
                std::swap(pool.taken[random() % pool.taken.size()], pool.taken.back());
                char* slot = pool.taken.back();
                pool.taken.pop_back();
                pool.Give(slot);
            }
        }
        while (!pool.taken.empty() && !HasFailure()) {
            pool.Give(pool.taken.back());
            pool.taken.pop_back();
        }
    }
}

}  // namespace
