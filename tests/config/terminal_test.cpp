// The terminal: its definition byte for byte, the record field by field, and what each
// reader of escape sequences takes, stores and leaves.

#include <string>
#include <vector>

#include "tests/support/arrays.h"
#include "tests/support/library_test.h"

namespace {

struct Key {
    int byte;
    int code;
};

const std::vector<Key> kKeyLists[] = {
    {{0x00, 0}, {0x19, 9}, {0x18, 13}, {0x1B, 14}, {0x1A, 15}, {0x09, 22}, {0x17, 23}},
    {{0x4B, 1},  {0x4D, 2},  {0x48, 3},  {0x50, 4},  {0x47, 5},  {0x4F, 6},  {0x52, 7},  {0x53, 8},
     {0x74, 10}, {0x73, 11}, {0x75, 12}, {0x92, 16}, {0x93, 17}, {0x49, 18}, {0x51, 19}, {0x20, 20},
     {0x76, 21}, {0x3D, 24}, {0x0F, 25}, {0x32, 29}, {0x3B, 31}, {0x3C, 32}, {0x3E, 34}, {0x3F, 35},
     {0x40, 36}, {0x41, 37}, {0x42, 38}, {0x43, 39}, {0x44, 40}}};

std::string Bytes(size_t list, int Key::*column) {
    std::string bytes;
    for (const Key& key : kKeyLists[list])
        bytes += char(key.*column);
    return bytes;
}

// The prefix of the second list stands out, all other keys have `other`.
std::string Prefix(size_t list, char prefix, char other) {
    return list == 0 ? prefix + std::string(6, other) : std::string(29, other);
}

std::string Colour(char plane, int number, int last) {
    return number > last ? "" : std::string("\033C") + plane + std::to_string(number) + ".";
}

// The whole definition with the given attribute 5.
std::string Definition(const std::string& size) {
    std::string foreground;
    std::string background;
    for (int i = 0; i < 16; ++i) {
        foreground += Colour('F', i, 15) + (i < 15 ? "]" : "^");
        background += Colour('B', i, 7) + (i < 15 ? "]" : std::string(1, '\0'));
    }
    return "$TERM^PC COLOR MONITOR FOR WINDOWS^^^" + size +
           "^\xC4]\xB3]\xDA]\xBF]\xC0]\xD9]\xC2]\xC1]\xC3]\xB4]\xC5]\xB2] "
           "]\xCD]\xBA]\xC9]\xBB]\xC8]"
           "\xBC]\xCB]\xCA]\xCC]\xB9]\xCE]\x1E]\x1F^]^I^^0^" +
           Bytes(0, &Key::byte) + "]" + Bytes(1, &Key::byte) +
           "^1^1^2,12,12]8,6,2,2,16]2,16,12]4,5,1]6,2,12,4,1]8,2]8,2]5,15]8,6,2,2,16^PCWIN.COL^" +
           Prefix(0, '1', '0') + "\\" + Prefix(1, '1', '0') + "]" + Prefix(0, 2, 0) + "\\" +
           Prefix(1, 2, 0) + "]" + Bytes(0, &Key::code) + "\\" + Bytes(1, &Key::code) + "^0^^^0^" +
           foreground + background;
}

TEST_F(LibraryTest, TheDefinitionByteForByte) {
    VrString definition = EnvironTerminalDefinition(3);
    EXPECT_EQ(definition->length, 506);
    EXPECT_EQ(BytesOf(definition), Marked(Definition("80]25]80]25")));
    const ScreenDefinition* screen = EnvironScreenDefinition();
    EXPECT_EQ(EnvironTerminalDefinition(-1), definition);
    EXPECT_EQ(EnvironScreenDefinition(), screen);
}

TEST_F(LibraryTest, TheRecordFieldByField) {
    const ScreenDefinition& screen = *EnvironScreenDefinition();
    const std::vector<int32_t> numbers = {
        screen.columns,      screen.rows,           screen.option13,        screen.option17Number,
        screen.option17Yes,  screen.option17Char,   screen.option17Number2, screen.option17Number3,
        screen.keyListCount, screen.keyTable1Count, screen.keyTable2Count,  screen.keyTable3Count};
    EXPECT_EQ(numbers, (std::vector<int32_t>{80, 25, 1, 0, 0, 0, 0, 0, 2, 2, 2, 2}));
    for (const char* text : {screen.option17Text, screen.option17Text2, screen.option17Text3,
                             screen.option17Text4, screen.option17Text5})
        EXPECT_EQ(std::string(text, kVrTerminalTextSize), std::string(kVrTerminalTextSize, '\0'));
    for (int i = 0; i < kVrControlStrings; ++i) {
        std::string expected = i < 10   ? ""
                               : i < 26 ? Colour('F', i - 10, 15)
                                        : Colour('B', i - 26, 7);
        expected.resize(kVrTerminalTextSize);
        EXPECT_EQ(std::string(screen.controlStrings[i], kVrTerminalTextSize), expected) << i;
    }
    EXPECT_EQ(std::memcmp(screen.boxCharacters, "\xC4\xB3\xDA\xBF\xC0\xD9", kVrBoxCharacters), 0);
    for (size_t i = 0; i < 2; ++i) {
        EXPECT_EQ(BytesOf(screen.keyLists[i]), Bytes(i, &Key::byte));
        EXPECT_EQ(BytesOf(screen.keyTable1[i]), Prefix(i, 1, 0));
        EXPECT_EQ(BytesOf(screen.keyTable2[i]), Prefix(i, 2, 0));
        EXPECT_EQ(BytesOf(screen.keyTable3[i]), Bytes(i, &Key::code));
    }
}

TEST_F(HostTest, TheSizeIsRefusedBeforeTheBuildAndAfterTheRelease) {
    static int32_t sizeSetAtExit = -1;
    EXPECT_STREQ(EnvironTerminalType(), "PCWIN.COL");
    Start();
    VrExitAdd([] { sizeSetAtExit = EnvironSetTerminal(1, 1); });
    EXPECT_STREQ(EnvironTerminalType(), "PCWIN.COL");
    EXPECT_EQ(EnvironSetTerminal(132, 43), 0);
    EXPECT_EQ(int32_t{EnvironScreenDefinition()->columns}, 80);
    VrExit(0);
    EXPECT_EQ(sizeSetAtExit, 0);
}

TEST_F(LibraryTest, TheSizeGoesIntoBoth) {
    const ScreenDefinition* screen = EnvironScreenDefinition();
    ScreenDefinition expected = *screen;
    const int32_t sizes[][2] = {
        {132, 43}, {132, 43}, {0, -1}, {9999999, -999999}, {INT32_MIN, INT32_MAX}, {80, 25}};
    for (const auto& [columns, rows] : sizes) {
        EXPECT_EQ(EnvironSetTerminal(columns, rows), 1);
        const std::string size = std::to_string(columns) + "]" + std::to_string(rows) + "]80]25";
        EXPECT_EQ(BytesOf(EnvironTerminalDefinition(0)), Marked(Definition(size)));
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
    if (letter == 'C') outcome += std::string(" ") + char(plane);
    for (int32_t number : p)
        outcome += number == kKept ? " _" : " " + std::to_string(number);
    return outcome.substr(0, outcome.find_last_not_of(" _") + 1);
}

TEST(TermEsc, TakesStoresAndLeaves) {
    const std::pair<const char*, const char*> cases[] = {
        {"A10,5.", "1 (6) 10 5"},
        {"A10;5.", "0 (3) 10"},
        {"A,.", "1 (3) 0 0"},
        {"A 10 , 5 .", "1 (10) 10 5"},
        {"A-+007,- 8.", "0 (9) -7 0"},
        {"CF15.", "1 (5) F 15"},
        {"C B 3 .", "1 (7) B 3"},
        {"CX1.", "0 (1)"},
        {"CF1", "0 (3) F 1"},
        {"Cf1.", "0 (1)"},
        {"CB-1.F", "1 (5) B -1"},
        {"V-2.", "1 (4) -2"},
        {"V-+2.", "1 (5) -2"},
        {"V+-2.", "0 (2) 0"},
        {"V1 2.", "0 (3) 1"},
        {"V-2147483648.", "1 (13) -2147483648"},
        {"V2147483648.", "1 (12) -2147483648"},
        {"V1000000000000000000000005.", "1 (27) -1593835515"},
        {"WR.", "1 (3) _ _ _ _ _ _ 0"},
        {"WR,4.", "1 (5) _ _ _ _ _ _ 4"},
        {"WR4.", "0 (2) _ _ _ _ _ _ 0"},
        {"WR,4,", "0 (4) _ _ _ _ _ _ 4"},
        {"W  R.", "1 (5) _ _ _ _ _ _ 0"},
        {"WD1,2,3,4.", "1 (10) 1 2 3 4 0 0 0"},
        {"WD1,2,3,4,5.", "1 (12) 1 2 3 4 5 0 0"},
        {"WD1,2,3,4,5,6.", "1 (14) 1 2 3 4 5 6 0"},
        {"WD1,2,3,4,5,6,7.", "0 (13) 1 2 3 4 5 6 0"},
        {"WD1,2,3,4,5;6.", "0 (11) 1 2 3 4 5 0 0"},
        {"WS1,2,3,4.", "1 (10) 1 2 3 4 0 0 0"},
        {"WS1,2,3,4,9.", "1 (12) 1 2 3 4 0 0 9"},
        {"WS1,2,3,4,9,8.", "0 (11) 1 2 3 4 0 0 9"},
        {"W D - 1 , 2,3,4.", "0 (6) 0 _ _ _ 0 0 0"},
        {"WD1,2,3.", "0 (7) 1 2 3 _ 0 0 0"},
        {"WS1;", "0 (3) 1 _ _ _ 0 0 0"},
        {"WQ1.", "1 (1)"},
        {"W", "1 (1)"}};
    for (const auto& [text, outcome] : cases)
        EXPECT_EQ(Read(text), outcome) << text;
}

}  // namespace
