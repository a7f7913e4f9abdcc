// The registry's open keys. A key takes its values out of the export file when it is
// opened and shares nothing with it afterwards, so that a file that changes or goes
// away cannot disturb a reader. Handles are numbers that are not given out again
// soon: one that was closed stays a bad handle.

#include "platform/registry.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "linux/registry_text.h"
#include "linux/shortage.h"
#include "linux/textfile.h"

namespace {

constexpr uintptr_t kHighestHandle = 0x7FFFFFFF;  // the roots lie above

struct OpenKey {
    std::string path;  // from the root's name on
    RegistryKey contents;
};

std::map<uintptr_t, OpenKey> openKeys;
uintptr_t lastHandle = 0;

const OpenKey* FindOpenKey(HKEY key) {
    const auto entry = openKeys.find(reinterpret_cast<uintptr_t>(key));
    return entry == openKeys.end() ? nullptr : &entry->second;
}

HKEY AddOpenKey(OpenKey key) {
    do {
        lastHandle = lastHandle % kHighestHandle + 1;
    } while (openKeys.contains(lastHandle));
    openKeys.emplace(lastHandle, std::move(key));
    return reinterpret_cast<HKEY>(lastHandle);
}

// Empty when there is no such key.
std::string PathOf(HKEY root) {
    if (root == HKEY_LOCAL_MACHINE) return "HKEY_LOCAL_MACHINE";
    if (root == HKEY_CURRENT_USER) return "HKEY_CURRENT_USER";
    const OpenKey* key = FindOpenKey(root);
    return key == nullptr ? "" : key->path;
}

bool LoadKey(OpenKey& key) {
    const char* file = std::getenv("VRPLATFORM_REGISTRY");
    std::string text;
    return file != nullptr && ReadTextFile(file, text) &&
           key.contents.Read(std::move(text), key.path);
}

int32_t OpenKeyBelow(HKEY root, const char* path, HKEY* key) {
    OpenKey opened = {PathOf(root), {}};
    if (opened.path.empty()) return ERROR_INVALID_HANDLE;
    if (path != nullptr && *path != '\0') opened.path.append("\\").append(path);
    if (opened.path.ends_with('\\')) opened.path.pop_back();
    if (!LoadKey(opened)) return ERROR_FILE_NOT_FOUND;
    *key = AddOpenKey(std::move(opened));
    return ERROR_SUCCESS;
}

bool FindValue(const RegistryKey& key, const char* name, RegistryValue& value) {
    for (size_t i = 0; i < key.Count(); ++i) {
        value = key.At(i);
        if (SameName(value.name, name)) return true;
    }
    return false;
}

// Stores the type and the size, and returns whether the data fits.
bool Describe(const RegistryValue& value, uint32_t* type, const unsigned char* data,
              uint32_t* size) {
    const auto wanted = static_cast<uint32_t>(value.data.size());
    const bool fits = data == nullptr || wanted <= *size;
    if (type != nullptr) *type = value.type;
    if (size != nullptr) *size = wanted;
    return fits;
}

void CopyData(const RegistryValue& value, unsigned char* data) {
    if (data != nullptr) std::copy(value.data.begin(), value.data.end(), data);
}

int32_t Query(const OpenKey& key, const char* name, uint32_t* type, unsigned char* data,
              uint32_t* size) {
    RegistryValue value;
    if (!FindValue(key.contents, name, value)) return ERROR_FILE_NOT_FOUND;
    if (!Describe(value, type, data, size)) return ERROR_MORE_DATA;
    CopyData(value, data);
    return ERROR_SUCCESS;
}

// Where an enumeration stores what it finds.
struct EnumeratedValue {
    char* name;
    uint32_t* nameSize;
    uint32_t* type;
    unsigned char* data;
    uint32_t* dataSize;
};

int32_t Enumerate(const OpenKey& key, uint32_t index, const EnumeratedValue& out) {
    if (index >= key.contents.Count()) return ERROR_NO_MORE_ITEMS;
    const RegistryValue value = key.contents.At(index);
    const bool nameFits = value.name.size() < *out.nameSize;
    *out.nameSize = static_cast<uint32_t>(value.name.size());
    if (!Describe(value, out.type, out.data, out.dataSize) || !nameFits) return ERROR_MORE_DATA;
    std::memcpy(out.name, value.name.c_str(), value.name.size() + 1);
    CopyData(value, out.data);
    return ERROR_SUCCESS;
}

}  // namespace

int32_t RegOpenKeyExA(HKEY root, const char* path, uint32_t, uint32_t, HKEY* key) {
    if (key == nullptr) return ERROR_INVALID_PARAMETER;
    *key = nullptr;
    return UnlessShort(int32_t{ERROR_OUTOFMEMORY}, [=] { return OpenKeyBelow(root, path, key); });
}

int32_t RegQueryValueExA(HKEY key, const char* name, uint32_t*, uint32_t* type, unsigned char* data,
                         uint32_t* size) {
    const OpenKey* opened = FindOpenKey(key);
    if (opened == nullptr) return ERROR_INVALID_HANDLE;
    if (data != nullptr && size == nullptr) return ERROR_INVALID_PARAMETER;
    return UnlessShort(int32_t{ERROR_OUTOFMEMORY}, [=] {
        return Query(*opened, name == nullptr ? "" : name, type, data, size);
    });
}

int32_t RegEnumValueA(HKEY key, uint32_t index, char* name, uint32_t* nameSize, uint32_t*,
                      uint32_t* type, unsigned char* data, uint32_t* dataSize) {
    const OpenKey* opened = FindOpenKey(key);
    if (opened == nullptr) return ERROR_INVALID_HANDLE;
    if (name == nullptr || nameSize == nullptr) return ERROR_INVALID_PARAMETER;
    if (data != nullptr && dataSize == nullptr) return ERROR_INVALID_PARAMETER;
    return UnlessShort(int32_t{ERROR_OUTOFMEMORY}, [=] {
        return Enumerate(*opened, index, {name, nameSize, type, data, dataSize});
    });
}

int32_t RegCloseKey(HKEY key) {
    const bool wasOpen = openKeys.erase(reinterpret_cast<uintptr_t>(key)) != 0;
    return wasOpen ? ERROR_SUCCESS : ERROR_INVALID_HANDLE;
}
