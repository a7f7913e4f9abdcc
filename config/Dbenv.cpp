// The terminal in its two forms: the definition, a dynamic array, and the record decoded from it.
// Both are made together at the first request; the definition's pointer is null before that.

#define VR_MODULE "Dbenv"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "config/Dbenv_definition.h"
#include "core/Array.h"
#include "core/Width.h"
#include "vr/extract.h"
#include "vr/frame.h"
#include "vr/owned.hpp"
#include "vr/terminal.h"
#include "vr/walk.h"

namespace {

constexpr int32_t kSizeAttribute = 5;
constexpr int32_t kBoxAttribute = 6;
constexpr int32_t kKeyListAttribute = 11;
constexpr int32_t kOption13Attribute = 13;
constexpr int32_t kKeyTableAttribute = 16;
constexpr int32_t kOption17Attribute = 17;
constexpr int32_t kForegroundAttribute = 21;
constexpr int32_t kBackgroundAttribute = 22;
constexpr int32_t kColours = 16;
constexpr unsigned char kDigitZero = '0';

using Text = char[kVrTerminalTextSize];

// Where a part of the record comes from.
struct Source {
    int32_t attribute;
    int32_t value;
};

// The first control strings.
constexpr Source kControlSources[] = {{3, 2}, {4, 2}, {3, 1}, {4, 1}, {3, 4},
                                      {4, 4}, {3, 3}, {4, 3}, {7, 1}, {7, 2}};

VrString definition = nullptr;
ScreenDefinition* screen = nullptr;

// A value of an attribute of the definition.
vr::String ValueOf(Source source) {
    return vr::String(extract_field(source.attribute, source.value, 0, definition));
}

int32_t NumberOf(Source source) {
    return vr::NumberAt(ValueOf(source).c_str());
}

char FirstCharOf(Source source) {
    return *ValueOf(source).c_str();
}

void CopyValue(Source source, Text& text) {
    std::snprintf(text, sizeof text, "%s", ValueOf(source).c_str());
}

void DecodeOption17() {
    const auto value = [](int32_t number) { return Source{kOption17Attribute, number}; };
    screen->option17Number = NumberOf(value(1));
    CopyValue(value(2), screen->option17Text);
    screen->option17Yes = (FirstCharOf(value(3)) | 0x20) == 'y' ? 1 : 0;
    screen->option17Char = FirstCharOf(value(4));
    CopyValue(value(5), screen->option17Text2);
    screen->option17Number2 = NumberOf(value(6));
    screen->option17Number3 = NumberOf(value(7));
    CopyValue(value(10), screen->option17Text3);
    CopyValue(value(11), screen->option17Text4);
    CopyValue(value(12), screen->option17Text5);
}

void DecodeColours(int32_t attribute, int32_t firstSlot) {
    for (int32_t i = 0; i < kColours; ++i)
        CopyValue({attribute, i + 1}, screen->controlStrings[firstSlot + i]);
}

void DecodeControlStrings() {
    for (size_t slot = 0; slot < std::size(kControlSources); ++slot)
        CopyValue(kControlSources[slot], screen->controlStrings[slot]);
    DecodeColours(kForegroundAttribute, kVrFirstForegroundString);
    DecodeColours(kBackgroundAttribute, kVrFirstBackgroundString);
}

void DecodeBoxCharacters() {
    for (int32_t i = 0; i < kVrBoxCharacters; ++i)
        screen->boxCharacters[i] = static_cast<unsigned char>(FirstCharOf({kBoxAttribute, i + 1}));
}

struct Parts {
    VrString* strings;
    int32_t count;
};

// What stands between the marks, each as a string of its own.
Parts Split(VrString s, uint8_t mark) {
    const int32_t count = item_count(s, mark);
    auto* strings = vr::NewArray<VrString>(count, VR_MODULE, __LINE__);
    int32_t cursor = kVrFirstCursor;
    for (int32_t i = 0; i < count; ++i)
        cursor = UtilGetNextMarkerVal(s, cursor, &strings[i], 0, mark);
    return {strings, count};
}

Parts DecodeKeyTable(int32_t number) {
    return Split(ValueOf({kKeyTableAttribute, number}).get(), kVrSubvalueMark);
}

// Table 1 is written in digits.
void SubtractDigits(const Parts& parts) {
    for (int32_t i = 0; i < parts.count; ++i) {
        unsigned char* text = VrStrText(parts.strings[i]);
        std::transform(text, text + parts.strings[i]->length, text, [](unsigned char digit) {
            return static_cast<unsigned char>(digit - kDigitZero);
        });
    }
}

void DecodeKeys() {
    const vr::String whole(get_field(kKeyListAttribute, definition));
    const Parts lists = Split(whole.get(), kVrValueMark);
    const Parts tables[] = {DecodeKeyTable(1), DecodeKeyTable(2), DecodeKeyTable(3)};
    SubtractDigits(tables[0]);
    screen->keyLists = lists.strings;
    screen->keyListCount = lists.count;
    screen->keyTable1 = tables[0].strings;
    screen->keyTable1Count = tables[0].count;
    screen->keyTable2 = tables[1].strings;
    screen->keyTable2Count = tables[1].count;
    screen->keyTable3 = tables[2].strings;
    screen->keyTable3Count = tables[2].count;
}

void FreeParts(VrString* parts, int32_t count) {
    for (int32_t i = 0; i < count; ++i)
        free_mem(&parts[i]);
    free_mem(&parts);
}

void FreeTerminal() {
    FreeParts(screen->keyLists, screen->keyListCount);
    FreeParts(screen->keyTable1, screen->keyTable1Count);
    FreeParts(screen->keyTable2, screen->keyTable2Count);
    FreeParts(screen->keyTable3, screen->keyTable3Count);
    free_mem(&screen);
    free_mem(&definition);
}

void Build() {
    definition = alloc_string(sizeof vr::kTerminalDefinition);
    std::memcpy(VrStrText(definition), vr::kTerminalDefinition, sizeof vr::kTerminalDefinition);
    screen = static_cast<ScreenDefinition*>(alloc_memory(sizeof(ScreenDefinition)));
    screen->columns = NumberOf({kSizeAttribute, 1});
    screen->rows = NumberOf({kSizeAttribute, 2});
    screen->option13 = NumberOf({kOption13Attribute, 1});
    DecodeOption17();
    DecodeControlStrings();
    DecodeBoxCharacters();
    DecodeKeys();
    VrExitAdd(FreeTerminal);
}

void PutSize(int32_t value, int32_t number) {
    char digits[12];
    std::snprintf(digits, sizeof digits, "%d", number);
    vr::String edited(definition);
    edited.replace({kSizeAttribute, value}, digits);
    definition = edited.release();
}

}  // namespace

const char* EnvironTerminalType() {
    return vr::kTerminalType;
}

VrString EnvironTerminalDefinition(int32_t) {
    if (definition == nullptr) Build();
    return definition;
}

const ScreenDefinition* EnvironScreenDefinition() {
    EnvironTerminalDefinition(0);
    return screen;
}

int32_t EnvironSetTerminal(int32_t columns, int32_t rows) {
    if (definition == nullptr) return 0;
    PutSize(1, columns);
    PutSize(2, rows);
    screen->columns = columns;
    screen->rows = rows;
    return 1;
}
