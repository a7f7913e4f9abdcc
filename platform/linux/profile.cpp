// Private profiles: files of sections and keys. Each request reads the file anew and goes
// through it once.

#include <algorithm>
#include <cstring>
#include <string>
#include <string_view>

#include "linux/textfile.h"
#include "platform/environment.h"

namespace {

// A file named without a directory stands in the Windows directory.
std::string PathOf(const char* file) {
    if (std::strpbrk(file, "\\/:") != nullptr) return file;
    const uint32_t size = GetWindowsDirectoryA(nullptr, 0);
    std::string path(size, '\0');
    path.resize(GetWindowsDirectoryA(path.data(), size));
    return path.append("\\").append(file);
}

bool IsSection(std::string_view line, std::string_view& name) {
    if (!line.starts_with('[')) return false;
    name = Trimmed(line.substr(1, line.find(']') - 1));
    return true;
}

bool IsComment(std::string_view line) {
    return line.empty() || line.front() == ';';
}

// Without one pair of quotes around it.
std::string_view Unquoted(std::string_view value) {
    const bool quoted = value.size() >= 2 && value.front() == value.back() &&
                        (value.front() == '"' || value.front() == '\'');
    return quoted ? value.substr(1, value.size() - 2) : value;
}

// The names of all sections.
std::string SectionNames(std::string_view text) {
    std::string names;
    std::string_view line;
    std::string_view name;
    while (TakeLine(text, line)) {
        if (IsSection(Trimmed(line), name)) names.append(name).append(1, '\0');
    }
    return names;
}

// Moves the text behind the section's line; false when there is no such section.
bool FindSection(std::string_view& text, const char* section) {
    std::string_view line;
    std::string_view name;
    while (TakeLine(text, line)) {
        if (IsSection(Trimmed(line), name) && SameName(name, section)) return true;
    }
    return false;
}

// The next line of the section that has a key.
bool TakeKey(std::string_view& text, std::string_view& key, std::string_view& value) {
    std::string_view line;
    std::string_view section;
    while (TakeLine(text, line)) {
        line = Trimmed(line);
        if (IsSection(line, section)) return false;
        const size_t equals = line.find('=');
        if (IsComment(line) || equals == std::string_view::npos) continue;
        key = Trimmed(line.substr(0, equals));
        if (key.empty()) continue;
        value = Unquoted(Trimmed(line.substr(equals + 1)));
        return true;
    }
    return false;
}

std::string KeyNames(std::string_view text) {
    std::string names;
    std::string_view key;
    std::string_view value;
    while (TakeKey(text, key, value))
        names.append(key).append(1, '\0');
    return names;
}

std::string ValueOf(std::string_view text, const char* key, const char* defaultValue) {
    std::string_view name;
    std::string_view value;
    while (TakeKey(text, name, value)) {
        if (SameName(name, key)) return std::string(value);
    }
    return defaultValue;
}

uint32_t CopyText(const std::string& text, char* buffer, uint32_t size) {
    const size_t length = std::min(text.size(), size_t{size} - 1);
    std::memcpy(buffer, text.data(), length);
    buffer[length] = '\0';
    return static_cast<uint32_t>(length);
}

// A list has a zero behind each name and one more at its end, also where it is cut.
uint32_t CopyList(const std::string& names, char* buffer, uint32_t size) {
    const size_t length = names.size();
    if (length < size) {
        std::memcpy(buffer, names.c_str(), length + 1);
        return static_cast<uint32_t>(length);
    }
    if (size < 2) return CopyText("", buffer, size);
    std::memcpy(buffer, names.data(), size - 2);
    buffer[size - 2] = '\0';
    buffer[size - 1] = '\0';
    return size - 2;
}

}  // namespace

uint32_t GetPrivateProfileStringA(const char* section, const char* key, const char* defaultValue,
                                  char* buffer, uint32_t size, const char* file) {
    if (buffer == nullptr || size == 0) return 0;
    if (defaultValue == nullptr) defaultValue = "";
    std::string content;
    if (file != nullptr) ReadTextFile(PathOf(file).c_str(), content);
    std::string_view text = content;
    if (text.starts_with(kUtf8Mark)) text.remove_prefix(kUtf8Mark.size());
    if (section == nullptr) return CopyList(SectionNames(text), buffer, size);
    const bool found = FindSection(text, section);
    if (key == nullptr) return CopyList(found ? KeyNames(text) : "", buffer, size);
    return CopyText(found ? ValueOf(text, key, defaultValue) : defaultValue, buffer, size);
}
