// Reading by number.

#include <string>

#include "tests/support/arrays.h"
#include "tests/support/library_test.h"

namespace {

const char kSample[] = "a]b\\c]d^e^^f\\g";

std::string TakeBlock(char* block) {
    std::string text = block;
    free_mem(&block);
    return text;
}

TEST_F(LibraryTest, FieldsAndTails) {
    const struct {
        int32_t attribute, value, subvalue;
        std::string field, tail;
    } cases[] = {
        {1, 0, 0, "a]b\\c]d", kSample},
        {1, 1, 0, "a", kSample},
        {1, 2, 2, "c", "c]d^e^^f\\g"},
        {1, 2, 3, "", ""},
        {1, 3, 0, "d", "d^e^^f\\g"},
        {1, 4, 0, "", ""},
        {2, 0, 0, "e", "e^^f\\g"},
        {3, 0, 0, "", "^f\\g"},
        {4, 1, 2, "g", "g"},
        {5, 0, 0, "", ""},
        {0, 0, 0, "a]b\\c]d", kSample},
        {-1, 0, 2, "a]b\\c]d", kSample},
        {1, -1, 0, "a", kSample},
        {0, 2, 0, "b\\c", "b\\c]d^e^^f\\g"},
    };
    VrString s = Array(kSample);
    for (const auto& row : cases) {
        SCOPED_TRACE(testing::Message() << row.attribute << row.value << row.subvalue);
        VrString field = extract_field(row.attribute, row.value, row.subvalue, s);
        EXPECT_EQ(field == NullString(), row.field.empty());
        EXPECT_EQ(TakeText(field), row.field);
        EXPECT_EQ(TakeText(extract_tail(row.attribute, row.value, row.subvalue, s)), row.tail);
    }
    const std::pair<int32_t, std::string> positions[] = {{4, "c]d"}, {8, "e"}, {9, ""},
                                                         {30, ""},   {-1, ""}, {0, "a]b\\c]d"}};
    for (const auto& [offset, text] : positions) {
        EXPECT_EQ(TakeText(get_field_at_pos(offset, s)), text) << offset;
    }
    free_mem(&s);
}

TEST_F(LibraryTest, TextInPlaceKeepsTheAddressAndCanBeFreed) {
    VrString s = Array(std::string("one^two^") + std::string(150, 'x') + "^");
    EXPECT_EQ(TakeBlock(get_field_string(2, s)), "two");
    EXPECT_EQ(TakeBlock(get_field_string(3, s)), std::string(150, 'x'));
    EXPECT_EQ(TakeBlock(get_tail_string(2, s)), Marked("two^" + std::string(150, 'x') + "^"));
    char* empty = get_field_string(4, s);
    EXPECT_EQ(static_cast<void*>(empty), NullString());
    EXPECT_STREQ(empty, "");
    free_mem(&s);
}

TEST_F(LibraryTest, Words) {
    const struct {
        const char* text;
        int32_t from;
        std::string word;
        int32_t to;
    } cases[] = {
        {"  ab  cd e", 0, "ab", 4}, {"  ab  cd e", 4, "cd", 8},  {"  ab  cd e", 8, "e", 10},
        {"  ab  cd e", 10, "", 10}, {"  ab  cd e ", 10, "", 11}, {"abc", 1, "bc", 3},
        {"abc", 5, "", 5},          {"   ", 0, "", 3},           {"", 0, "", 0},
        {nullptr, 7, "", 7},        {"abc", -2, "", -2},         {"a\tb c", 0, "a\tb", 3},
    };
    for (const auto& row : cases) {
        int32_t offset = row.from;
        EXPECT_EQ(TakeBlock(get_text_word(&offset, row.text)), row.word);
        EXPECT_EQ(offset, row.to);
    }
}

TEST_F(LibraryTest, TextFields) {
    const std::string fields[] = {"a", "a", "b", "", "c", "", ""};
    for (int32_t number = 0; number < 7; ++number) {
        EXPECT_EQ(TakeBlock(get_text_field("a,b,,c", ',', number)),
                  fields[static_cast<size_t>(number)]);
    }
    EXPECT_EQ(TakeBlock(get_text_field("a\xFFz", 0xFF, 2)), "z");
    EXPECT_EQ(TakeBlock(get_text_field("", ',', 1)), "");
}

TEST_F(LibraryTest, Counts) {
    VrString s = Array(kSample);
    EXPECT_EQ(value_count(VrStrText(s), s->length), 3);
    EXPECT_EQ(field_count(VrStrText(s), s->length), 4);
    EXPECT_EQ(field_count(VrStrText(s), 9), 2);
    EXPECT_EQ(field_count(VrStrText(s), 0), 0);
    EXPECT_EQ(item_count(s, kVrSubvalueMark), 3);
    EXPECT_EQ(item_count(s, 'z'), 1);
    EXPECT_EQ(item_count(NullString(), 'z'), 0);
    free_mem(&s);
}

}  // namespace
