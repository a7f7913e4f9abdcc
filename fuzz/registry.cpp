// Registry exports and version files. A registry is given as it is, or as Latin-1 text that
// must read the same in UTF-16 and in UTF-8.

#include <cstring>
#include <tuple>
#include <vector>

#include "config/Ini.h"
#include "fuzz/fuzz.h"
#include "fuzz/variables.h"
#include "platform/environment.h"
#include "platform/registry.h"
#include "platform/version.h"

namespace {

using Value = std::tuple<std::string, uint32_t, std::string>;  // name, type, data

// Asks for the sizes first, and then in blocks of just those, by number and by name.
bool ReadValue(HKEY key, uint32_t index, Value& value) {
    char none = 0;
    uint32_t nameSize = 0;
    uint32_t size = 0;
    uint32_t type = 0;
    if (RegEnumValueA(key, index, &none, &nameSize, nullptr, nullptr, nullptr, &size) ==
        ERROR_NO_MORE_ITEMS) {
        return false;
    }
    std::vector<char> name(++nameSize);
    std::vector<unsigned char> data(size);
    HOLDS(RegEnumValueA(key, index, name.data(), &nameSize, nullptr, &type, data.data(), &size) ==
          ERROR_SUCCESS);
    HOLDS(nameSize + 1 == name.size() && name.back() == '\0' && size == data.size());
    value = {{name.data(), nameSize}, type, {data.begin(), data.end()}};
    if (std::strlen(name.data()) != nameSize) return true;
    HOLDS(RegQueryValueExA(key, name.data(), nullptr, &type, data.data(), &size) == ERROR_SUCCESS);
    HOLDS(value == Value({name.data(), nameSize}, type, {data.begin(), data.end()}));
    return true;
}

std::vector<Value> ReadKey(const std::string& path, const std::string& file) {
    WriteFile("registry.reg", file);
    setenv("VRPLATFORM_REGISTRY", "registry.reg", 1);
    std::vector<Value> values;
    HKEY key = nullptr;
    if (RegOpenKeyExA(HKEY_LOCAL_MACHINE, path.c_str(), 0, KEY_READ, &key) == ERROR_SUCCESS) {
        for (Value value; ReadValue(key, uint32_t(values.size()), value);)
            values.push_back(value);
        HOLDS(RegCloseKey(key) == ERROR_SUCCESS);
    }
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

// The text lies inside of the block, also of one with room missing for all texts.
void CheckVersion(const std::string& name, const std::string& file, uint32_t missing) {
    WriteFile("module.version", file);
    const std::string query = "\\StringFileInfo\\040904b0\\" + name;
    const uint32_t size = GetFileVersionInfoSizeA("module", nullptr);
    std::vector<char> block(size - std::min(size, missing));
    if (GetFileVersionInfoA("module", 0, uint32_t(block.size()), block.data()) == 0) return;
    void* text = nullptr;
    uint32_t length = 0;
    if (VerQueryValueA(block.data(), query.c_str(), &text, &length) == 0) return;
    const auto* begin = static_cast<char*>(text);
    HOLDS(begin > block.data() && begin + length <= block.data() + block.size());
    HOLDS(begin[length - 1] == '\0' && file.find(begin) != file.npos);
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    StartLibrary();
    Input in(data, size);
    const int32_t kind = in.Below(3);
    const auto missing = uint32_t(in.Below(255));
    const std::string name = in.Line();
    const std::string file = in.Bytes(in.rest.size());
    if (kind == 0) {
        CheckVersion(name, file, missing);
    } else if (kind == 1) {
        CheckEncodings(name, file);
    } else {
        ReadKey(name, file);
        vr::LoadRegistryEnvironment();
        unsetenv("VRLDATE");
        EnvironInternationalDate();
    }
    TakeVariablesBack();
    HOLDS_NOTHING_LOST();
    return 0;
}
