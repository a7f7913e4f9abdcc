// Walking by cursor, in both result modes.

#include <string>
#include <vector>

#include "tests/support/arrays.h"
#include "tests/support/library_test.h"

namespace {

using NextFunction = int32_t (*)(VrString, int32_t, VrString*, uint32_t);

int32_t NextComma(VrString s, int32_t cursor, VrString* out, uint32_t size) {
    return UtilGetNextMarkerVal(s, cursor, out, size, ',');
}

struct Step {
    std::string element;
    int32_t cursor;
    bool message = false;
};

struct Case {
    const char* name;
    NextFunction next;
    std::string text;
    uint32_t size;
    std::vector<Step> steps;  // from cursor 4 on
};

const Case kCases[] = {
    {"values", UtilGetNextValue, "a]b^c", 0, {{"a", 6}, {"b", 8}, {"c", 9}, {"", 9}}},
    {"subvalues", UtilGetNextSubvalue, "a\\b]c^", 0, {{"a", 6}, {"b", 8}, {"c", 10}, {"", 10}}},
    {"attributes", UtilGetNextAttribute, "a^^b", 8, {{"a", 6}, {"", 7}, {"b", 8}, {"", 8}}},
    {"inner marks stay", UtilGetNextAttribute, "a]b\\c^d", 0, {{"a]b\\c", 10}, {"d", 11}}},
    {"255 is data", UtilGetNextValue, "a\xFF]b", 40, {{"a\xFF", 7}, {"b", 8}}},
    {"buffer", UtilGetNextAttribute, "a^^b", 40, {{"a", 6}, {"", 7}, {"b", 8}, {"", 8}}},
    {"cut", UtilGetNextValue, "abcdef^g", 12, {{"abc", 8, true}, {"ef", 11}, {"g", 12}}},
    {"exact fit", UtilGetNextValue, "abc^g", 12, {{"abc", 8, true}, {"g", 9}}},
    {"fits", UtilGetNextValue, "ab^g", 12, {{"ab", 7}, {"g", 8}}},
    {"no room", UtilGetNextSubvalue, "a", 9, {{"", 5, true}}},
    {"no room, empty", UtilGetNextAttribute, "^", 9, {{"", 5, true}, {"", 5, true}}},
    {"marker exact fit", NextComma, "abcde,g", 14, {{"abcde", 10}, {"g", 11}}},
    {"marker cut", NextComma, "abcdef,g", 14, {{"abcde", 9, true}, {"f", 11}, {"g", 12}}},
    {"marker alone", NextComma, "a^b,", 0, {{"a^b", 8}, {"", 8}}},
    {"marker, empty, no room", NextComma, ",", 9, {{"", 5}, {"", 5}}},
    {"empty text", UtilGetNextValue, "", 0, {{"", 4}}},
    {"empty text, buffer", UtilGetNextAttribute, "", 20, {{"", 4}}},
};

TEST_F(LibraryTest, ForwardWalks) {
    for (const Case& row : kCases) {
        VrString s = Array(row.text);
        int32_t cursor = kVrFirstCursor;
        for (const Step& step : row.steps) {
            SCOPED_TRACE(testing::Message() << row.name << " at " << cursor);
            std::vector<unsigned char> buffer(row.size < 9 ? 9 : row.size, 0xAA);
            auto* slot = reinterpret_cast<VrString>(buffer.data());
            boxes.shown.clear();
            cursor = row.next(s, cursor, &slot, row.size);
            EXPECT_EQ(cursor, step.cursor);
            EXPECT_EQ(boxes.shown.size(), step.message ? 1u : 0u);
            if (row.size >= 9) {
                EXPECT_EQ(reinterpret_cast<unsigned char*>(slot), buffer.data() + 4);
                EXPECT_EQ(*reinterpret_cast<int32_t*>(buffer.data()), 0);
                EXPECT_EQ(VrStrText(slot)[slot->length], 0);
                EXPECT_EQ(BytesOf(slot), Marked(step.element));
            } else {
                EXPECT_EQ(slot == NullString(), step.element.empty());
                EXPECT_EQ(TakeText(slot), step.element);
            }
        }
        free_mem(&s);
    }
}

TEST_F(LibraryTest, MessagesShowTheRestOfTheTextAndTheSize) {
    const struct {
        NextFunction next;
        std::string text, message;
    } cases[] = {
        {UtilGetNextAttribute, "abcdefg^h", "Attribute too big (abcdefg^h) size 5"},
        {UtilGetNextValue, "abcdefg]h", "Value too big (abcdefg]h) size 5"},
        {UtilGetNextSubvalue, "abcdefg\\h", "SubValue too big (abcdefg\\h) size 5"},
        {NextComma, "abcdefg,h", "Attribute too big (abcdefg,h) size 14"},
    };
    unsigned char buffer[14];
    for (const auto& row : cases) {
        VrString s = Array(row.text);
        auto* slot = reinterpret_cast<VrString>(buffer);
        row.next(s, kVrFirstCursor, &slot, sizeof buffer);
        EXPECT_EQ(boxes.shown.back().text, Marked(row.message));
        EXPECT_FALSE(boxes.shown.back().hasCaption);
        free_mem(&s);
    }
    // A text longer than the scratch area is cut on its way there.
    VrString s = StringOfBytes(std::string(kVrScratchSize * 2, 'x'));
    auto* slot = reinterpret_cast<VrString>(buffer);
    UtilGetNextValue(s, kVrFirstCursor, &slot, sizeof buffer);
    EXPECT_EQ(boxes.shown.back().text.size(), 1023u);
    free_mem(&s);
}

TEST_F(LibraryTest, SkipsCopyNothing) {
    VrString s = Array("a]b^c");
    const std::vector<std::pair<int32_t, int32_t>> values = {{4, 6}, {6, 8}, {8, 9}, {9, 9}};
    for (auto [from, to] : values)
        EXPECT_EQ(UtilSkipValue(s, from), to);
    EXPECT_EQ(UtilSkipAttribute(s, 4), 8);
    EXPECT_EQ(UtilSkipAttribute(s, 8), 9);
    EXPECT_EQ(UtilSkipAttribute(s, -5), 8);
    EXPECT_EQ(UtilSkipAttribute(s, 1000), 9);
    free_mem(&s);
}

TEST_F(LibraryTest, PreviousValues) {
    const struct {
        std::string text;
        int32_t from;
        std::string value;
        int32_t cursor;
    } cases[] = {
        {"ab]cd", 9, "cd", 7}, {"ab]cd", 7, "ab", 4}, {"ab]cd", 4, "", 3},
        {"a^b]c", 9, "c", 8},  {"a^b]c", 8, "b", 6},  {"a\\b]c", 8, "a\\b", 4},
        {"a]", 6, "", 6},      {"", 4, "", 4},        {"abc", 7, "abc", 4},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(row.text);
        VrString s = Array(row.text);
        VrString value = nullptr;
        EXPECT_EQ(UtilGetPrevValue(s, row.from, &value), row.cursor);
        EXPECT_EQ(TakeText(value), row.value);
        free_mem(&s);
    }
}

TEST_F(LibraryTest, RestAndSwap) {
    VrString s = Array("abc^def");
    VrString rest = nullptr;
    EXPECT_EQ(UtilGetRestOfVrStr(s, 8, &rest), 7);
    EXPECT_EQ(TakeText(rest), "def");
    EXPECT_EQ(UtilGetRestOfVrStr(s, 11, &rest), 4);
    EXPECT_EQ(rest, NullString());
    UtilSwapChar(s, kVrAttributeMark, ',');
    UtilSwapChar(nullptr, 'a', 'b');
    UtilSwapChar(NullString(), 0, 'b');
    EXPECT_EQ(TakeText(s), "abc,def");
    EXPECT_EQ(VrStrText(NullString())[0], 0);
}

}  // namespace
