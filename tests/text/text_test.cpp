// Text helpers.

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
        {"abcc", 'c', 2, 3}, {"abc", 'c', 2, -1}, {"abc", 'c', 0, -1}, {"abc", 0, 1, -1}};
    for (const auto& [text, character, occurrence, offset] : places)
        EXPECT_EQ(findchar(text, character, occurrence), offset);

    const std::string bytes = "\x01\x23\x45\x67\x89\xAB\xCD\xEF", zero(1, '\0');
    EXPECT_EQ(TakeBytes(HexString((zero + bytes).data(), 9)), "000123456789ABCDEF");
    EXPECT_EQ(TakeBytes(HexString("x", -1)), "");
    for (const auto& [digits, expected] : {std::pair("0123456789abCDEf", bytes),
                                           {"00AB7", zero + '\xAB'},
                                           {"!0@g", "\x10\x07"},
                                           {"1", ""}})
        EXPECT_EQ(TakeBytes(BinaryString(digits, int32_t(std::strlen(digits)))), expected);
}

// How a command is split, the fuzz target states.
TEST(Text, OneAreaServesAllParameters) {
    char* area = GetCommandParams("LIST RUN COPY A");
    EXPECT_STREQ(GetCommandParams(area), "COPY A");
}

}  // namespace
