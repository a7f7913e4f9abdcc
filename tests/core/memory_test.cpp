// Blocks: where they lie and what they hold. Counted strings: their
// layout to the byte, copies, and order.

#include "tests/support/library_test.h"

namespace {

using Bytes = unsigned char*;

Bytes Alloc(uint32_t size) {
    return static_cast<Bytes>(alloc_memory(size));
}

bool IsAll(unsigned char byte, const unsigned char* block, size_t size) {
    return std::count(block, block + size, byte) == ptrdiff_t(size);
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

// A zero follows each block.
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
        EXPECT_TRUE(IsAll('x', block, kept)) << size;
        EXPECT_TRUE(IsAll(0, block + kept, newSize + 1 - kept)) << size;
        EXPECT_EQ(ClassByteOf(block), 0) << "a resized block is no slot";
        free_mem(&block);
    }
}

TEST_F(LibraryTest, WhatIsNoBlock) {
    EXPECT_EQ(alloc_memory(0), nullptr);
    EXPECT_EQ(malloc_memory(0), nullptr);
    EXPECT_EQ(_free_mem(nullptr, "", 0), 0);
    void* large = malloc_memory(1);
    EXPECT_EQ(ClassByteOf(large), 0) << "never from a pool";
    free_mem(&large);
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

std::string called, expected;  // the letters of the routines

void Note(VrWord letter, VrWord value) {
    called += char(letter + value);
}

TEST(Callbacks, TheLowestOfTenSlotsIsTakenOrClearedAndAllAreCalledInOrder) {
    std::mt19937 random(1);
    std::array<char, kVrCallbackSlots> kinds[kVrCallbackKinds] = {};  // 0 for an empty slot
    for (int step = 0; step < 2000; ++step) {
        const int32_t kind = int32_t(random() % 5) - 1;
        const bool isKind = kind >= 0 && kind < kVrCallbackKinds;
        const char letter = char('a' + random() % 8), value = char(random() % 2);
        auto& slots = kinds[isKind ? kind : 0];
        const bool adds = random() % 5 < 3;
        char* slot = std::ranges::find(slots, adds ? '\0' : letter);
        if (isKind && slot != slots.end()) *slot = adds ? letter : '\0';
        EXPECT_EQ((adds ? MemAddCallback : MemRemoveCallback)(kind, Note, VrWord(letter)),
                  isKind ? 1 : -1);
        EXPECT_EQ(MemCallCallbacks(kind, VrWord(value)), isKind ? 1 : -1);
        for (const char each : slots) {
            if (isKind && each != '\0') expected += char(each + value);
        }
        ASSERT_EQ(std::exchange(called, ""), std::exchange(expected, "")) << step;
    }
    MemAddCallback(
        0, [](VrWord, VrWord) {}, 'a');
    MemRemoveCallback(
        0, [](VrWord, VrWord) { std::abort(); }, 'a');
}

TEST_F(LibraryTest, SharedStringsStandForEmptyAndTruth) {
    const Array emptied("x");
    emptied.get()->length = -1;
    for (VrString empty : {alloc_string(0), alloc_simple_string(0), NewString(nullptr),
                           NewString(emptied), NewString(NullString())})
        EXPECT_EQ(empty, NullString());
    for (const auto& [block, text] :
         {std::pair(NullVrStr, ""), {FalseVrStr, "0"}, {TrueVrStr, "1"}}) {
        EXPECT_EQ(BytesOf(VR_SHARED_STRING(block)), text);
        EXPECT_EQ(NewString(VR_SHARED_STRING(block)), VR_SHARED_STRING(block));
    }
    EXPECT_EQ(static_cast<void*>(dup_str(nullptr)), NullString());
    EXPECT_EQ(StrToVrStr(nullptr), NullString());
    EXPECT_EQ(TakeBytes(StrToVrStr("text")), "text");
}

// The layout of what edits make, the model of dynamic arrays states.
TEST_F(LibraryTest, NewStringsAreZeroAndCopiesHaveRoomAndTheMemo) {
    for (const auto& [length, room] :
         {std::pair(58u, 58u), {128, 128}, {129, 193}, {600, 900}, {2000, 3000}, {70000, 105000}}) {
        void* dirty = alloc_memory(room + 16);
        std::memset(dirty, 'x', room + 16);
        free_mem(&dirty);
        const Array s(alloc_string(length)), simple(alloc_simple_string(length));
        for (VrString each : {s.get(), simple.get()}) {
            const bool isLong = ClassByteOf(each) == 0x0F;
            EXPECT_EQ(isLong, length > 128) << length;
            const int32_t capacity = isLong ? HeaderOf(each).capacity : 0;
            EXPECT_EQ(capacity, !isLong ? 0 : int32_t(each == s ? room : length));
            if (isLong) HeaderOf(each).memoAttribute = 3;
            if (isLong) HeaderOf(each).memoCursor = 147;
            const Array copy(NewString(each));
            EXPECT_TRUE(IsAll(0, VrStrText(copy), room + 2)) << length;
            if (!isLong) continue;
            EXPECT_EQ(HeaderOf(copy).capacity, int32_t(room));
            EXPECT_EQ(HeaderOf(copy).memoAttribute, 3);
            EXPECT_EQ(HeaderOf(copy).memoCursor, 147);
        }
    }
}

TEST_F(LibraryTest, TheFirstDifferenceDecidesWhereverItIs) {
    const Array a(std::string(600, 'a')), b(std::string(600, 'a'));
    for (int32_t at = 0; at < 600; ++at) {
        VrStrText(b)[at] = 'c';
        EXPECT_EQ(CompareVrStrings(a, b), -2) << at;
        VrStrText(a)[at] = 'd';
        EXPECT_EQ(CompareVrStrings(a, b), 1) << at;
        VrStrText(a)[at] = VrStrText(b)[at] = 'a';
    }
}

// The rows stand in their order; a null string is before the empty one.
TEST_F(LibraryTest, OrderIsByUnsignedBytesAndThenLength) {
    const Array negative("x"), low("\x01\x01"), zeros(StringOfBytes({"a\0b", 3})),
        more(StringOfBytes({"a\0c", 3})), start("ab"), longer("abcd"), high("\xFF");
    negative.get()->length = -1;
    const std::tuple<VrString, VrString, int32_t> cases[] = {
        {nullptr, nullptr, 0}, {nullptr, NullString(), -1}, {NullString(), negative, 0},
        {nullptr, low, -1},    {negative, low, -1},         {low, zeros, 1 - 'a'},
        {zeros, more, -1},     {more, start, -'b'},         {start, longer, -2},
        {start, start, 0},     {longer, high, 'a' - 255}};
    for (const auto& [first, second, order] : cases) {
        EXPECT_EQ(CompareVrStrings(first, second), order);
        EXPECT_EQ(CompareVrStrings(second, first), -order);
    }
}

}  // namespace
