// Counted strings: their layout to the byte, copies, and order.

#include <string>

#include "tests/support/arrays.h"
#include "tests/support/library_test.h"

namespace {

TEST_F(LibraryTest, LayoutByLength) {
    const std::tuple<uint32_t, unsigned char, int32_t> cases[] = {
        {1, 0xF0, 0}, {57, 0xF0, 0}, {58, 0, 0}, {128, 0, 0}, {129, 0x0F, 193}, {1000, 0x0F, 1500}};
    for (const auto& [length, classByte, capacity] : cases) {
        SCOPED_TRACE(length);
        const Array s(alloc_string(length));
        const Array simple(alloc_simple_string(length));
        for (VrString made : {s.get(), simple.get()}) {
            EXPECT_EQ(BytesOf(made), std::string(length, '\0'));
            EXPECT_EQ(VrStrText(made)[length], 0);
            EXPECT_EQ(ClassByteOf(made), classByte);
            if (capacity == 0) continue;
            EXPECT_EQ(HeaderOf(made).capacity, made == s ? capacity : int32_t(length));
            EXPECT_EQ(HeaderOf(made).memoAttribute, 0);
            EXPECT_EQ(HeaderOf(made).memoCursor, 0);
            VrStrText(made)[HeaderOf(made).capacity + 1] = 'x';  // one byte behind the zero
        }
    }
}

TEST_F(LibraryTest, SharedStringsStandForEmptyAndTruth) {
    for (VrString empty : {alloc_string(0), alloc_simple_string(0), NewString(nullptr)})
        EXPECT_EQ(empty, NullString());
    const std::pair<unsigned char*, std::string> shared[] = {
        {NullVrStr, ""}, {FalseVrStr, "0"}, {TrueVrStr, "1"}};
    for (const auto& [block, text] : shared) {
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
    const std::string zeroes[] = {{"a\0b", 3}, {"a\0c", 3}};
    const std::tuple<std::string, std::string, int32_t> cases[] = {
        {"abc", "abd", -1}, {"\xFF", "\x01", 254}, {"ab", "abc", -1},          {"abcd", "ab", 2},
        {"", "ab", -1},     {"ab", "", 1},         {zeroes[0], zeroes[1], -1}, {"same", "same", 0}};
    for (const auto& [a, b, order] : cases)
        EXPECT_EQ(CompareVrStrings(Array(a), Array(b)), order) << a << " and " << b;
    const Array emptied("x");
    for (const int32_t length : {0, -1}) {
        emptied->length = length;
        EXPECT_EQ(CompareVrStrings(NullString(), emptied), 0);
        EXPECT_EQ(CompareVrStrings(emptied, NullString()), 0);
        EXPECT_EQ(CompareVrStrings(nullptr, emptied), -1);
        EXPECT_EQ(CompareVrStrings(emptied, nullptr), 1);
        EXPECT_EQ(NewString(emptied), NullString());
    }
    EXPECT_EQ(CompareVrStrings(nullptr, nullptr), 0);
}

}  // namespace
