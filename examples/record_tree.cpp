// A record as a tree. The three levels differ in the walk that takes their
// elements and in the mark that counts them, so one function serves all three.

#include "record_tree.h"

#include <cstdio>
#include <string>

#include "record_colours.h"
#include "shown_text.h"
#include "vr/convert.h"
#include "vr/extract.h"
#include "vr/memory.h"
#include "vr/owned.hpp"
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
constexpr int32_t kDisplay = 1;  // direction of a conversion
constexpr char kResetColours[] = "\x1B[0m";

bool HasMarksBelow(VrString element, int level) {
    for (int below = level + 1; below < kLevelCount; ++below) {
        if (item_count(element, kLevels[below].mark) > 1) return true;
    }
    return false;
}

std::string BytesOf(VrString s) {
    return std::string(vr::View(s));
}

void Print(const std::string& line) {
    std::fwrite(line.data(), 1, line.size(), stdout);
    std::putchar('\n');
}

// What surrounds a number, and whether texts are converted.
struct Style {
    std::string before;
    std::string after;
    bool convert;
};

void PrintElement(VrString element, const Style& style) {
    VrString shown = style.convert ? CvtConvert(element, kDisplay) : element;
    Print(Masked(BytesOf(shown)));
    if (shown != element) free_mem(&shown);
}

void PrintLevel(VrString s, int level, const std::string& numbersAbove, const Style& style) {
    const Level& row = kLevels[level];
    const int32_t elements = item_count(s, row.mark);
    int32_t cursor = kVrFirstCursor;
    for (int32_t number = 1; number <= elements; ++number) {
        VrString element = nullptr;
        cursor = row.next(s, cursor, &element, 0);
        const std::string numbers = numbersAbove + std::to_string(number);
        std::printf("%*s%s%s%s  ", level * kIndent, "", style.before.c_str(), numbers.c_str(),
                    style.after.c_str());
        if (HasMarksBelow(element, level)) {
            std::putchar('\n');
            PrintLevel(element, level + 1, numbers + ",", style);
        } else {
            PrintElement(element, style);
        }
        free_mem(&element);
    }
}

}  // namespace

void PrintTree(VrString record, bool colours, bool convert) {
    Style style = {"", "", convert};
    if (colours) style = {ForegroundCode(kColourNumber), kResetColours, convert};
    PrintLevel(record, 0, "", style);
}

void PrintLine(VrString text, bool readable, bool convert) {
    VrString shown = NewString(text);
    if (readable) {
        UtilSwapChar(shown, kVrAttributeMark, '^');
        UtilSwapChar(shown, kVrValueMark, ']');
        UtilSwapChar(shown, kVrSubvalueMark, '\\');
    }
    VrString converted = convert ? CvtConvert(shown, kDisplay) : shown;
    Print(Shown(BytesOf(converted), stdout));
    if (converted != shown) free_mem(&converted);
    free_mem(&shown);
}
