// The registry's open keys. A key has its values from the text of the export file as it was when
// the key was opened, so that a file that changes or goes away cannot disturb a reader. The text
// and the keys that were read are kept as long as the file has not changed. Handles are numbers
// that are not soon reused, so a closed one stays a bad handle.

#include "platform/registry.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "linux/registry_text.h"
#include "linux/shortage.h"
#include "linux/text.h"
#include "linux/textfile.h"

namespace vrplatform {

namespace {

constexpr uintptr_t kHighestHandle = 0x7FFFFFFF;  // the roots lie above

constexpr size_t kLargestKept = 1 << 20;  // bytes of an export
constexpr size_t kMostKept = 256;         // keys of it

using Key = std::shared_ptr<const RegistryKey>;

struct OpenKey {
    std::string path;  // from the root's name on
    Key contents;
};

// An export as it was read.
struct Reading {
    std::string file;  // as the variable names it
    FileState state;
    std::shared_ptr<const RegistryExport> source;  // null when the file is no export
    std::map<std::string, Key> keys;               // by path in lower case; null for none
    bool isKept = false;
};

Reading last;
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

Reading Read(const char* file) {
    Reading reading;
    std::string text;
    if (!ReadTextFile(file, text, &reading.state)) return reading;
    reading.isKept = reading.state.IsSettled() && text.size() <= kLargestKept;
    const auto source = std::make_shared<RegistryExport>();
    if (source->Take(std::move(text))) reading.source = source;
    reading.file = file;
    return reading;
}

bool IsLast(const char* file) {
    FileState state;
    return last.isKept && last.file == file && LookAtFile(file, state) && state == last.state;
}

std::string Folded(std::string path) {
    std::transform(path.begin(), path.end(), path.begin(), FoldCase);
    return path;
}

Key KeyIn(Reading& reading, const std::string& path) {
    if (reading.source == nullptr) return nullptr;
    const std::string folded = Folded(path);
    const auto known = reading.keys.find(folded);
    if (known != reading.keys.end()) return known->second;
    if (reading.keys.size() == kMostKept) reading.keys.clear();
    return reading.keys[folded] = ReadRegistryKey(reading.source, path);
}

Key LoadKey(const std::string& path) {
    const char* file = std::getenv("VRPLATFORM_REGISTRY");
    if (file == nullptr) return nullptr;
    if (!IsLast(file)) {
        last = {};
        last = Read(file);
    }
    Key key = KeyIn(last, path);
    if (!last.isKept) last = {};
    return key;
}

int32_t OpenKeyBelow(HKEY root, const char* path, HKEY* key) {
    OpenKey opened = {PathOf(root), nullptr};
    if (opened.path.empty()) return ERROR_INVALID_HANDLE;
    if (path != nullptr && *path != '\0') opened.path.append("\\").append(path);
    if (opened.path.ends_with('\\')) opened.path.pop_back();
    opened.contents = LoadKey(opened.path);
    if (opened.contents == nullptr) return ERROR_FILE_NOT_FOUND;
    *key = AddOpenKey(std::move(opened));
    return ERROR_SUCCESS;
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
    if (!key.contents->Find(name, value)) return ERROR_FILE_NOT_FOUND;
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
    if (index >= key.contents->Count()) return ERROR_NO_MORE_ITEMS;
    const RegistryValue value = key.contents->At(index);
    const bool nameFits = value.name.size() < *out.nameSize;
    *out.nameSize = static_cast<uint32_t>(value.name.size());
    if (!Describe(value, out.type, out.data, out.dataSize) || !nameFits) return ERROR_MORE_DATA;
    std::memcpy(out.name, value.name.c_str(), value.name.size() + 1);
    CopyData(value, out.data);
    return ERROR_SUCCESS;
}

}  // namespace

}  // namespace vrplatform

using namespace vrplatform;

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
