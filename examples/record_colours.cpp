// The definition's sequence for a colour is taken from the screen definition, read by the escape
// reader as the definition's own terminal would read it, and translated for today's terminals.

#include "record_colours.h"

#include "vr/terminal.h"

namespace {

constexpr int kNormalBase = 30;
constexpr int kBrightBase = 90;
constexpr int kNormalColours = 8;

// In the PC's colours blue, green and red are 1, 2 and 4; in a terminal's they are 4, 2 and 1.
constexpr int kTerminalColours[kNormalColours] = {0, 4, 2, 6, 1, 5, 3, 7};

}  // namespace

std::string ForegroundCode(int colour) {
    const char* sequence =
        EnvironScreenDefinition()->controlStrings[kVrFirstForegroundString + colour];
    int32_t used = 0;
    int32_t number = 0;
    unsigned char plane = 0;
    // The command letter follows the ESC.
    if (TermEscColour(sequence + 1, &used, &plane, &number) == 0 || plane != 'F') return "";
    const int base = number < kNormalColours ? kNormalBase : kBrightBase;
    const int code = base + kTerminalColours[number % kNormalColours];
    return "\x1B[" + std::to_string(code) + "m";
}
