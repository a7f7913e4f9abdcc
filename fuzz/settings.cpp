// Settings files and private profiles. An input is a section, a key and the text that both
// readers get; the loader runs anew for each, with its variables taken back afterwards.

#include <utility>
#include <vector>

#include "config/Ini.h"
#include "fuzz/fuzz.h"
#include "fuzz/variables.h"
#include "platform/environment.h"
#include "platform/memory.h"

namespace {

// A file in text mode ends at a Ctrl-Z, and a CR in front of an LF goes.
std::string TextOf(std::string text) {
    text.resize(std::min(text.find('\x1A'), text.size()));
    for (size_t at = text.find("\r\n"); at != text.npos; at = text.find("\r\n", at))
        text.erase(at, 1);
    return text.c_str();
}

void CheckStore(const std::string& section, const std::string& key, const std::string& text) {
    const std::string value = TakeCText(IniGetString(section.c_str(), key.c_str(), "7"));
    HOLDS(value.size() < 256);
    HOLDS(value == "7" || text.find(value, text.find('=')) != text.npos);
    HOLDS(IniGetInt(section.c_str(), key.c_str(), 7) == strtol(value.c_str(), nullptr, 10));
    const std::string whole = TakeCText(IniGetSection(section.c_str()));
    HOLDS(whole == "(null)" || whole.find_first_of("[\n") == whole.npos);
}

// In a block of just that size.
std::string Profile(const char* section, const char* key, uint32_t size) {
    std::vector<char> block(size);
    const uint32_t length =
        GetPrivateProfileStringA(section, key, "\n", block.data(), size, ".\\settings.ini");
    HOLDS(length < size && block[length] == '\0');
    HOLDS((section != nullptr && key != nullptr) || block[std::min(length + 1, size - 1)] == '\0');
    return {block.data(), length};
}

void CheckProfile(const std::string& section, const std::string& key, uint32_t size) {
    const std::string value = Profile(section.c_str(), key.c_str(), 5000);
    HOLDS(Profile(section.c_str(), key.c_str(), size) == value.substr(0, size - 1));
    Profile(nullptr, nullptr, size);
    Profile(section.c_str(), nullptr, size);
}

}  // namespace

void TryInput(Input& in) {
    TakeVariablesBack();  // the library may set one while it starts
    const auto blockSize = uint32_t(1 + in.Below(255));
    const std::string section = in.Line();
    const std::string key = in.Line();
    const std::string bytes = in.Bytes(in.rest.size());
    WriteFile("settings.ini", bytes);
    vr::StartSettings({0, 0, "settings.ini"});
    HOLDS(TextOf(bytes) == ini_buf);
    CheckStore(section, key, TextOf(bytes));
    CheckProfile(section, key, blockSize);
    LocalFree(std::exchange(ini_buf, nullptr));
    TakeVariablesBack();
}
