// Blocks: where they lie and what they hold. Counted strings: their
// layout to the byte, copies, and order.

#include <algorithm>

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
#ifndef __SANITIZE_ADDRESS__  // for which slots are kept apart
    for (const auto& [size, stride] : {std::pair(1u, 8), {3, 8}, {4, 12}, {62, 68}}) {
        const Bytes first = Alloc(size);
        EXPECT_EQ(Alloc(size) - first, stride) << size;
    }
#endif
    void* large = malloc_memory(1);
    EXPECT_EQ(ClassByteOf(large), 0) << "never from a pool";
    free_mem(&large);
}

#ifdef __SANITIZE_ADDRESS__
TEST_F(LibraryTest, TheSanitizerSeesIntoThePools) {
    for (const uint32_t size : {3, 4, 12, 62}) {
        Bytes block = Alloc(size);
        const Bytes same = block;
        block[size] = 0;
        EXPECT_DEATH(block[size + 1] = 0, "use-after-poison") << "past the end of " << size;
        free_mem(&block);
        EXPECT_DEATH(same[0] = 0, "use-after-poison") << "after it was given back, " << size;
        block = same;
        EXPECT_DEATH(free_mem(&block), "use-after-poison") << "given back twice, " << size;
        EXPECT_EQ(Alloc(size), same);
    }
}
#endif

// A zero stands behind each block.
TEST_F(LibraryTest, BytesSurviveReallocAndNewOnesAreZero) {
    for (const auto& [size, newSize] : {std::pair(3u, 7u), {59, 300}, {59, 3}, {63, 300}}) {
        Bytes block = Alloc(size);
        std::memset(block, 'x', size + 1);
        free_mem(&block);
        block = Alloc(size);  // in the same slot
        EXPECT_TRUE(IsAll(0, block, size + 1));
        std::memset(block, 'x', size);
        block = static_cast<Bytes>(realloc_mem(block, newSize));
        const uint32_t kept = std::min(size, newSize);
        EXPECT_TRUE(IsAll('x', block, kept) && IsAll(0, block + kept, newSize + 1 - kept));
        free_mem(&block);
    }
}

TEST_F(LibraryTest, WhatIsNoBlock) {
    EXPECT_TRUE(!alloc_memory(0) && !malloc_memory(0) && !_free_mem(nullptr, "", 0));
    void* const number = reinterpret_cast<void*>(256);
    for (void* none : std::initializer_list<void*>{nullptr, NullString(), number}) {
        void* variable = none;
        EXPECT_EQ(free_mem(&variable), 0);
        EXPECT_EQ(variable, none == number ? nullptr : none);
        auto block = static_cast<Bytes>(realloc_mem(none, 12));
        EXPECT_TRUE(IsAll(0, block, 13));
        EXPECT_EQ(realloc_mem(block, 0), nullptr);
        free_mem(&block);
    }
    EXPECT_EQ(boxes.shown, std::vector<std::string>{"0 : MEM:freeing pointer < 0x100\n"});
}

TEST_F(LibraryTest, ReallocOfALongStringKeepsItsHeaderTrue) {
    const std::tuple<uint32_t, int32_t, int32_t> cases[] = {
        {1004, 200, 7}, {204, 200, 7}, {203, 199, 7}, {154, 150, 7}, {153, 149, 0}, {4, 0, 0}};
    for (const auto& [size, length, memo] : cases) {
        VrString s = StringOfBytes(std::string(200, 'a'));
        HeaderOf(s).memoAttribute = 7;
        HeaderOf(s).memoCursor = 154;  // the end of a text of 150 bytes
        s = static_cast<VrString>(realloc_mem(s, size));
        EXPECT_EQ(HeaderOf(s).capacity, int32_t(size) - 4);
        EXPECT_EQ(HeaderOf(s).memoAttribute, memo) << size;
        EXPECT_EQ(BytesOf(s), std::string(size_t(length), 'a'));
        EXPECT_EQ(VrStrText(s)[length], 0);
        free_mem(&s);
    }
}

std::string trace;

void Note(VrWord letter, VrWord value) {
    trace += char(letter + value);
}

TEST(Callbacks, KindsHoldTenPairsEachInOrder) {
    for (const char letter : std::string("abcdefghijk"))  // the eleventh is dropped
        MemAddCallback(2, Note, VrWord(letter));
    MemRemoveCallback(2, Note, 'c');
    MemAddCallback(2, Note, 'x');  // in its place
    MemCallCallbacks(2, 1);
    EXPECT_EQ(trace, "bcyefghijk") << "a letter further each";
    for (const auto& [kind, answer] : {std::pair(-1, -1), {0, 1}, {2, 1}, {3, -1}})
        EXPECT_EQ(MemAddCallback(kind, Note, 'a'), answer);
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
    EXPECT_EQ(static_cast<void*>(dup_str(nullptr)), NullString());
    EXPECT_EQ(TakeBytes(StrToVrStr(nullptr)) + TakeBytes(StrToVrStr("text")), "text");
}

TEST_F(LibraryTest, ACopyHasRoomAndTheMemo) {
    const Array s(alloc_simple_string(150));
    HeaderOf(s) = {3, 147, 150, HeaderOf(s).classWord};
    const Array copy(NewString(s));
    EXPECT_EQ(BytesOf(copy), BytesOf(s));
    EXPECT_EQ(HeaderOf(copy).capacity, 225);
    EXPECT_EQ(HeaderOf(copy).memoAttribute, 3);
    EXPECT_EQ(HeaderOf(copy).memoCursor, 147);
}

TEST_F(LibraryTest, OrderIsByUnsignedBytesAndThenLength) {
    const std::string b = {"a\0b", 3}, c = {"a\0c", 3};
    const std::tuple<std::string, std::string, int32_t> cases[] = {
        {"\xFF", "\x01", 254}, {"ab", "abc", -1}, {"abcd", "ab", 2},
        {"ab", "", 1},         {b, c, -1},        {"same", "same", 0}};
    for (const auto& [first, second, order] : cases)
        EXPECT_EQ(CompareVrStrings(Array(first), Array(second)), order) << first << " " << second;
    for (VrString none : {VrString(nullptr), NullString()})
        EXPECT_EQ(CompareVrStrings(none, Array("x")) + CompareVrStrings(Array("x"), none), 0);
}

}  // namespace
