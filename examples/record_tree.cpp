// A record as a tree. The three levels differ in the walk that takes their
// elements and in the mark that counts them, so one function serves all three.

#include "record_tree.h"

#include <cstdio>
#include <string>

#include "record_colours.h"
#include "vr/extract.h"
#include "vr/memory.h"
#include "vr/walk.h"

namespace {

struct Level {
    unsigned char mark;
    int32_t (*next)(VrString s, int32_t cursor, VrString* out, uint32_t size);
};

constexpr Level kLevels[] = {
    {kVrAttributeMark, UtilGetNextAttribute},
    {kVrValueMark, UtilGetNextValue},
    {kVrSubvalueMark, UtilGetNextSubvalue},
};
constexpr int kLevelCount = 3;
constexpr int kIndent = 4;
constexpr char kResetColours[] = "\x1B[0m";

bool HasMarksBelow(VrString element, int level) {
    for (int below = level + 1; below < kLevelCount; ++below) {
        if (item_count(element, kLevels[below].mark) > 1) return true;
    }
    return false;
}

// Control bytes would disturb the terminal.
void PrintText(VrString text) {
    const unsigned char* byte = VrStrText(text);
    for (const unsigned char* end = byte + text->length; byte != end; ++byte) {
        std::putchar(*byte < ' ' || *byte == 127 ? '.' : *byte);
    }
    std::putchar('\n');
}

// What surrounds a number.
struct Paint {
    std::string before;
    std::string behind;
};

void PrintLevel(VrString s, int level, const std::string& numbersAbove, const Paint& paint) {
    const Level& row = kLevels[level];
    const int32_t elements = item_count(s, row.mark);
    int32_t cursor = kVrFirstCursor;
    for (int32_t number = 1; number <= elements; ++number) {
        VrString element = nullptr;
        cursor = row.next(s, cursor, &element, 0);
        const std::string numbers = numbersAbove + std::to_string(number);
        std::printf("%*s%s%s%s  ", level * kIndent, "", paint.before.c_str(), numbers.c_str(),
                    paint.behind.c_str());
        if (HasMarksBelow(element, level)) {
            std::putchar('\n');
            PrintLevel(element, level + 1, numbers + ",", paint);
        } else {
            PrintText(element);
        }
        free_mem(&element);
    }
}

}  // namespace

void PrintTree(VrString record, bool colours) {
    Paint paint;
    if (colours) paint = {ForegroundCode(kColourNumber), ForegroundCode(kColourPlain)};
    PrintLevel(record, 0, "", paint);
    if (colours) std::fputs(kResetColours, stdout);
}

void PrintLine(VrString text, bool readable) {
    VrString shown = NewString(text);
    if (readable) {
        UtilSwapChar(shown, kVrAttributeMark, '^');
        UtilSwapChar(shown, kVrValueMark, ']');
        UtilSwapChar(shown, kVrSubvalueMark, '\\');
    }
    std::fwrite(VrStrText(shown), 1, static_cast<size_t>(shown->length), stdout);
    std::putchar('\n');
    free_mem(&shown);
}
