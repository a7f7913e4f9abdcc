// The terminal in its two forms: the definition, a dynamic array, and the record decoded from it.
// Both are made together at the first request; the definition's pointer is null before that.

#define VR_MODULE "Dbenv"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "config/Dbenv_definition.h"
#include "core/vrmem.h"
#include "vr/edit.h"
#include "vr/extract.h"
#include "vr/frame.h"
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

// Where the first control strings come from.
struct Source {
    int32_t attribute;
    int32_t value;
};
constexpr Source kControlSources[] = {{3, 2}, {4, 2}, {3, 1}, {4, 1}, {3, 4},
                                      {4, 4}, {3, 3}, {4, 3}, {7, 1}, {7, 2}};

VrString definition = nullptr;
ScreenDefinition* screen = nullptr;

// A value of an attribute, as a string that is freed with this object.
class Value {
public:
    Value(VrString attribute, int32_t number) : s_(extract_field(1, number, 0, attribute)) {}
    ~Value() {
        free_mem(&s_);
    }
    Value(const Value&) = delete;
    Value& operator=(const Value&) = delete;

    const char* Chars() const {
        return vr::CharsOf(s_);
    }
    int32_t Number() const {
        return std::strtol(Chars(), nullptr, 10);
    }
    void CopyTo(Text& text) const {
        std::snprintf(text, sizeof text, "%s", Chars());
    }

private:
    VrString s_;
};

int32_t NumberIn(int32_t attribute, int32_t value) {
    VrString whole = get_field(attribute, definition);
    const int32_t number = Value(whole, value).Number();
    free_mem(&whole);
    return number;
}

void DecodeOption17() {
    VrString option = get_field(kOption17Attribute, definition);
    screen->option17Number = Value(option, 1).Number();
    Value(option, 2).CopyTo(screen->option17Text);
    screen->option17Yes = (*Value(option, 3).Chars() | 0x20) == 'y' ? 1 : 0;
    screen->option17Char = *Value(option, 4).Chars();
    Value(option, 5).CopyTo(screen->option17Text2);
    screen->option17Number2 = Value(option, 6).Number();
    screen->option17Number3 = Value(option, 7).Number();
    Value(option, 10).CopyTo(screen->option17Text3);
    Value(option, 11).CopyTo(screen->option17Text4);
    Value(option, 12).CopyTo(screen->option17Text5);
    free_mem(&option);
}

void DecodeColours(int32_t attribute, int32_t firstSlot) {
    VrString colours = get_field(attribute, definition);
    for (int32_t i = 0; i < kColours; ++i)
        Value(colours, i + 1).CopyTo(screen->controlStrings[firstSlot + i]);
    free_mem(&colours);
}

void DecodeControlStrings() {
    for (size_t slot = 0; slot < std::size(kControlSources); ++slot) {
        VrString whole = get_field(kControlSources[slot].attribute, definition);
        Value(whole, kControlSources[slot].value).CopyTo(screen->controlStrings[slot]);
        free_mem(&whole);
    }
    DecodeColours(kForegroundAttribute, kVrFirstForegroundString);
    DecodeColours(kBackgroundAttribute, kVrFirstBackgroundString);
}

void DecodeBoxCharacters() {
    VrString box = get_field(kBoxAttribute, definition);
    for (int32_t i = 0; i < kVrBoxCharacters; ++i)
        screen->boxCharacters[i] = static_cast<unsigned char>(*Value(box, i + 1).Chars());
    free_mem(&box);
}

// The parts between the marks, each as a string of its own.
VrString* Split(VrString s, uint8_t mark, int32_t& count) {
    count = item_count(s, mark);
    auto* parts = static_cast<VrString*>(
        alloc_memory(static_cast<uint32_t>(count) * static_cast<uint32_t>(sizeof(VrString))));
    int32_t cursor = kVrFirstCursor;
    for (int32_t i = 0; i < count; ++i)
        cursor = UtilGetNextMarkerVal(s, cursor, &parts[i], 0, mark);
    return parts;
}

VrString* DecodeKeyTable(int32_t number, int32_t& count) {
    VrString table = extract_field(kKeyTableAttribute, number, 0, definition);
    VrString* parts = Split(table, kVrSubvalueMark, count);
    free_mem(&table);
    return parts;
}

// Table 1 is written in digits.
void SubtractDigits(VrString* parts, int32_t count) {
    for (int32_t i = 0; i < count; ++i) {
        unsigned char* text = VrStrText(parts[i]);
        std::transform(text, text + parts[i]->length, text, [](unsigned char digit) {
            return static_cast<unsigned char>(digit - kDigitZero);
        });
    }
}

void DecodeKeys() {
    int32_t counts[4] = {};
    VrString lists = get_field(kKeyListAttribute, definition);
    screen->keyLists = Split(lists, kVrValueMark, counts[0]);
    free_mem(&lists);
    screen->keyTable1 = DecodeKeyTable(1, counts[1]);
    screen->keyTable2 = DecodeKeyTable(2, counts[2]);
    screen->keyTable3 = DecodeKeyTable(3, counts[3]);
    screen->keyListCount = counts[0];
    screen->keyTable1Count = counts[1];
    screen->keyTable2Count = counts[2];
    screen->keyTable3Count = counts[3];
    SubtractDigits(screen->keyTable1, screen->keyTable1Count);
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
    definition = alloc_string(vr::kTerminalDefinitionSize);
    std::ranges::copy(vr::kTerminalDefinition, VrStrText(definition));
    screen = static_cast<ScreenDefinition*>(alloc_memory(sizeof(ScreenDefinition)));
    screen->columns = NumberIn(kSizeAttribute, 1);
    screen->rows = NumberIn(kSizeAttribute, 2);
    screen->option13 = NumberIn(kOption13Attribute, 1);
    DecodeOption17();
    DecodeControlStrings();
    DecodeBoxCharacters();
    DecodeKeys();
    VrExitAdd(FreeTerminal);
}

void PutSize(int32_t value, int32_t number) {
    char digits[12];
    std::snprintf(digits, sizeof digits, "%d", number);
    UtilPosition position = {kSizeAttribute, value, 0, kVrFirstCursor};
    VrString text = StrToVrStr(digits);
    VrString before = definition;
    definition = UtilInsertReplace(&position, before, text, 1);
    if (definition != before) free_mem(&before);
    free_mem(&text);
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
