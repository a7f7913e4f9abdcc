#include "settings_places.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <string_view>

#include "platform/environment.h"
#include "platform/files.h"
#include "platform/modules.h"
#include "platform/paths.h"
#include "platform/registry.h"
#include "vr/vr.h"

namespace {

constexpr char kFileName[] = "\\VRLINK.INI";
constexpr char kRegistryVariable[] = "VRPLATFORM_REGISTRY";
constexpr uint32_t kPathSize = 4096;
constexpr uint32_t kRegistryTextSize = 256;
constexpr int32_t kLargestFile = 64 << 20;
constexpr std::string_view kNameBytes =
    "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789;";
constexpr std::string_view kLetters = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ";

std::string OutcomeOf(const std::string& path) {
    const int32_t handle = FileOpen(path.c_str(), kOpenText, kShareDenyNone, 0);
    if (handle == -1) return std::strerror(errno);
    const int32_t length = FileLength(handle);
    FileClose(handle);
    if (length > kLargestFile) return "more than 64 MB";
    return length == 0 ? "empty" : "can be read";
}

bool IsUsable(const Candidate& candidate) {
    return candidate.outcome == "can be read" || candidate.outcome == "empty";
}

std::string Variable(const char* name) {
    char text[kPathSize] = "";
    return GetEnvironmentVariableA(name, text, sizeof text) < sizeof text ? text : "";
}

// While an object exists, there is no registry.
class WithoutRegistry {
public:
    WithoutRegistry() : path_(Variable(kRegistryVariable)) {
        SetEnvironmentVariableA(kRegistryVariable, nullptr);
    }
    ~WithoutRegistry() {
        if (!path_.empty()) SetEnvironmentVariableA(kRegistryVariable, path_.c_str());
    }
    WithoutRegistry(const WithoutRegistry&) = delete;

private:
    std::string path_;
};

std::string Setting(const std::string& section, const std::string& key, const char* otherwise) {
    char* value = IniGetString(section.c_str(), key.c_str(), otherwise);
    std::string text = value;
    free_mem(&value);
    return text;
}

bool IsSameName(std::string_view a, std::string_view b) {
    return std::ranges::equal(
        a, b, {}, [](unsigned char c) { return std::tolower(c); },
        [](unsigned char c) { return std::tolower(c); });
}

// The file's text from the first [SECTION] up to the next [.
std::string_view SectionText(const std::string& section) {
    std::string_view text = ini_buf == nullptr ? "" : ini_buf;
    for (size_t at = text.find('['); at != text.npos; at = text.find('[', at + 1)) {
        const std::string_view name = text.substr(at + 1, section.size() + 1);
        if (!IsSameName(name, section + "]")) continue;
        const std::string_view body = text.substr(at + 1 + name.size());
        return body.substr(0, body.find('['));
    }
    return "";
}

std::vector<std::string_view> LinesOf(std::string_view text) {
    std::vector<std::string_view> lines;
    while (!text.empty()) {
        const std::string_view line = text.substr(0, text.find('\n'));
        if (!line.starts_with(';')) lines.push_back(line);
        text.remove_prefix(std::min(line.size() + 1, text.size()));
    }
    return lines;
}

// Calls action(key) with the open key, if there is one.
template <typename Action>
void WithKey(const std::string& section, Action action) {
    HKEY key = nullptr;
    const std::string path = RegistryKey(section).substr(sizeof "HKEY_LOCAL_MACHINE\\" - 1);
    if (RegOpenKeyExA(HKEY_LOCAL_MACHINE, path.c_str(), 0, KEY_READ, &key) != ERROR_SUCCESS) return;
    action(key);
    RegCloseKey(key);
}

}  // namespace

std::vector<Candidate> SettingsFiles(const char* given) {
    std::vector<Candidate> files;
    char directory[kPathSize] = "";
    if (given != nullptr) files.push_back({"given", given, ""});
    if (CurrentDirectory(directory, sizeof directory) != nullptr)
        files.push_back({"current directory", directory + std::string(kFileName), ""});
    if (GetWindowsDirectoryA(directory, sizeof directory) < sizeof directory)
        files.push_back({"Windows directory", directory + std::string(kFileName), ""});
    bool isFound = false;
    for (Candidate& file : files) {
        file.outcome = isFound ? "not looked at" : OutcomeOf(file.path);
        isFound = isFound || IsUsable(file);
    }
    return files;
}

Candidate VersionFile() {
    char module[kPathSize] = "";
    GetModuleFileNameA(nullptr, module, sizeof module);
    const std::string path = std::string(module) + ".version";
    return {"version file", path, OutcomeOf(path)};
}

Candidate RegistryExport() {
    const std::string path = Variable(kRegistryVariable);
    if (path.empty()) return {"registry", kRegistryVariable, "not set"};
    return {"registry", path, OutcomeOf(path)};
}

std::string RegistryKey(const std::string& section) {
    return std::string("HKEY_LOCAL_MACHINE\\Software\\Veldane\\") + EnvironProduct() + "\\" +
           section;
}

// What the library makes of the value that is there: a text that is too long is none.
Value RegistryValue(const std::string& section, const std::string& key) {
    char text[kRegistryTextSize + 1] = "";
    bool isThere = false;
    WithKey(section, [&](HKEY opened) {
        uint32_t size = kRegistryTextSize;
        isThere = RegQueryValueExA(opened, key.c_str(), nullptr, nullptr,
                                   reinterpret_cast<unsigned char*>(text), &size) == ERROR_SUCCESS;
    });
    return isThere ? Value(text) : Value();
}

// Two different defaults distinguish a value from its absence.
Value FileValue(const std::string& section, const std::string& key) {
    const WithoutRegistry alone;
    const std::string value = Setting(section, key, "1");
    return value == Setting(section, key, "2") ? Value(value) : Value();
}

std::vector<std::string> RegistryKeys(const std::string& section) {
    std::vector<std::string> names;
    WithKey(section, [&names](HKEY key) {
        char name[kPathSize];
        for (uint32_t index = 0;; ++index) {
            uint32_t size = sizeof name;
            if (RegEnumValueA(key, index, name, &size, nullptr, nullptr, nullptr, nullptr) !=
                ERROR_SUCCESS)
                return;
            names.emplace_back(name, size);
        }
    });
    return names;
}

std::vector<std::string> FileKeys(const std::string& section) {
    std::vector<std::string> names;
    for (const std::string_view line : LinesOf(SectionText(section))) {
        const size_t end = line.find('=');
        if (end != line.npos && end != 0) names.emplace_back(line.substr(0, end));
    }
    return names;
}

std::vector<std::string> FileVariables() {
    std::vector<std::string> names;
    for (const std::string_view line : LinesOf(SectionText("ENVIRONMENT"))) {
        const size_t start = line.find_first_of(kLetters);
        if (start == line.npos) continue;
        const std::string_view rest = line.substr(start);
        names.emplace_back(rest.substr(0, rest.find_first_not_of(kNameBytes)));
    }
    return names;
}
