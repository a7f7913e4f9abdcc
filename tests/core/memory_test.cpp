// Blocks: where they lie, what they hold, and when pages go back. Counted strings: their
// layout to the byte, copies, and order.

#include <algorithm>
#include <random>
#include <vector>

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
    for (const auto& [size, stride] : {std::pair(1u, 8), {3, 8}, {4, 12}, {62, 68}}) {
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
        ASSERT_TRUE(IsAll(fill, bytes, kept) && IsAll(0, bytes + kept, zeroes));
        size = newSize + 1;
        fill = uint8_t(random());
        std::memset(bytes, fill, size);
    }
    for (auto& block : blocks)
        free_mem(&std::get<0>(block));
    EXPECT_LE(ControlBlocksOut(), before + 3 * 2) << "a pool keeps two free pages";
}

TEST_F(LibraryTest, WhatIsNoBlock) {
    EXPECT_TRUE(!alloc_memory(0) && !malloc_memory(0) && !_free_mem(nullptr, "", 0));
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
    for (const auto& [size, length] : {std::pair(1005u, 200), {105, 100}, {4, 0}}) {
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

void Other(VrWord, VrWord) {}

TEST(Callbacks, KindsHoldTenPairsEachInOrder) {
    for (const char letter : std::string("abcdefghijk"))  // the eleventh is dropped
        MemAddCallback(2, Note, VrWord(letter));
    MemRemoveCallback(2, Other, 'a');
    MemRemoveCallback(2, Note, 'c');
    MemAddCallback(2, nullptr, 'c');
    MemAddCallback(2, Note, 'b');     // in the place of c
    MemRemoveCallback(2, Note, 'b');  // the first of two
    MemAddCallback(2, Note, 'x');
    MemCallCallbacks(0, 0);
    MemCallCallbacks(2, 1);
    EXPECT_EQ(trace, "bycefghijk") << "a letter further each";
    for (const auto& [kind, answer] : {std::pair(-1, -1), {0, 1}, {2, 1}, {3, -1}}) {
        EXPECT_EQ(MemAddCallback(kind, Note, 'a'), answer);
        EXPECT_EQ(MemCallCallbacks(kind, 0), answer);
        EXPECT_EQ(MemRemoveCallback(kind, Note, 'a'), answer);
    }
}

TEST_F(LibraryTest, LayoutByLength) {
    const std::tuple<uint32_t, unsigned char, int32_t> cases[] = {
        {1, 0xF0, 0}, {57, 0xF0, 0}, {58, 0, 0}, {128, 0, 0}, {129, 0x0F, 193}, {1000, 0x0F, 1500}};
    for (const auto& [length, classByte, capacity] : cases) {
        const Array s(alloc_string(length)), simple(alloc_simple_string(length));
        for (VrString made : {s.get(), simple.get()}) {
            EXPECT_EQ(TakeBytes(NewString(made)), std::string(length, '\0'));
            EXPECT_EQ(VrStrText(made)[length], 0);
            EXPECT_EQ(ClassByteOf(made), classByte) << length;
            if (capacity == 0) continue;
            const auto [attribute, cursor, room, word] = HeaderOf(made);
            EXPECT_EQ(room, made == s ? capacity : int32_t(length));
            EXPECT_EQ(attribute | cursor, 0);
            VrStrText(made)[room + 1] = 'x';  // one byte behind the zero
        }
    }
}

TEST_F(LibraryTest, SharedStringsStandForEmptyAndTruth) {
    const Array emptied("x");
    emptied->length = -1;
    for (VrString empty : {alloc_string(0), alloc_simple_string(0), NewString(nullptr),
                           NewString(emptied), NewString(NullString())})
        EXPECT_EQ(empty, NullString());
    for (const auto& [block, text] :
         {std::pair(NullVrStr, ""), {FalseVrStr, "0"}, {TrueVrStr, "1"}}) {
        EXPECT_EQ(BytesOf(VR_SHARED_STRING(block)), text);
        EXPECT_EQ(NewString(VR_SHARED_STRING(block)), VR_SHARED_STRING(block));
    }
    for (const char* given : {static_cast<const char*>(nullptr), "", "text"}) {
        char* text = dup_str(given);
        EXPECT_STREQ(text, given == nullptr ? "" : given);
        EXPECT_EQ(TakeBytes(StrToVrStr(given)), text);
        EXPECT_EQ(static_cast<void*>(text) == NullString(), given == nullptr);
        free_mem(&text);
    }
}

// What stands in front of a string in a caller's buffer is no long header, whatever
// the length, and a short copy has none.
TEST_F(LibraryTest, CopiesCarryTheMemoFromOneLongHeaderToAnother) {
    struct {
        LongHeader header;
        int32_t length;
        char text[151];
    } buffer = {{3, 147, 150, 0}, 150, "text"};
    const auto inBuffer = reinterpret_cast<VrString>(&buffer.length);
    const Array inBlock(alloc_simple_string(150));
    HeaderOf(inBlock) = {3, 147, 150, HeaderOf(inBlock).classWord};
    for (VrString s : {inBlock.get(), inBuffer}) {
        const Array copy(NewString(s));
        EXPECT_EQ(BytesOf(copy), BytesOf(s));
        EXPECT_EQ(HeaderOf(copy).capacity, 225);
        EXPECT_EQ(HeaderOf(copy).memoAttribute, s == inBlock ? 3 : 0);
        EXPECT_EQ(HeaderOf(copy).memoCursor, s == inBlock ? 147 : 0);
    }
    const Array neighbour(alloc_string(57));
    inBlock->length = 55;
    EXPECT_EQ(TakeBytes(NewString(inBlock)), BytesOf(inBlock));
    EXPECT_EQ(BytesOf(neighbour), std::string(57, '\0'));
}

TEST_F(LibraryTest, OrderIsByUnsignedBytesAndThenLength) {
    const std::string b = {"a\0b", 3}, c = {"a\0c", 3};
    const std::tuple<std::string, std::string, int32_t> cases[] = {
        {"abc", "abd", -1}, {"\xFF", "\x01", 254}, {"ab", "abc", -1}, {"abcd", "ab", 2},
        {"", "ab", -1},     {"ab", "", 1},         {b, c, -1},        {"same", "same", 0}};
    for (const auto& [first, second, order] : cases)
        EXPECT_EQ(CompareVrStrings(Array(first), Array(second)), order) << first << " " << second;
    const Array emptied("x");
    emptied->length = -1;
    for (const auto& [s, order] : {std::pair(emptied.get(), 0), {NullString(), 0}, {nullptr, 1}}) {
        EXPECT_EQ(CompareVrStrings(emptied, s), order);
        EXPECT_EQ(CompareVrStrings(s, emptied), -order);
    }
    EXPECT_EQ(CompareVrStrings(nullptr, nullptr), 0);
}

}  // namespace
