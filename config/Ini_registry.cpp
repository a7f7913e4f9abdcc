// The registry's layer of the settings. A key is opened and closed for each request; a key or value
// that cannot be opened or read counts as absent.

#include <cstdio>
#include <cstring>

#include "config/Ini.h"
#include "core/Text.h"
#include "platform/environment.h"
#include "platform/registry.h"
#include "vr/environ.h"

namespace {

constexpr size_t kKeyPathSize = 260;
constexpr uint32_t kValueLimit = 256;
constexpr uint32_t kEnumeratedSize = 260;

HKEY OpenSection(const char* section) {
    char path[kKeyPathSize];
    const char* product = EnvironProduct();
    const int wanted = std::snprintf(path, sizeof path, "Software\\Veldane\\%s\\%s",
                                     product == nullptr ? "" : product, section);
    HKEY key = nullptr;
    if (!vr::Fits(wanted, sizeof path)) return nullptr;
    return RegOpenKeyExA(HKEY_LOCAL_MACHINE, path, 0, KEY_READ, &key) == ERROR_SUCCESS ? key
                                                                                       : nullptr;
}

// Value number `index`, in buffers whose last byte the registry never reaches.
bool ReadValue(HKEY key, uint32_t index, char (&name)[kEnumeratedSize + 1],
               char (&data)[kEnumeratedSize + 1]) {
    uint32_t nameSize = kEnumeratedSize;
    uint32_t dataSize = kEnumeratedSize;
    std::memset(name, 0, sizeof name);
    std::memset(data, 0, sizeof data);
    return RegEnumValueA(key, index, name, &nameSize, nullptr, nullptr,
                         reinterpret_cast<unsigned char*>(data), &dataSize) == ERROR_SUCCESS;
}

}  // namespace

bool vr::FindRegistryValue(const char* section, const char* key, char (&value)[kSettingSize]) {
    HKEY opened = OpenSection(section);
    if (opened == nullptr) return false;
    std::memset(value, 0, sizeof value);
    uint32_t size = kValueLimit;
    const int32_t result = RegQueryValueExA(opened, key, nullptr, nullptr,
                                            reinterpret_cast<unsigned char*>(value), &size);
    RegCloseKey(opened);
    return result == ERROR_SUCCESS;
}

void vr::LoadRegistryEnvironment() {
    HKEY key = OpenSection("ENVIRONMENT");
    if (key == nullptr) return;
    char name[kEnumeratedSize + 1];
    char data[kEnumeratedSize + 1];
    for (uint32_t index = 0; ReadValue(key, index, name, data); ++index) {
        SetEnvironmentVariableA(name, data);
    }
    RegCloseKey(key);
}
