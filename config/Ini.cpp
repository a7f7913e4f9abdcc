// Looking settings up. The file is one text that is scanned from its start for each
// request; its rules are lenient on purpose, since hosts have files that rely on
// every one of them: a section is any [NAME], a key matches as a prefix, and a value
// may begin on a later line than its key.

#define VR_MODULE "Ini"

#include "config/Ini.h"

#include <algorithm>
#include <cstring>

#include "core/Text.h"
#include "core/vrmem.h"
#include "platform/environment.h"
#include "platform/memory.h"

namespace {

char environmentValue[vr::kEnvironmentValueSize];

const char* PassSpace(const char* p) {
    while (vr::IsSpace(*p))
        ++p;
    return p;
}

// The search for the = continues across lines and sections, and so does the white space after it.
bool CopyValueOfKeyAt(const char* p, char (&value)[vr::kSettingSize]) {
    const char* equals = std::strchr(p, '=');
    if (equals == nullptr) return false;
    vr::CopyLine(PassSpace(equals + 1), value);
    vr::TrimEnd(value);
    return true;
}

bool FindFileValue(const char* section, const char* key, char (&value)[vr::kSettingSize]) {
    const char* p = vr::FindSection(section);
    const size_t keyLength = std::strlen(key);
    while (p != nullptr && *p != '\0' && *p != '[') {
        if (vr::BeginsWith(p, key, keyLength)) return CopyValueOfKeyAt(p, value);
        const char* lineEnd = std::strchr(p, '\n');
        p = lineEnd == nullptr ? nullptr : lineEnd + 1;
    }
    return false;
}

bool FindSetting(const char* section, const char* key, char (&value)[vr::kSettingSize]) {
    if (section == nullptr || key == nullptr) return false;
    return vr::FindRegistryValue(section, key, value) || FindFileValue(section, key, value);
}

// Before the allocator is up, a text is a block of the platform.
char* CopyText(const char* text) {
    if (vr::MemoryIsUp()) return dup_str(text);
    if (text == nullptr) return nullptr;
    const auto size = static_cast<uint32_t>(std::strlen(text) + 1);
    auto* copy = static_cast<char*>(LocalAlloc(LMEM_FIXED, size));
    if (copy != nullptr) std::memcpy(copy, text, size);
    return copy;
}

// A section's text ends at the next [ anywhere, without the white space before it.
const char* EndOfSection(const char* body) {
    const char* end = std::strchr(body, '[');
    if (end == nullptr) return body + std::strlen(body);
    while (end != body && vr::IsSpace(end[-1]))
        --end;
    return end;
}

}  // namespace

size_t vr::CopyLine(const char* from, char* line) {
    size_t length = strnlen(from, kLineSize - 1);
    if (const void* lineEnd = std::memchr(from, '\n', length)) {
        length = static_cast<size_t>(static_cast<const char*>(lineEnd) - from);
    }
    std::memcpy(line, from, length);
    line[length] = '\0';
    return length;
}

void vr::TrimEnd(char* text) {
    size_t length = std::strlen(text);
    while (length != 0 && IsSpace(text[length - 1]))
        --length;
    text[length] = '\0';
}

const char* vr::FindSection(const char* section) {
    const size_t length = std::strlen(section);
    const char* bracket = ini_buf == nullptr ? nullptr : std::strchr(ini_buf, '[');
    while (bracket != nullptr) {
        const char* name = bracket + 1;
        if (BeginsWith(name, section, length) && name[length] == ']') {
            return PassSpace(name + length + 1);
        }
        bracket = std::strchr(name, '[');
    }
    return nullptr;
}

int32_t IniGetInt(const char* section, const char* key, int32_t defaultValue) {
    char value[vr::kSettingSize];
    if (!FindSetting(section, key, value)) return defaultValue;
    return vr::NumberAt(value);
}

char* IniGetString(const char* section, const char* key, const char* defaultValue) {
    char value[vr::kSettingSize];
    return CopyText(FindSetting(section, key, value) ? value : defaultValue);
}

char* IniGetSection(const char* section) {
    const char* p = section == nullptr ? nullptr : vr::FindSection(section);
    if (p == nullptr) return nullptr;
    const char* end = EndOfSection(p);
    auto* text = static_cast<char*>(alloc_memory(static_cast<uint32_t>(end - p) + 2));
    char* out = text;
    while (p != end) {
        if (*p == ';') {
            p = std::find(p, end, '\n');
        } else if (*p != '\n') {
            *out++ = *p++;
        } else {
            p = std::find_if_not(p, end, vr::IsSpace);
        }
    }
    return text;
}

char* DLLGetEnv(const char* name) {
    environmentValue[0] = '\0';
    if (GetEnvironmentVariableA(name, environmentValue, vr::kEnvironmentValueSize) == 0)
        return nullptr;
    return environmentValue;
}

int32_t DLLPutEnv(const char* name, const char* value) {
    return SetEnvironmentVariableA(name, value) != 0 ? 0 : -1;
}
