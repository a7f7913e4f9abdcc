// Registry exports and version files. A registry is given as it is, or as Latin-1 text that
// must read the same in UTF-16 and in UTF-8.

#include "config/Ini.h"
#include "fuzz/fuzz.h"
#include "fuzz/variables.h"

namespace {

// Of each value name, type and data. Asks for the sizes first, and then in blocks of just
// those.
std::string ReadKey(const std::string& path, const std::string& file) {
    WriteFile("registry.reg", file);
    setenv("VRPLATFORM_REGISTRY", "registry.reg", 1);
    std::string values;
    HKEY key = nullptr;
    if (RegOpenKeyExA(HKEY_LOCAL_MACHINE, path.c_str(), 0, KEY_READ, &key) != 0) return values;
    int32_t read = ERROR_SUCCESS;
    for (uint32_t index = 0; read == ERROR_SUCCESS; ++index) {
        char none = 0;
        uint32_t nameSize = 0;
        uint32_t size = 0;
        uint32_t type = 0;
        const int32_t asked =
            RegEnumValueA(key, index, &none, &nameSize, nullptr, nullptr, nullptr, &size);
        std::vector<char> name(++nameSize);
        std::vector<unsigned char> data(size);
        read =
            RegEnumValueA(key, index, name.data(), &nameSize, nullptr, &type, data.data(), &size);
        HOLDS(asked == (read == ERROR_SUCCESS ? ERROR_MORE_DATA : ERROR_NO_MORE_ITEMS));
        values.append(name.begin(), name.end()) += std::to_string(type);
        values.append(data.begin(), data.end());
    }
    HOLDS(RegCloseKey(key) == ERROR_SUCCESS);
    HOLDS(RegCloseKey(key) == ERROR_INVALID_HANDLE);
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
    HOLDS(ReadKey(path, utf16) == ReadKey(path, utf8));
}

// The text of a block, also of one with room missing for all texts.
void CheckVersion(const std::string& name, const std::string& file, uint32_t missing) {
    WriteFile("module.version", file);
    const uint32_t size = GetFileVersionInfoSizeA("module", nullptr);
    std::vector<char> block(size - std::min(size, missing));
    GetFileVersionInfoA("module", 0, uint32_t(block.size()), block.data());
    void* text = nullptr;
    uint32_t length = 0;
    const std::string query = "\\StringFileInfo\\040904b0\\" + name;
    if (VerQueryValueA(block.data(), query.c_str(), &text, &length) == 0) return;
    const std::string found(static_cast<char*>(text), length);  // in the block, or this would fall
    HOLDS(found.back() == '\0');
    HOLDS(file.find(found.c_str()) != file.npos);
}

}  // namespace

void TryInput(Input& in) {
    const int32_t kind = in.Below(3);
    const auto missing = uint32_t(in.Below(255));
    const std::string name = in.Line();
    const std::string file = in.Bytes(in.rest.size());
    if (kind == 0) CheckVersion(name, file, missing);
    if (kind == 1) CheckEncodings(name, file);
    if (kind == 2) {
        ReadKey(name, file);
        vr::LoadRegistryEnvironment();
        unsetenv("VRLDATE");
        EnvironInternationalDate();
    }
    TakeVariablesBack();
}
