// Answers that are read from the process environment at each call: where to print, how dates are
// written, and what a file name with variables stands for.

#define VR_MODULE "Environ"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "config/Ini.h"
#include "core/vrmem.h"
#include "platform/registry.h"
#include "vr/environ.h"
#include "vr/owned.hpp"
#include "vr/settings.h"
#include "vr/text.h"
#include "vr/walk.h"

namespace {

constexpr size_t kStaticTextSize = 252;
constexpr size_t kVariableSize = 256;
constexpr int32_t kMostExpansions = 10;
constexpr uint32_t kCountrySize = 260;

// A static string has the header word of a short one too, since the library reads it to learn the
// capacity.
struct StaticString {
    uint32_t header;
    int32_t length;
    char text[kStaticTextSize];
};

VrString PrintFile(StaticString& s, const char* name) {
    EnvironProduct();  // works the identity out, as every path kept here does
    const vr::String directory(EnvironPrintPath());
    std::snprintf(s.text, sizeof s.text, "%s%c%s", directory.c_str(), '\\', name);
    s.length = static_cast<int32_t>(std::strlen(s.text));
    return reinterpret_cast<VrString>(&s.length);
}

// A user whose registry has no key for country settings counts as American; one whose key has no
// country does not.
bool UserIsAmerican() {
    HKEY key = nullptr;
    if (RegOpenKeyExA(HKEY_CURRENT_USER, "Control Panel\\International", 0, KEY_READ, &key) !=
        ERROR_SUCCESS) {
        return true;
    }
    unsigned char country[kCountrySize + 1] = "";
    uint32_t size = kCountrySize;
    const int32_t result = RegQueryValueExA(key, "iCountry", nullptr, nullptr, country, &size);
    RegCloseKey(key);
    return result == ERROR_SUCCESS && std::strcmp(reinterpret_cast<char*>(country), "1") == 0;
}

bool IsSeparator(char c) {
    return c == '\\' || c == '/';
}

// A copy of a variable's value, since a callback of an allocation may ask for another one;
// empty for one that is not set.
struct Variable {
    explicit Variable(const char* name) {
        const char* found = DLLGetEnv(name);
        std::snprintf(value, sizeof value, "%s", found == nullptr ? "" : found);
    }
    char value[vr::kEnvironmentValueSize];
};

// The value of the variable of that name, without one separator at its end; empty for a name that
// is too long.
Variable ValueOf(const char* name, size_t length) {
    char zeroEnded[kVariableSize] = "";
    if (length < sizeof zeroEnded) std::memcpy(zeroEnded, name, length);
    Variable variable(zeroEnded);
    const size_t valueLength = std::strlen(variable.value);
    if (valueLength != 0 && IsSeparator(variable.value[valueLength - 1])) {
        variable.value[valueLength - 1] = '\0';
    }
    return variable;
}

// `name` begins with a dollar sign; the result is a new string.
VrString Expand(VrString name) {
    const auto* text = vr::CharsOf(name);
    const char* end = text + name->length;
    const char* variable = text + 1;
    while (variable != end && *variable == ' ')
        ++variable;
    const char* rest = std::find_if(variable, end, IsSeparator);

    const Variable found = ValueOf(variable, static_cast<size_t>(rest - variable));
    const size_t valueLength = std::strlen(found.value);
    const auto restLength = static_cast<size_t>(end - rest);
    VrString expanded = alloc_string(static_cast<uint32_t>(valueLength + restLength));
    if (valueLength != 0) std::memcpy(VrStrText(expanded), found.value, valueLength);
    if (restLength != 0) std::memcpy(VrStrText(expanded) + valueLength, rest, restLength);
    return expanded;
}

}  // namespace

VrString EnvironPrintPath() {
    const Variable path("VRLPRINTPATH");
    return StrToVrStr(*path.value == '\0' ? "PRINT" : path.value);
}

VrString EnvironPrintDataPath() {
    return EnvironPrintPath();
}

VrString EnvironPrintQueuePath() {
    return EnvironPrintPath();
}

VrString EnvironPrintAttributesPath() {
    static StaticString path;
    return PrintFile(path, "PRINTCFG");
}

VrString EnvironPrintJobNumPath() {
    static StaticString path;
    return PrintFile(path, "NEXTJOB");
}

int32_t EnvironShowErrorCode() {
    return 1;
}

int32_t EnvironInternationalDate() {
    char* format = DLLGetEnv("VRLDATE");
    if (format != nullptr && *format != '\0') {
        ToUpper(format);
        return std::strcmp(format, "AMERICAN") == 0 ? 0 : 1;
    }
    const bool american = UserIsAmerican();
    DLLPutEnv("VRLDATE", american ? "AMERICAN" : "INTERNATIONAL");
    return american ? 0 : 1;
}

VrString EnvironFileName(VrString name) {
    vr::String expanded(NewString(name));
    for (int32_t i = 0; i < kMostExpansions && *expanded.c_str() == '$'; ++i)
        expanded = vr::String(Expand(expanded.get()));
    UtilSwapChar(expanded.get(), '/', '\\');
    return expanded.release();
}
