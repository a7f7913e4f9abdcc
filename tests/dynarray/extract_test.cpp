// Reading by number.

#include <string>

#include "tests/support/arrays.h"
#include "tests/support/library_test.h"

namespace {

constexpr char kSample[] = "a]b\\c]d^e^^f\\g";

std::string TakeBlock(char* block) {
    std::string text = block;
    free_mem(&block);
    return text;
}

TEST_F(LibraryTest, FieldsAndTails) {
    const std::tuple<int32_t, int32_t, int32_t, std::string, std::string> cases[] = {
        {1, 2, 2, "c", "c]d^e^^f\\g"},   {3, 0, 0, "", "^f\\g"},   {9, 0, 0, "", ""},
        {-1, 0, 2, "a]b\\c]d", kSample}, {1, -1, 0, "a", kSample}, {1, 4, 0, "", ""}};
    const Array s(kSample);
    for (const auto& [attribute, value, subvalue, field, tail] : cases) {
        EXPECT_EQ(TakeText(extract_field(attribute, value, subvalue, s)), field);
        EXPECT_EQ(TakeText(extract_tail(attribute, value, subvalue, s)), tail);
    }
    const std::pair<int32_t, std::string> positions[] = {
        {4, "c]d"}, {8, "e"}, {9, ""}, {13, "g"}, {30, ""}, {-1, ""}, {0, "a]b\\c]d"}};
    for (const auto& [offset, text] : positions)
        EXPECT_EQ(TakeText(get_field_at_pos(offset, s)), text) << offset;
    s->length = -1;  // counts as none
    for (VrString none : {get_field(1, s), extract_tail(1, 0, 0, s), get_field_at_pos(0, s)})
        EXPECT_EQ(none, NullString());
    EXPECT_EQ(item_count(s, 'z'), 0);
}

TEST_F(LibraryTest, TextInPlaceCanBeFreedAndIsSharedWhenEmpty) {
    const std::string longText(150, 'x');
    const Array s("one]1^2^" + longText + "^");
    EXPECT_EQ(TakeBlock(get_field_string(1, s)), Marked("one]1"));
    EXPECT_EQ(TakeBlock(get_field_string(2, s)), "2");
    EXPECT_EQ(TakeBlock(get_field_string(3, s)), longText);
    EXPECT_EQ(TakeBlock(get_tail_string(2, s)), Marked("2^" + longText + "^"));
    for (char* empty : {get_field_string(4, s), get_tail_string(9, s)})
        EXPECT_EQ(static_cast<void*>(empty), NullString());
    EXPECT_EQ(BytesOf(NullString()), "");
}

TEST_F(LibraryTest, WordsAndFieldsOfPlainText) {
    const std::tuple<const char*, int32_t, std::string, int32_t> words[] = {
        {"  ab  cd e", 0, "ab", 4}, {"  ab  cd e", 4, "cd", 8},  {"  ab  cd e", 8, "e", 10},
        {"  ab  cd e", 10, "", 10}, {"  ab  cd e ", 10, "", 11}, {"abc", 5, "", 5},
        {nullptr, 0, "", 0},        {"abc", -2, "", -2},         {"a\tb c", 0, "a\tb", 3}};
    for (const auto& [text, from, word, to] : words) {
        int32_t offset = from;
        EXPECT_EQ(TakeBlock(get_text_word(&offset, text)), word);
        EXPECT_EQ(offset, to);
    }
    const std::tuple<const char*, unsigned char, int32_t, std::string> fields[] = {
        {"a,b,,c", ',', 0, "a"}, {"a,b,,c", ',', 2, "b"}, {"a,b,,c", ',', 3, ""},
        {"a,b,,c", ',', 4, "c"}, {"a,b,,c", ',', 5, ""},  {"a\xFFz", 0xFF, 2, "z"}};
    for (const auto& [text, delimiter, number, field] : fields)
        EXPECT_EQ(TakeBlock(get_text_field(text, delimiter, number)), field) << text << number;
}

TEST_F(LibraryTest, Counts) {
    const Array s(kSample);
    const std::tuple<int32_t, int32_t, int32_t> cases[] = {
        {14, 3, 4}, {9, 3, 2}, {1, 1, 1}, {0, 0, 0}, {-5, 0, 0}};
    for (const auto& [length, values, attributes] : cases) {
        EXPECT_EQ(value_count(VrStrText(s), length), values);
        EXPECT_EQ(field_count(VrStrText(s), length), attributes);
    }
    EXPECT_EQ(item_count(s, kVrSubvalueMark), 3);
    EXPECT_EQ(item_count(s, 'z'), 1);
}

}  // namespace
