// The terminal: its definition, the record field by field, and what each reader of escape sequences
// takes, stores and leaves.

#include <string>

#include "tests/support/arrays.h"
#include "tests/support/library_test.h"
#include "tests/support/rows.h"

namespace {

using namespace std::string_literals;

// For the two key lists: the keys' bytes, and what the tables have for each key.
using Lists = std::string[2];
const Lists kKeys = {"\0\x19\x18\x1B\x1A\t\x17"s, "KMHPGORStsu\x92\x93IQ v=\xF\62;<>?@ABCD"};
const Lists kTable1 = {"\1\0\0\0\0\0\0"s, std::string(29, '\0')};
const Lists kTable2 = {"\2\0\0\0\0\0\0"s, std::string(29, '\0')};
const Lists kTable3 = {"\0\x9\xD\xE\xF\x16\x17"s,
                       "\1\2\3\4\5\6\7\b\n\v\f\x10\x11\x12\x13\x14\x15\x18\x19\x1D\x1F \"#$%&'("};

std::string Colour(char plane, int number, int last) {
    return number > last ? "" : "\033C"s + plane + std::to_string(number) + ".";
}

TEST_F(LibraryTest, TheRecordFieldByField) {
    const ScreenDefinition& screen = *EnvironScreenDefinition();
    ScreenDefinition expected = {};
    expected.columns = 80;
    expected.rows = 25;
    expected.option13 = 1;
    for (int i = 0; i < 16; ++i) {
        Colour('F', i, 15).copy(expected.controlStrings[10 + i], kVrTerminalTextSize);
        Colour('B', i, 7).copy(expected.controlStrings[26 + i], kVrTerminalTextSize);
    }
    std::memcpy(expected.boxCharacters, "\xC4\xB3\xDA\xBF\xC0\xD9", kVrBoxCharacters);
    EXPECT_EQ(std::memcmp(&screen, &expected, offsetof(ScreenDefinition, keyLists)), 0);
    for (const int32_t count :
         {screen.keyListCount, screen.keyTable1Count, screen.keyTable2Count, screen.keyTable3Count})
        EXPECT_EQ(count, 2);
    for (size_t i = 0; i < 2; ++i) {
        EXPECT_EQ(BytesOf(screen.keyLists[i]), kKeys[i]);
        EXPECT_EQ(BytesOf(screen.keyTable1[i]), kTable1[i]);
        EXPECT_EQ(BytesOf(screen.keyTable2[i]), kTable2[i]);
        EXPECT_EQ(BytesOf(screen.keyTable3[i]), kTable3[i]);
    }
}

TEST_F(HostTest, TheSizeIsRefusedBeforeTheBuildAndAfterTheRelease) {
    static int32_t sizeSetAtExit = -1;
    Start();
    VrExitAdd([] { sizeSetAtExit = EnvironSetTerminal(1, 1); });
    EXPECT_STREQ(EnvironTerminalType(), "PCWIN.COL");
    EXPECT_EQ(EnvironSetTerminal(132, 43), 0);
    EXPECT_EQ(int32_t{EnvironScreenDefinition()->columns}, 80);
    VrExit(0);
    EXPECT_EQ(sizeSetAtExit, 0);
}

// The definition's bytes by their checksum (FNV-1a): the cases around this one show the most of
// them in the clear.
TEST_F(LibraryTest, TheSizeGoesIntoBoth) {
    const std::string first = BytesOf(EnvironTerminalDefinition(3));
    uint32_t sum = 2166136261;
    for (const char c : first)
        sum = (sum ^ uint8_t(c)) * 16777619;
    EXPECT_EQ(sum, 3754366047u);
    const ScreenDefinition* screen = EnvironScreenDefinition();
    ScreenDefinition expected = *screen;
    const int32_t sizes[][2] = {
        {132, 43}, {132, 43}, {0, -1}, {9999999, -999999}, {INT32_MIN, INT32_MAX}, {80, 25}};
    for (const auto& [columns, rows] : sizes) {
        EXPECT_EQ(EnvironSetTerminal(columns, rows), 1);
        const std::string size = std::to_string(columns) + "\xFD" + std::to_string(rows);
        EXPECT_EQ(BytesOf(EnvironTerminalDefinition(0)),
                  first.substr(0, 37) + size + first.substr(42));
        ASSERT_EQ(EnvironScreenDefinition(), screen);
        expected.columns = columns;
        expected.rows = rows;
        EXPECT_EQ(std::memcmp(screen, &expected, sizeof expected), 0) << size;
    }
    const uint32_t blocks = ControlBlocksOut();
    for (int32_t i = 0; i < 2000; ++i)
        EnvironSetTerminal(i, i);
    EXPECT_EQ(ControlBlocksOut(), blocks) << "changes leave nothing behind";
}

// Result, used and the outputs, _ for one that was not stored and nothing for the last of
// these. The first letter tells the reader, which does not look at it.
std::string Read(std::string text) {
    constexpr int32_t kKept = -77;
    int32_t p[] = {kKept, kKept, kKept, kKept, kKept, kKept, kKept};
    int32_t used = kKept;
    unsigned char plane = '_';
    const char letter = std::exchange(text[0], '\0');
    const char* at = text.c_str();
    const int32_t result =
        letter == 'A'   ? TermEscAt(at, &used, &p[0], &p[1])
        : letter == 'C' ? TermEscColour(at, &used, &plane, &p[0])
        : letter == 'V' ? TermEscVideo(at, &used, &p[0])
                        : TermEscWindow(at, &used, &p[0], &p[1], &p[2], &p[3], &p[4], &p[5], &p[6]);
    std::string outcome = std::to_string(result) + " (" + std::to_string(used) + ")";
    if (letter == 'C') outcome += " "s + char(plane);
    for (int32_t number : p)
        outcome += number == kKept ? " _" : " " + std::to_string(number);
    return outcome.substr(0, outcome.find_last_not_of(" _") + 1);
}

TEST(TermEsc, TakesStoresAndLeaves) {
    const char cases[] =
        "A10,5. -> 1 (6) 10 5 | A10;5. -> 0 (3) 10 | A,. -> 1 (3) 0 0 | A 10 , 5 . -> 1 (10) 10 5"
        " | A-+007,- 8. -> 0 (9) -7 0"
        " | CF15. -> 1 (5) F 15 | C B 3 . -> 1 (7) B 3 | CX1. -> 0 (1) | CF1 -> 0 (3) F 1"
        " | Cf1. -> 0 (1) | CB-1.F -> 1 (5) B -1"
        " | V-2. -> 1 (4) -2 | V+-2. -> 0 (2) 0 | V1 2. -> 0 (3) 1"
        " | V-2147483648. -> 1 (13) -2147483648"
        " | V1000000000000000000000005. -> 1 (27) -1593835515"
        " | WR. -> 1 (3) _ _ _ _ _ _ 0 | WR,4. -> 1 (5) _ _ _ _ _ _ 4"
        " | WR4. -> 0 (2) _ _ _ _ _ _ 0 | WR,4, -> 0 (4) _ _ _ _ _ _ 4"
        " | W  R. -> 1 (5) _ _ _ _ _ _ 0 | WQ1. -> 1 (1) | W -> 1 (1)"
        " | WD1,2,3,4. -> 1 (10) 1 2 3 4 0 0 0 | WD1,2,3,4,5. -> 1 (12) 1 2 3 4 5 0 0"
        " | WD1,2,3,4,5,6. -> 1 (14) 1 2 3 4 5 6 0 | WD1,2,3,4,5,6,7. -> 0 (13) 1 2 3 4 5 6 0"
        " | WD1,2,3,4,5;6. -> 0 (11) 1 2 3 4 5 0 0 | W D - 1 , 2,3,4. -> 0 (6) 0 _ _ _ 0 0 0"
        " | WD1,2,3. -> 0 (7) 1 2 3 _ 0 0 0 | WS1; -> 0 (3) 1 _ _ _ 0 0 0"
        " | WS1,2,3,4. -> 1 (10) 1 2 3 4 0 0 0 | WS1,2,3,4,9. -> 1 (12) 1 2 3 4 0 0 9"
        " | WS1,2,3,4,9,8. -> 0 (11) 1 2 3 4 0 0 9";
    for (const auto& [text, outcome] : Rows<2>(cases))
        EXPECT_EQ(Read(text), outcome) << text;
}

}  // namespace
