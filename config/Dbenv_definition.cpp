// The terminal's definition, written down as tables and turned into the dynamic array
// that hosts get. The last byte, a zero, is the value of the last background colour and
// counts in the length.

#include "config/Dbenv_definition.h"

#include <cstdint>
#include <string_view>

#include "vr/walk.h"

namespace {

constexpr char kEscape = 0x1B;
constexpr int kForegrounds = 16;
constexpr int kBackgrounds = 8;
constexpr int kColours = 16;
constexpr int kLists = 2;

// A key's byte in its list, and what the three tables have for it.
struct Key {
    int list;
    uint8_t byte;
    uint8_t table1;
    uint8_t table2;
    uint8_t table3;
};

constexpr Key kKeys[] = {
    {1, 0x00, 1, 2, 0},   // prefix of extended keys, which list 2 holds
    {1, 0x19, 0, 0, 9},   // Ctrl-Y
    {1, 0x18, 0, 0, 13},  // Ctrl-X
    {1, 0x1B, 0, 0, 14},  // ESC
    {1, 0x1A, 0, 0, 15},  // Ctrl-Z
    {1, 0x09, 0, 0, 22},  // TAB
    {1, 0x17, 0, 0, 23},  // Ctrl-W
    {2, 0x4B, 0, 0, 1},   // Left
    {2, 0x4D, 0, 0, 2},   // Right
    {2, 0x48, 0, 0, 3},   // Up
    {2, 0x50, 0, 0, 4},   // Down
    {2, 0x47, 0, 0, 5},   // Home
    {2, 0x4F, 0, 0, 6},   // End
    {2, 0x52, 0, 0, 7},   // Insert
    {2, 0x53, 0, 0, 8},   // Delete
    {2, 0x74, 0, 0, 10},  // Ctrl-Right
    {2, 0x73, 0, 0, 11},  // Ctrl-Left
    {2, 0x75, 0, 0, 12},  // Ctrl-End
    {2, 0x92, 0, 0, 16},  // Ctrl-Insert
    {2, 0x93, 0, 0, 17},  // Ctrl-Delete
    {2, 0x49, 0, 0, 18},  // Page Up
    {2, 0x51, 0, 0, 19},  // Page Down
    {2, 0x20, 0, 0, 20},  // Alt-D
    {2, 0x76, 0, 0, 21},  // Ctrl-Page Down
    {2, 0x3D, 0, 0, 24},  // F3
    {2, 0x0F, 0, 0, 25},  // Shift-TAB
    {2, 0x32, 0, 0, 29},  // Alt-M
    {2, 0x3B, 0, 0, 31},  // F1
    {2, 0x3C, 0, 0, 32},  // F2
    {2, 0x3E, 0, 0, 34},  // F4
    {2, 0x3F, 0, 0, 35},  // F5
    {2, 0x40, 0, 0, 36},  // F6
    {2, 0x41, 0, 0, 37},  // F7
    {2, 0x42, 0, 0, 38},  // F8
    {2, 0x43, 0, 0, 39},  // F9
    {2, 0x44, 0, 0, 40},  // F10
};

// Line drawing of code page 437.
constexpr uint8_t kBoxCharacters[] = {0xC4, 0xB3, 0xDA, 0xBF, 0xC0, 0xD9, 0xC2, 0xC1, 0xC3,
                                      0xB4, 0xC5, 0xB2, 0x20, 0xCD, 0xBA, 0xC9, 0xBB, 0xC8,
                                      0xBC, 0xCB, 0xCA, 0xCC, 0xB9, 0xCE, 0x1E, 0x1F};

// Attributes that are plain texts, some of several values; ] stands for the value mark.
constexpr std::string_view kAttributes1To5[] = {"$TERM", "PC COLOR MONITOR FOR WINDOWS", "", "",
                                                "80]25]80]25"};
constexpr std::string_view kAttributes7To10[] = {"]", "I", "", "0"};
constexpr std::string_view kAttributes12To14[] = {
    "1", "1", "2,12,12]8,6,2,2,16]2,16,12]4,5,1]6,2,12,4,1]8,2]8,2]5,15]8,6,2,2,16"};
constexpr std::string_view kAttributes17To20[] = {"0", "", "", "0"};

struct Definition {
    std::array<unsigned char, vr::kTerminalDefinitionSize> bytes = {};
    size_t length = 0;

    constexpr void Put(int byte) {
        bytes[length++] = static_cast<unsigned char>(byte);
    }

    constexpr void PutText(std::string_view text) {
        for (char c : text)
            Put(c == ']' ? int{kVrValueMark} : c);
    }

    constexpr void PutNumber(int number) {
        if (number >= 10) Put('0' + number / 10);
        Put('0' + number % 10);
    }

    // An attribute that is not the first.
    constexpr void PutAttribute(std::string_view text) {
        Put(kVrAttributeMark);
        PutText(text);
    }

    template <size_t N>
    constexpr void PutAttributes(const std::string_view (&texts)[N]) {
        for (std::string_view text : texts)
            PutAttribute(text);
    }

    // One byte of each key of the list.
    template <typename ByteOf>
    constexpr void PutList(int list, ByteOf byteOf) {
        for (const Key& key : kKeys) {
            if (key.list == list) Put(byteOf(key));
        }
    }

    template <typename ByteOf>
    constexpr void PutLists(int mark, ByteOf byteOf) {
        for (int list = 1; list <= kLists; ++list) {
            if (list > 1) Put(mark);
            PutList(list, byteOf);
        }
    }

    constexpr void PutKeyTables() {
        PutAttribute("");
        PutLists(kVrSubvalueMark, [](const Key& key) { return key.table1 + '0'; });
        Put(kVrValueMark);
        PutLists(kVrSubvalueMark, [](const Key& key) { return int{key.table2}; });
        Put(kVrValueMark);
        PutLists(kVrSubvalueMark, [](const Key& key) { return int{key.table3}; });
    }

    constexpr void PutColours(char plane, int colours) {
        PutAttribute("");
        for (int colour = 0; colour < colours; ++colour) {
            if (colour > 0) Put(kVrValueMark);
            Put(kEscape);
            Put('C');
            Put(plane);
            PutNumber(colour);
            Put('.');
        }
    }
};

constexpr Definition MakeDefinition() {
    Definition definition;
    definition.PutText(kAttributes1To5[0]);
    for (size_t i = 1; i < std::size(kAttributes1To5); ++i)
        definition.PutAttribute(kAttributes1To5[i]);

    definition.PutAttribute("");
    for (size_t i = 0; i < std::size(kBoxCharacters); ++i) {
        if (i > 0) definition.Put(kVrValueMark);
        definition.Put(kBoxCharacters[i]);
    }
    definition.PutAttributes(kAttributes7To10);
    definition.PutAttribute("");
    definition.PutLists(kVrValueMark, [](const Key& key) { return int{key.byte}; });
    definition.PutAttributes(kAttributes12To14);
    definition.PutAttribute(vr::kTerminalType);
    definition.PutKeyTables();
    definition.PutAttributes(kAttributes17To20);
    definition.PutColours('F', kForegrounds);
    definition.PutColours('B', kBackgrounds);
    for (int colour = kBackgrounds; colour < kColours; ++colour)
        definition.Put(kVrValueMark);
    definition.Put(0);
    return definition;
}

constexpr Definition kDefinition = MakeDefinition();

constexpr bool HoldsAt(size_t offset, std::string_view text) {
    for (size_t i = 0; i < text.size(); ++i) {
        if (kDefinition.bytes[offset + i] != static_cast<unsigned char>(text[i])) return false;
    }
    return true;
}

static_assert(kDefinition.length == vr::kTerminalDefinitionSize);
static_assert(HoldsAt(0,
                      "$TERM\xFE"
                      "PC COLOR"));
static_assert(HoldsAt(37,
                      "80\xFD"
                      "25\xFD"
                      "80\xFD"
                      "25\xFE\xC4"));
static_assert(HoldsAt(vr::kTerminalDefinitionSize - 14,
                      "\x1B"
                      "CB7.\xFD\xFD\xFD"));
static_assert(kDefinition.bytes.back() == 0);

}  // namespace

const std::array<unsigned char, vr::kTerminalDefinitionSize> vr::kTerminalDefinition =
    kDefinition.bytes;
