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

TEST_F(LibraryTest, OccurrencesAndHexadecimalText) {
    const std::tuple<const char*, unsigned char, uint32_t, int32_t> places[] = {
        {"abcabc", 'c', 1, 2},  {"abcc", 'c', 2, 3}, {"abcabc", 'c', 3, -1}, {"a\xFE", 0xFE, 1, 1},
        {"abcabc", 'c', 0, -1}, {"abc", 0, 1, -1},   {nullptr, 'a', 1, -1}};
    for (const auto& [text, character, occurrence, offset] : places)
        EXPECT_EQ(findchar(text, character, occurrence), offset);

    const std::string bytes = {"\0\xAB\x7F", 3};
    EXPECT_EQ(TakeBytes(HexString(bytes.data(), 3)), "00AB7F");
    EXPECT_TRUE(HexString("", 0) == NullString() && HexString("", -4) == NullString());
    const std::tuple<const char*, int32_t, std::string> cases[] = {
        {"00ab7F", 6, bytes}, {"00AB7", 5, bytes.substr(0, 2)},
        {"GZ", 2, "\x7A"},    {"!0@g", 4, "\x10\x07"},
        {"7", 1, ""},         {"77", -2, ""}};
    for (const auto& [digits, length, expected] : cases)
        EXPECT_EQ(TakeBytes(BinaryString(digits, length)), expected) << digits;
}

TEST(Text, CommandsSplitIntoVerbAndParameters) {
    const std::string longest(255, 'x');
    const std::string cases[][3] = {{"COPY A X", "COPY", "A X"},
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
    EXPECT_STREQ(GetCommandParams(area), "COPY A");
    EXPECT_EQ(GetCommandVerb(area), area);
    EXPECT_STREQ(area, "COPY");
}

}  // namespace
