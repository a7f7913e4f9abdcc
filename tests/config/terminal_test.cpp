// The terminal: its definition and record against a golden file, and what each reader of
// escape sequences takes, stores and leaves.

#include "tests/support/library_test.h"

namespace {

using namespace std::string_literals;

// An attribute a line, with the marks in the notation; {1B} for a byte that cannot be shown.
std::string Shown(std::string_view bytes) {
    std::ostringstream shown;
    for (const char c : bytes) {
        const size_t mark = kMarks.find(c);
        if (mark != kMarks.npos) {
            shown << kNotation[mark] << (mark == 0 ? "\n" : "");
        } else if (c >= ' ' && c <= '~') {
            shown << c;
        } else {
            shown << '{' << std::uppercase << std::hex << int{uint8_t(c)} << '}';
        }
    }
    return shown.str() + '\n';
}

std::string Shown(const char* name, const VrString* lists, int32_t count) {
    std::string shown;
    for (int32_t i = 0; i < count; ++i)
        shown += name + (" " + std::to_string(i + 1) + "=") + Shown(BytesOf(lists[i]));
    return shown;
}

std::string Shown(const ScreenDefinition& screen) {
    std::ostringstream shown;
    shown << "size: " << screen.columns << ' ' << screen.rows << "\noption 13: " << screen.option13
          << "\noption 17: " << screen.option17Number << " '" << screen.option17Text << "' "
          << screen.option17Yes << " '" << Shown({&screen.option17Char, 1}).substr(0, 3) << "' '"
          << screen.option17Text2 << "' " << screen.option17Number2 << ' ' << screen.option17Number3
          << " '" << screen.option17Text3 << "' '" << screen.option17Text4 << "' '"
          << screen.option17Text5 << "'\n";
    for (int slot = 0; slot < kVrControlStrings; ++slot)
        shown << "control string " << slot << "=" << Shown(screen.controlStrings[slot]);
    for (const unsigned char character : screen.boxCharacters)
        shown << "box=" << Shown(std::string(1, char(character)));
    return shown.str() + Shown("key list", screen.keyLists, screen.keyListCount) +
           Shown("key table 1", screen.keyTable1, screen.keyTable1Count) +
           Shown("key table 2", screen.keyTable2, screen.keyTable2Count) +
           Shown("key table 3", screen.keyTable3, screen.keyTable3Count);
}

TEST_F(LibraryTest, TheTerminalIsThatOfTheGoldenFile) {
    const ScreenDefinition* screen = EnvironScreenDefinition();
    EXPECT_EQ(Shown(BytesOf(EnvironTerminalDefinition(3))) + Shown(*screen),
              ReadFile(VR_TESTS_FOLDER "/config/terminal.txt"));
}

TEST_F(LibraryTest, TheSizeGoesIntoBoth) {
    EXPECT_EQ(EnvironSetTerminal(132, 43), 0) << "it is not built yet";
    const std::string first = BytesOf(EnvironTerminalDefinition(3));
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
// these. The first letter names the reader, which does not look at it.
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
    for (const auto& [text, outcome] : Rows<2>(R"(
            A10,5.                       -> 1 (6) 10 5
            A10;5.                       -> 0 (3) 10
            A,.                          -> 1 (3) 0 0
            A 10 , 5 .                   -> 1 (10) 10 5
            A-+007,- 8.                  -> 0 (9) -7 0
            CF15.                        -> 1 (5) F 15
            C B 3 .                      -> 1 (7) B 3
            CX1.                         -> 0 (1)
            CF1                          -> 0 (3) F 1
            V-2.                         -> 1 (4) -2
            V+-2.                        -> 0 (2) 0
            V1 2.                        -> 0 (3) 1
            V1000000000000000000000005.  -> 1 (27) -1593835515
            W R.                         -> 1 (4) _ _ _ _ _ _ 0
            WR,4.                        -> 1 (5) _ _ _ _ _ _ 4
            WR4.                         -> 0 (2) _ _ _ _ _ _ 0
            WR,4,                        -> 0 (4) _ _ _ _ _ _ 4
            WQ1.                         -> 1 (1)
            WD1,2,3,4,5.                 -> 1 (12) 1 2 3 4 5 0 0
            WD -1 , 2,3,4,5,6.           -> 1 (18) -1 2 3 4 5 6 0
            WD1,2,3,4,5,6,7.             -> 0 (13) 1 2 3 4 5 6 0
            WD1,2,3.                     -> 0 (7) 1 2 3 _ 0 0 0
            WS1;                         -> 0 (3) 1 _ _ _ 0 0 0
            WS1,2,3,4,9.                 -> 1 (12) 1 2 3 4 0 0 9
            WS1,2,3,4,9,8.               -> 0 (11) 1 2 3 4 0 0 9)"))
        EXPECT_EQ(Read(text), outcome) << text;
}

}  // namespace
