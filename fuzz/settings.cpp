// Settings files and private profiles. An input is a section, a key and the text that both
// readers get; the loader runs anew for each, with its variables taken back afterwards.

#include <cstring>
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
    for (const auto& [name, setting] : settings)
        HOLDS(text.find(name) != text.npos && setting.size() <= 256);
}

// In a block of just that size.
std::string Profile(const char* section, const char* key, uint32_t size) {
    std::vector<char> block(size);
    const uint32_t length =
        GetPrivateProfileStringA(section, key, "\n", block.data(), size, ".\\settings.ini");
    HOLDS(length < size && block[length] == '\0');
    HOLDS((section != nullptr && key != nullptr) || size < 2 || block[length + 1] == '\0');
    return {block.data(), length};
}

void CheckProfile(const std::string& section, const std::string& key, uint32_t size) {
    const std::string value = Profile(section.c_str(), key.c_str(), 5000);
    HOLDS(Profile(section.c_str(), key.c_str(), size) == value.substr(0, size - 1));
    Profile(nullptr, nullptr, size);
    Profile(section.c_str(), nullptr, size);
}

// The first key of the first section is found, but for one with a zero in its name.
void CheckList() {
    const std::string sections = Profile(nullptr, nullptr, 5000);
    const std::string keys = Profile(sections.c_str(), nullptr, 5000);
    HOLDS(keys.empty() || Profile(sections.c_str(), keys.c_str(), 5000) != "\n");
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    StartLibrary();
    TakeVariablesBack();  // the library may set one while it starts
    Input in(data, size);
    const auto blockSize = uint32_t(1 + in.Below(255));
    const std::string section = in.Line();
    const std::string key = in.Line();
    const std::string bytes = in.Bytes(in.rest.size());
    WriteFile("settings.ini", bytes);
    const UtilInitRecord record = {0, 0, "settings.ini"};
    vr::StartSettings(record);
    HOLDS(TextOf(bytes) == ini_buf);
    CheckStore(section, key, TextOf(bytes));
    CheckProfile(section, key, blockSize);
    if (bytes.find('\0') == bytes.npos) CheckList();
    LocalFree(ini_buf);
    ini_buf = nullptr;
    TakeVariablesBack();
    HOLDS_NOTHING_LOST();
    return 0;
}
