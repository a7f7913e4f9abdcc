// The terminal: its definition, the record field by field, and what each reader of escape sequences
// takes, stores and leaves.

#include "tests/support/library_test.h"

namespace {

using namespace std::string_literals;

// The long texts are compared by their checksum (FNV-1a).
uint32_t SumOf(const std::string& text) {
    uint32_t sum = 2166136261;
    for (const char c : text)
        sum = (sum ^ uint8_t(c)) * 16777619;
    return sum;
}

TEST_F(LibraryTest, TheRecordAndItsLists) {
    const ScreenDefinition& screen = *EnvironScreenDefinition();
    EXPECT_STREQ(screen.controlStrings[10 + 15], "\033CF15.");
    EXPECT_STREQ(screen.controlStrings[26 + 8], "");
    const std::string fields(reinterpret_cast<const char*>(&screen),
                             offsetof(ScreenDefinition, keyLists));
    EXPECT_EQ(SumOf(fields), 3730430652u);
    EXPECT_EQ(screen.keyListCount + screen.keyTable1Count, 4);
    EXPECT_EQ(screen.keyTable2Count + screen.keyTable3Count, 4);
    std::string lists;
    for (auto* both : {screen.keyLists, screen.keyTable1, screen.keyTable2, screen.keyTable3})
        lists += BytesOf(both[0]) + '^' + BytesOf(both[1]) + '^';
    EXPECT_EQ(SumOf(lists), 3757836698u);
}

TEST_F(LibraryTest, TheSizeGoesIntoBoth) {
    EXPECT_EQ(EnvironSetTerminal(132, 43), 0) << "it is not built yet";
    const std::string first = BytesOf(EnvironTerminalDefinition(3));
    EXPECT_EQ(SumOf(first), 3754366047u);
    const ScreenDefinition* screen = EnvironScreenDefinition();
    ScreenDefinition expected = *screen;
    const int32_t sizes[][2] = {{132, 43}, {0, -1}, {INT32_MIN, INT32_MAX}, {80, 25}};
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
        " | V-2. -> 1 (4) -2 | V+-2. -> 0 (2) 0 | V1 2. -> 0 (3) 1"
        " | V1000000000000000000000005. -> 1 (27) -1593835515"
        " | WR. -> 1 (3) _ _ _ _ _ _ 0 | WR,4. -> 1 (5) _ _ _ _ _ _ 4"
        " | WR4. -> 0 (2) _ _ _ _ _ _ 0 | WR,4, -> 0 (4) _ _ _ _ _ _ 4 | WQ1. -> 1 (1)"
        " | WD1,2,3,4,5. -> 1 (12) 1 2 3 4 5 0 0 | WD -1 , 2,3,4,5,6. -> 1 (18) -1 2 3 4 5 6 0 | "
        "WD1,2,3,4,5,6,7. -> 0 (13) 1 2 3 4 5 6 0"
        " | WD1,2,3. -> 0 (7) 1 2 3 _ 0 0 0 | WS1; -> 0 (3) 1 _ _ _ 0 0 0"
        " | WS1,2,3,4,9. -> 1 (12) 1 2 3 4 0 0 9 | WS1,2,3,4,9,8. -> 0 (11) 1 2 3 4 0 0 9";
    for (const auto& [text, outcome] : Rows<2>(cases))
        EXPECT_EQ(Read(text), outcome) << text;
}

}  // namespace
