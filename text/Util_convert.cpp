// Character conversion by two tables of 256 bytes, where 0 means no change. A string with nothing
// to change is returned without a copy.

#define VR_MODULE "Util"

#include "text/Util_convert.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "core/Text.h"
#include "platform/profile.h"
#include "vr/convert.h"
#include "vr/memory.h"
#include "vr/settings.h"

int32_t CvtFlag = 0;

namespace {

constexpr size_t kValueSize = 20;
constexpr char kBeforeDigits[] = " \t\n\v\f\r+-";

struct Table {
    const char* section;
    int32_t count;  // lines read
    uint8_t bytes[256];
};

Table inputTable = {"input", 0, {}};
Table displayTable = {"display", 0, {}};

void Clear(Table& table) {
    table.count = 0;
    std::memset(table.bytes, 0, sizeof table.bytes);
}

// By 0x, a leading 0 or neither. Base 0 of the standard library would also accept 0b in its newer
// editions.
int BaseOf(const char* number) {
    number += std::strspn(number, kBeforeDigits);
    if (*number != '0') return 10;
    return vr::Upper(number[1]) == 'X' ? 16 : 8;
}

uint8_t LowByteOf(const char* number) {
    return static_cast<uint8_t>(std::strtol(number, nullptr, BaseOf(number)));
}

// The list of keys is in MemBuf1, each with its zero and one more zero at the end.
void Load(Table& table, const char* file) {
    GetPrivateProfileStringA(table.section, nullptr, "", MemBuf1, kVrScratchSize, file);
    for (const char* key = MemBuf1; *key != '\0'; key += std::strlen(key) + 1) {
        char value[kValueSize];
        GetPrivateProfileStringA(table.section, key, "", value, sizeof value, file);
        table.bytes[LowByteOf(key)] = LowByteOf(value);
        ++table.count;
    }
}

void LoadBoth(const char* file) {
    Load(inputTable, file);
    Load(displayTable, file);
    CvtFlag = inputTable.count + displayTable.count;
}

}  // namespace

void vr::StartConversion(const UtilInitRecord&) {
    CvtInit(nullptr);
}

void CvtInit(const char* file) {
    Clear(inputTable);
    Clear(displayTable);
    if (file != nullptr && *file != '\0') {
        LoadBoth(file);
        return;
    }
    char* setting = IniGetString("Environment", "CVTFILE", "");
    if (*setting != '\0') LoadBoth(setting);
    free_mem(&setting);
}

VrString CvtConvert(VrString string, int32_t direction) {
    const Table& table = direction == 0 ? inputTable : displayTable;
    if (table.count == 0 || string->length <= 0) return string;
    const uint8_t* text = VrStrText(string);
    const uint8_t* end = text + string->length;
    const auto hasEntry = [&table](uint8_t byte) { return table.bytes[byte] != 0; };
    if (std::none_of(text, end, hasEntry)) return string;
    VrString converted = alloc_string(static_cast<uint32_t>(string->length));
    std::transform(text, end, VrStrText(converted),
                   [&](uint8_t byte) { return hasEntry(byte) ? table.bytes[byte] : byte; });
    return converted;
}
