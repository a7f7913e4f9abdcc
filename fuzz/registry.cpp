// Registry exports and version files. A registry is given as it is, or as Latin-1 text that
// must read the same in UTF-16 and in UTF-8.

#include <map>
#include <vector>

#include "config/Ini.h"
#include "fuzz/fuzz.h"
#include "fuzz/variables.h"
#include "platform/environment.h"
#include "platform/registry.h"
#include "platform/version.h"

namespace {

struct Value {
    std::string name;
    uint32_t type;
    std::string data;
    bool operator==(const Value&) const = default;
};

// Asks for the sizes first, and then in blocks of just those.
bool ReadValue(HKEY key, uint32_t index, Value& value) {
    char none[1];
    uint32_t nameSize = 0;
    uint32_t size = 0;
    const int32_t told =
        RegEnumValueA(key, index, none, &nameSize, nullptr, nullptr, nullptr, &size);
    if (told == ERROR_NO_MORE_ITEMS) return false;
    HOLDS(told == ERROR_MORE_DATA);
    std::vector<char> name(++nameSize);
    std::vector<unsigned char> data(size);
    HOLDS(RegEnumValueA(key, index, name.data(), &nameSize, nullptr, &value.type, data.data(),
                        &size) == ERROR_SUCCESS);
    HOLDS(nameSize + 1 == name.size() && name.back() == '\0' && size == data.size());
    value.name.assign(name.data(), nameSize);
    value.data.assign(data.begin(), data.end());
    return true;
}

void CheckQuery(HKEY key, const Value& value) {
    std::vector<unsigned char> data(value.data.size());
    auto size = uint32_t(data.size());
    uint32_t type = 0;
    HOLDS(RegQueryValueExA(key, value.name.c_str(), nullptr, &type, data.data(), &size) ==
          ERROR_SUCCESS);
    HOLDS(type == value.type && std::string(data.begin(), data.end()) == value.data);
}

std::vector<Value> ReadKey(const std::string& path, const std::string& file) {
    WriteFile("registry.reg", file);
    setenv("VRPLATFORM_REGISTRY", "registry.reg", 1);
    std::vector<Value> values;
    HKEY key = nullptr;
    if (RegOpenKeyExA(HKEY_LOCAL_MACHINE, path.c_str(), 0, KEY_READ, &key) != ERROR_SUCCESS)
        return {};
    for (Value value; ReadValue(key, uint32_t(values.size()), value);)
        values.push_back(value);
    for (const Value& value : values) {
        if (value.name.find('\0') == value.name.npos) CheckQuery(key, value);
    }
    HOLDS(RegCloseKey(key) == ERROR_SUCCESS);
    return values;
}

void CheckEncodings(const std::string& path, const std::string& latin1) {
    std::string utf16 = "\xFF\xFE";
    std::string utf8 = "\xEF\xBB\xBF";
    for (const char c : "Windows Registry Editor Version 5.00\n" + latin1) {
        utf16 += {c, '\0'};
        if (c < 0) utf8 += char(0xC0 | (uint8_t(c) >> 6));
        utf8 += c < 0 ? char(c & 0xBF) : c;
    }
    const std::vector<Value> values = ReadKey(path, utf8);
    HOLDS(ReadKey(path, utf16) == values);
    HOLDS(ReadKey(path, utf8.substr(3)) == values);
}

void CheckVersion(const std::string& name, const std::string& file, uint32_t size) {
    WriteFile("module.version", file);
    const std::string query = "\\StringFileInfo\\040904b0\\" + name;
    std::vector<char> whole(GetFileVersionInfoSizeA("module", nullptr));
    std::vector<char> cut(size);
    std::string texts[2];
    for (std::vector<char>* block : {&whole, &cut}) {
        void* text = nullptr;
        uint32_t length = 0;
        GetFileVersionInfoA("module", 0, uint32_t(block->size()), block->data());
        if (block->empty() || !VerQueryValueA(block->data(), query.c_str(), &text, &length))
            continue;
        const auto* begin = static_cast<char*>(text);
        HOLDS(begin > block->data() && begin + length <= block->data() + block->size());
        HOLDS(begin[length - 1] == '\0');
        texts[block == &cut] = std::string(begin, length);
    }
    HOLDS(texts[1].empty() || texts[1] == texts[0]);
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    StartLibrary();
    Input in(data, size);
    const int32_t kind = in.Below(3);
    const auto blockSize = uint32_t(8 + in.Below(100));
    const std::string name = in.Line();
    const std::string file = in.Rest();
    if (kind == 0) {
        CheckVersion(name, file, blockSize);
    } else if (kind == 1) {
        CheckEncodings(name, file);
    } else {
        ReadKey(name, file);
        vr::LoadRegistryEnvironment();
        unsetenv("VRLDATE");
        EnvironInternationalDate();
    }
    TakeVariablesBack();
    HOLDS_NOTHING_LEFT();
    return 0;
}
