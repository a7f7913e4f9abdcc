// Editing by position: the places, the marks, and when a string is rewritten in
// place. The oracle covers the breadth; these are the cases with a name.

#include <climits>
#include <string>

#include "tests/support/arrays.h"
#include "tests/support/library_test.h"

namespace {

struct Case {
    std::string text;
    UtilPosition place;  // its cursor is the one expected
    std::string result;
    std::string element = "X";
};

// A short string is written in place unless it grows.
void Check(const Case& row, uint32_t replace) {
    SCOPED_TRACE(row.text + " to " + row.result);
    const Array s(row.text);
    UtilPosition position = row.place;
    VrString result = UtilInsertReplace(&position, s, Array(row.element), replace);
    EXPECT_EQ(BytesOf(result), Marked(row.result));
    EXPECT_EQ(VrStrText(result)[result->length], 0);
    EXPECT_EQ(result == s, row.result.size() <= row.text.size());
    EXPECT_EQ(position.cursor, row.place.cursor);
    if (result != s) free_mem(&result);
}

TEST_F(LibraryTest, ReplacesInsertsAndAppends) {
    const Case replaced[] = {
        {"a^b^c", {2, 0, 0, 6}, "a^X^c"},    {"a^b^c", {2, 0, 0, 6}, "a^XYZ^c", "XYZ"},
        {"a]b^c", {1, 4, 0, 9}, "a]b]]X^c"}, {"a]b\\c^d", {1, 2, 2, 8}, "a]b\\X^d"},
        {"a^b", {0, 2, 0, 6}, "a]X^b"},      {"a^b", {0, 0, 2, 6}, "a\\X^b"},
        {"a]b]c", {1, 2, 0, 6}, "a]]c", ""}, {"a\xFF^b", {2, 0, 0, 6}, "a^X\xFF^b"}};
    const Case inserted[] = {{"a^b^c", {2, 0, 0, 6}, "a^X^b^c"}, {"a^b^", {3, 0, 0, 8}, "a^b^X"},
                             {"a]b^c", {1, 3, 0, 8}, "a]b]X^c"}, {"a]^c", {1, 2, 0, 6}, "a]X^c"},
                             {"a]b", {1, 2, 1, 6}, "a]X\\b"},    {"", {3, 2, 2, 8}, "^^]\\X"}};
    const Case appended[] = {
        {"a^b", {-1, 0, 0, 8}, "a^b^X"},      {"", {-1, 0, 0, 4}, "X"},
        {"a^b", {-1, -1, 0, 8}, "a^b]X"},     {"a^b", {-1, -1, 3, 10}, "a^b]\\\\X"},
        {"a^b", {-1, 3, 2, 11}, "a^b^]]\\X"}, {"a^b^c", {2, -1, 0, 8}, "a^b]X^c"},
        {"a^^c", {2, -1, 0, 6}, "a^X^c"},     {"a]^c", {1, -1, 0, 7}, "a]]X^c"}};
    for (const Case& row : replaced)
        Check(row, 1);
    for (const Case& row : inserted)
        Check(row, 0);
    for (const Case& row : appended) {
        Check(row, 0);
        Check(row, 1);
    }
}

// A host sets a length by hand: more text stands behind then, without a zero, and the
// memo may lead there.
TEST_F(LibraryTest, ACutTextIsClosedWhateverIsWritten) {
    const Array s("abc^" + std::string(150, 'd') + "^e^f");
    const std::tuple<int32_t, int32_t, uint32_t, std::string, std::string> cases[] = {
        {158, 4, 1, "f", "abc^" + std::string(150, 'd') + "^e^f"},
        {5, 5, 1, "x", "abc^d^^^x"},
        {4, 2, 0, "", "abc^"},
        {3, 1, 1, "xyz", "xyz"}};
    for (const auto& [length, attribute, replace, element, result] : cases) {
        s->length = length;
        UtilPosition position = {attribute, 0, 0, 4};
        EXPECT_EQ(UtilInsertReplace(&position, s, Array(element), replace), s.get());
        EXPECT_EQ(BytesOf(s), Marked(result));
        EXPECT_EQ(VrStrText(s)[s->length], 0);
    }
}

TEST_F(LibraryTest, StringsThatAreNotWhatTheySeem) {
    VrString zero = VR_SHARED_STRING(FalseVrStr);
    VrString one = VR_SHARED_STRING(TrueVrStr);
    const Array below("abc");
    below->length = -1;
    struct {
        LongHeader none;
        int32_t length;
        unsigned char text[3];
    } buffer = {{2, 4, 100, 0}, 2, {'a', kVrAttributeMark}};
    auto inBuffer = reinterpret_cast<VrString>(&buffer.length);
    const std::tuple<VrString, int32_t, std::string> cases[] = {
        {zero, 1, "X"},       {zero, -1, "0^X"}, {one, 1, "X"},    {one, 3, "1^^X"},
        {inBuffer, 2, "a^X"}, {below, 1, "X"},   {below, -1, "X"}, {below, 3, "^^X"}};
    for (const auto& [s, attribute, result] : cases) {
        UtilPosition position = {attribute, 0, 0, 4};
        EXPECT_EQ(TakeText(UtilInsertReplace(&position, s, Array("X"), 1)), result);
    }
    EXPECT_EQ(BytesOf(zero) + BytesOf(one), "01");
    const Array s("a^b");
    UtilPosition position = {1, 0, 0, 4};
    EXPECT_EQ(UtilInsertReplace(&position, s, below, 1), s.get());
    EXPECT_EQ(BytesOf(s), Marked("^b"));
}

TEST_F(LibraryTest, ScansForward) {
    const std::tuple<std::string, int32_t, uint8_t, int32_t, int32_t, int32_t> cases[] = {
        {"a^b", 3, 254, 5, 7, 3},       {"a]b^c", 5, 253, 9, 7, 7},
        {"abcd\xFF^", 6, 254, 2, 8, 1}, {"!!!!!,!!!!", 10, ',', 2, 10, 0},
        {"a^b", 3, 254, INT_MIN, 7, 1}, {"a^b", 0, 254, -1, 4, -2},
        {"a^b", -5, 254, 5, 4, 4}};
    for (const auto& [text, length, mark, number, reached, left] : cases) {
        int32_t count = number;
        EXPECT_EQ(ScanStr(Array(text), -1, length, mark, &count), reached) << text << number;
        EXPECT_EQ(count, left) << text << number;
    }
    // Low in memory, where addresses do not overflow before the cursor does.
    static int32_t low[] = {1, 'a'};
    int32_t count = 1;
    EXPECT_EQ(ScanStr(reinterpret_cast<VrString>(low), 4, INT_MAX, 254, &count), 4);
}

TEST_F(LibraryTest, ScansBack) {
    const std::string text = "^^^xxxxxxxx^yy^";
    const std::tuple<std::string, int32_t, int32_t, int32_t, int32_t> cases[] = {
        {text, 16, 1, 7, 0},        {text, 16, INT_MAX, 4, INT_MAX - 4},
        {text, INT_MAX, 9, 4, 4},   {"abcdefgh^i", 13, 1, 4, 0},
        {"abcdefg^i", 12, 2, 4, 1}, {"a^\xFFxyz^b", 11, 1, 6, 0},
        {"a^bc", 7, 0, 7, 0},       {"a^b", 6, -2, 6, -2},
        {"a^b", 4, 3, 4, 3},        {"a^b", -7, 3, -7, 3}};
    for (const auto& [s, cursor, attributes, reached, left] : cases) {
        int32_t count = attributes;
        EXPECT_EQ(SkipBackNAttrs(Array(s), cursor, &count), reached) << s << attributes;
        EXPECT_EQ(count, left) << s << attributes;
    }
}

}  // namespace
