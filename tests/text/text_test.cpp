// Text helpers.

#include <string>

#include "tests/support/arrays.h"
#include "tests/support/library_test.h"

namespace {

TEST_F(LibraryTest, CaseFoldsLettersAtoZAlone) {
    std::string text = "a1b-Z\xE4@[`{";
    ToUpper(text.data());
    EXPECT_EQ(text, "A1B-Z\xE4@[`{");
    ToLower(text.data());
    EXPECT_EQ(text, "a1b-z\xE4@[`{");
    ToUpper(nullptr);
    ToLower(nullptr);
}

TEST_F(LibraryTest, Occurrences) {
    const struct {
        const char* text;
        unsigned char character;
        uint32_t occurrence;
        int32_t offset;
    } cases[] = {{"abcabc", 'c', 1, 2},  {"abcabc", 'c', 2, 5}, {"abcabc", 'c', 3, -1},
                 {"abcabc", 'c', 0, -1}, {"abc", 0, 1, -1},     {nullptr, 'a', 1, -1},
                 {"a\xFE", 0xFE, 1, 1}};
    for (const auto& row : cases) {
        EXPECT_EQ(findchar(row.text, row.character, row.occurrence), row.offset);
    }
}

TEST_F(LibraryTest, HexadecimalTextAndBack) {
    EXPECT_EQ(TakeText(HexString("\x00\xAB\x7F", 3)), "00AB7F");
    EXPECT_EQ(HexString("", 0), NullString());
    EXPECT_EQ(HexString("", -4), NullString());
    const struct {
        const char* digits;
        int32_t length;
        std::string bytes;
    } cases[] = {{"00AB7F", 6, std::string("\0\xAB\x7F", 3)},
                 {"00ab7f", 6, std::string("\0\xAB\x7F", 3)},
                 {"00AB7", 5, std::string("\0\xAB", 2)},
                 {"GZ", 2, "\x7A"},
                 {"!0@g", 4, std::string("\x10\x07", 2)},
                 {"7", 1, ""},
                 {"77", -2, ""}};
    for (const auto& row : cases) {
        VrString s = BinaryString(row.digits, row.length);
        EXPECT_EQ(BytesOf(s), row.bytes) << row.digits;
        free_mem(&s);
    }
}

TEST_F(LibraryTest, CommandsSplitIntoVerbAndParameters) {
    const struct {
        std::string text, verb, params;
    } cases[] = {{"COPY FILE.TXT X", "COPY", "FILE.TXT X"},
                 {"COPY\tFILE.TXT X ", "COPY", "FILE.TXT X "},
                 {"RUN", "RUN", ""},
                 {" RUN X", "", "RUN X"},
                 {"", "", ""},
                 {std::string(300, 'v') + " " + std::string(300, 'p'), std::string(255, 'v'),
                  std::string(255, 'p')}};
    for (const auto& row : cases) {
        EXPECT_EQ(GetCommandVerb(row.text.c_str()), row.verb);
        EXPECT_EQ(GetCommandParams(row.text.c_str()), row.params);
    }
    EXPECT_EQ(GetCommandVerb("a b"), GetCommandParams("a b")) << "one area serves both";
}

}  // namespace
