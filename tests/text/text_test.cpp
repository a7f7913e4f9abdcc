// Text helpers.

#include <string>

#include "tests/support/arrays.h"
#include "tests/support/library_test.h"

namespace {

TEST(Text, CaseFoldsLettersAtoZAlone) {
    std::string text = "a1b-zAZ\xE4@[`{";
    ToUpper(text.data());
    EXPECT_EQ(text, "A1B-ZAZ\xE4@[`{");
    ToLower(text.data());
    EXPECT_EQ(text, "a1b-zaz\xE4@[`{");
    ToUpper(nullptr);
    ToLower(nullptr);
}

TEST(Text, Occurrences) {
    const std::tuple<const char*, unsigned char, uint32_t, int32_t> cases[] = {
        {"abcabc", 'c', 1, 2},  {"abcc", 'c', 2, 3}, {"abcabc", 'c', 3, -1},
        {"abcabc", 'c', 0, -1}, {"abc", 0, 1, -1},   {nullptr, 'a', 1, -1},
        {"a\xFE", 0xFE, 1, 1}};
    for (const auto& [text, character, occurrence, offset] : cases)
        EXPECT_EQ(findchar(text, character, occurrence), offset);
}

TEST_F(LibraryTest, HexadecimalTextAndBack) {
    const std::string bytes = {"\0\xAB\x7F", 3};
    const std::string cut = {"\0\xAB", 2};
    EXPECT_EQ(TakeText(HexString(bytes.data(), 3)), "00AB7F");
    EXPECT_EQ(TakeText(HexString("z", 1)), "7A");
    for (const int32_t length : {0, -4})
        EXPECT_EQ(HexString("", length), NullString());
    const std::tuple<const char*, int32_t, std::string> cases[] = {
        {"00AB7F", 6, bytes},    {"00ab7f", 6, bytes}, {"00AB7", 5, cut}, {"GZ", 2, "\x7A"},
        {"!0@g", 4, "\x10\x07"}, {"7", 1, ""},         {"77", -2, ""}};
    for (const auto& [digits, length, expected] : cases)
        EXPECT_EQ(TakeBytes(BinaryString(digits, length)), expected) << digits;
}

TEST(Text, CommandsSplitIntoVerbAndParameters) {
    const std::string longest(255, 'x');
    const std::tuple<std::string, std::string, std::string> cases[] = {
        {"COPY A X", "COPY", "A X"},
        {"COPY\t A X ", "COPY", "A X "},
        {"RUN", "RUN", ""},
        {" RUN X", "", "RUN X"},
        {"", "", ""},
        {longest + "x " + longest + "x", longest, longest}};
    for (const auto& [text, verb, params] : cases) {
        EXPECT_EQ(GetCommandVerb(text.c_str()), verb);
        EXPECT_EQ(GetCommandParams(text.c_str()), params);
    }
    char* area = GetCommandParams("LIST RUN COPY A");  // one area serves all calls
    EXPECT_EQ(GetCommandParams(area), area);
    EXPECT_STREQ(area, "COPY A");
    EXPECT_EQ(GetCommandVerb(area), area);
    EXPECT_STREQ(area, "COPY");
}

}  // namespace
