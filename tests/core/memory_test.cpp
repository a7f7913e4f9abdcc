// Blocks: where they lie, what they hold, and when pages go back.

#include <algorithm>
#include <random>
#include <vector>

#include "platform/memory.h"
#include "tests/support/arrays.h"
#include "tests/support/library_test.h"

namespace {

using Bytes = unsigned char*;

Bytes Alloc(uint32_t size) {
    return static_cast<Bytes>(alloc_memory(size));
}

bool IsAll(unsigned char byte, const unsigned char* block, size_t size) {
    return std::count(block, block + size, byte) == ptrdiff_t(size);
}

TEST_F(LibraryTest, ThePoolIsASizesQuarter) {
    const std::pair<uint32_t, ptrdiff_t> strides[] = {{1, 8},  {3, 8},  {4, 12},
                                                      {7, 12}, {8, 16}, {62, 68}};
    for (const auto& [size, stride] : strides) {
        const Bytes first = Alloc(size);
        EXPECT_EQ(Alloc(size) - first, stride) << size;
    }
    for (int i = 0; i < 30; ++i)
        Alloc(52);  // a full page, which goes with the library too
}

// A page without a block out goes when more than 50 slots are free; each case begins
// with the count that the one before left. The page with the most free slots serves
// next, in a tie the one that served before, and of its slots the one freed last.
TEST_F(LibraryTest, PagesServeAndGoByTheirFreeSlots) {
    const std::tuple<size_t, std::vector<std::pair<size_t, size_t>>, uint32_t, size_t> cases[] = {
        {75, {{25, 13}, {50, 13}, {0, 25}}, 2, 62},
        {75, {{25, 13}, {50, 12}, {0, 25}}, 3, 24},
        {75, {{25, 13}, {50, 13}, {0, 25}}, 2, 62},
        {50, {{48, 1}, {3, 1}, {49, 1}}, 2, 49},
        {50, {{47, 1}, {3, 2}, {48, 1}}, 2, 4}};
    const uint32_t before = ControlBlocksOut();
    for (const auto& [count, freed, pagesLeft, next] : cases) {
        std::vector<Bytes> blocks(count);  // 25 after 25 on a page
        std::ranges::generate(blocks, [] { return Alloc(52); });
        EXPECT_EQ(ControlBlocksOut(), before + count / 25);
        const Bytes expected = blocks[next];
        for (const auto& [first, length] : freed) {
            for (size_t i = first; i < first + length; ++i)
                free_mem(&blocks[i]);
        }
        EXPECT_EQ(ControlBlocksOut(), before + pagesLeft);
        blocks[next] = Alloc(52);
        EXPECT_EQ(blocks[next], expected);
        for (Bytes& block : blocks)
            free_mem(&block);
    }
}

// Blocks that come, go and change their size. `size` counts the zero behind them, with
// which the pooled ones fill their slots.
TEST_F(LibraryTest, RandomBlocksKeepTheirBytes) {
    constexpr uint32_t sizes[] = {3, 7, 59, 63, 300};
    std::tuple<Bytes, uint32_t, unsigned char> blocks[200] = {};
    const uint32_t before = ControlBlocksOut();
    std::mt19937 random(7);
    for (int step = 0; step < 20000; ++step) {
        auto& [bytes, size, fill] = blocks[random() % std::size(blocks)];
        if (bytes != nullptr && random() % 3 != 0) {
            ASSERT_TRUE(IsAll(fill, bytes, size));
            free_mem(&bytes);
            ASSERT_EQ(bytes, nullptr);
            size = 0;
            continue;
        }
        const bool isNew = bytes == nullptr;
        const bool wasPooled = !isNew && ClassByteOf(bytes) == 0xF0;
        const uint32_t newSize = sizes[random() % std::size(sizes)];
        const uint32_t kept = std::min(size, newSize);
        const uint32_t zeroes = wasPooled || newSize >= size ? newSize + 1 - kept : 0;
        bytes = isNew ? Alloc(newSize) : static_cast<Bytes>(realloc_mem(bytes, newSize));
        ASSERT_EQ(ClassByteOf(bytes), isNew && newSize <= 62 ? 0xF0 : 0);
        ASSERT_TRUE(IsAll(fill, bytes, kept));
        ASSERT_TRUE(IsAll(0, bytes + kept, zeroes));
        size = newSize + 1;
        fill = uint8_t(random());
        std::memset(bytes, fill, size);
    }
    for (auto& block : blocks)
        free_mem(&std::get<0>(block));
    EXPECT_LE(ControlBlocksOut(), before + 3 * 2) << "a pool keeps two free pages";
}

TEST_F(LibraryTest, WhatIsNoBlock) {
    EXPECT_EQ(alloc_memory(0), nullptr);
    EXPECT_EQ(malloc_memory(0), nullptr);
    EXPECT_EQ(_free_mem(nullptr, "", 0), 0);
    void* const number = reinterpret_cast<void*>(256);
    void* const nones[] = {nullptr, NullString(), VR_SHARED_STRING(FalseVrStr),
                           VR_SHARED_STRING(TrueVrStr), number};
    for (void* none : nones) {
        void* variable = none;
        EXPECT_EQ(free_mem(&variable), 0);
        EXPECT_EQ(variable, none == number ? nullptr : none);
        auto block = static_cast<Bytes>(realloc_mem(none, 12));
        EXPECT_TRUE(IsAll(0, block, 13));
        EXPECT_EQ(ClassByteOf(block), 0);
        EXPECT_EQ(realloc_mem(block, 0), nullptr);
        free_mem(&block);
    }
    const Box box = {"MEM:freeing pointer < 0x100\n", true, EnvironProduct(), MB_OK};
    EXPECT_EQ(boxes.shown, std::vector{box});
}

TEST_F(LibraryTest, ReallocOfALongStringKeepsItsHeaderTrue) {
    const std::pair<uint32_t, int32_t> cases[] = {{1005, 200}, {105, 100}, {4, 0}};
    for (const auto& [size, length] : cases) {
        VrString s = StringOfBytes(std::string(200, 'a'));
        HeaderOf(s).memoAttribute = 1;
        s = static_cast<VrString>(realloc_mem(s, size));
        EXPECT_EQ(HeaderOf(s).capacity, std::max(int32_t(size) - 5, 0));
        EXPECT_EQ(HeaderOf(s).memoAttribute, 0);
        EXPECT_EQ(BytesOf(s), std::string(size_t(length), 'a'));
        EXPECT_EQ(VrStrText(s)[length], 0);
        std::memset(VrStrText(s), 'b', size - 4);
        s = static_cast<VrString>(realloc_mem(s, 3));  // no room for the length
        EXPECT_EQ(HeaderOf(s).capacity, 0);
        free_mem(&s);
    }
}

std::string trace;

void Note(VrWord letter, VrWord value) {
    trace += char(letter + value);
}

TEST(Callbacks, KindsHoldTenPairsEachInOrder) {
    for (const char letter : std::string("abcdefghijk"))  // the eleventh is dropped
        EXPECT_EQ(MemAddCallback(2, Note, VrWord(letter)), 1);
    EXPECT_EQ(MemRemoveCallback(
                  2, [](VrWord, VrWord) {}, 'a'),
              1);
    MemRemoveCallback(2, Note, 'c');
    EXPECT_EQ(MemAddCallback(2, nullptr, 'c'), 1);
    MemAddCallback(2, Note, 'b');     // in the place of c
    MemRemoveCallback(2, Note, 'b');  // the first of two
    MemAddCallback(2, Note, 'x');
    MemCallCallbacks(0, 0);
    EXPECT_EQ(MemCallCallbacks(2, 0), 1);
    EXPECT_EQ(trace, "axbdefghij");
    MemCallCallbacks(2, 1);
    EXPECT_EQ(trace, "axbdefghijbycefghijk");
    for (const int32_t none : {-1, 3}) {
        EXPECT_EQ(MemAddCallback(none, Note, 'a'), -1);
        EXPECT_EQ(MemCallCallbacks(none, 0), -1);
        EXPECT_EQ(MemRemoveCallback(none, Note, 'a'), -1);
    }
}

}  // namespace
