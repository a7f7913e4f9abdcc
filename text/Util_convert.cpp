// Character conversion by two tables of 256 bytes, where 0 stands for no change. A string
// is converted in a scratch area, so that one without anything to change costs no block.

#define VR_MODULE "Util"

#include "text/Util_convert.h"

#include <cstdlib>
#include <cstring>

#include "core/vrmem.h"
#include "platform/environment.h"
#include "vr/convert.h"
#include "vr/settings.h"

int32_t CvtFlag = 0;

namespace {

constexpr size_t kValueSize = 20;

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

uint8_t LowByteOf(const char* text) {
    return static_cast<uint8_t>(std::strtol(text, nullptr, 0));
}

// The list of keys stands in MemBuf1, each with its zero and one more zero at the end.
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

// Whether an entry was found for a byte, be it the same one.
bool ConvertBytes(const Table& table, unsigned char* text, int32_t length) {
    bool changed = false;
    for (unsigned char* byte = text; byte != text + length; ++byte) {
        const uint8_t entry = table.bytes[*byte];
        if (entry == 0) continue;
        *byte = entry;
        changed = true;
    }
    return changed;
}

VrString ConvertInScratch(const Table& table, VrString string, int32_t length) {
    auto* text = reinterpret_cast<unsigned char*>(MemBuf1);
    std::memcpy(text, VrStrText(string), static_cast<size_t>(length));
    if (!ConvertBytes(table, text, length)) return string;
    VrString converted = alloc_string(static_cast<uint32_t>(length));
    std::memcpy(VrStrText(converted), text, static_cast<size_t>(length));
    return converted;
}

// The tables may make or unmake marks, and then a memo that came along would lead edits to
// the wrong attribute.
VrString ConvertCopy(const Table& table, VrString string, int32_t length) {
    VrString copy = NewString(string);
    if (vr::IsLong(copy)) vr::LongHeaderOf(copy).memo = {};
    if (ConvertBytes(table, VrStrText(copy), length)) return copy;
    free_mem(&copy);
    return string;
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
    const int32_t length = string->length;
    if (table.count == 0 || length <= 0) return string;
    const bool fits = static_cast<uint32_t>(length) + vr::kStringOverhead <= kVrScratchSize;
    return fits ? ConvertInScratch(table, string, length) : ConvertCopy(table, string, length);
}
