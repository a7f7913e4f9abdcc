// Private profiles: files of sections and keys. Each request reads the file again and goes through
// it once.

#include "platform/profile.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <string_view>

#include "linux/shortage.h"
#include "linux/textfile.h"
#include "platform/environment.h"

namespace vrplatform {

namespace {

// A file named without a directory is in the Windows directory.
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

// Moves the text to after the section's line; false when there is no such section.
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

std::string_view ValueOf(std::string_view text, const char* key, const char* defaultValue) {
    std::string_view name;
    std::string_view value;
    while (TakeKey(text, name, value)) {
        if (SameName(name, key)) return value;
    }
    return defaultValue;
}

uint32_t CopyText(std::string_view text, char* buffer, uint32_t size) {
    const size_t length = std::min(text.size(), size_t{size} - 1);
    std::memmove(buffer, text.data(), length);
    buffer[length] = '\0';
    return static_cast<uint32_t>(length);
}

// A list has a zero after each name and one more at its end, also where it is cut.
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

struct ProfileRequest {
    const char* section;  // null lists the sections
    const char* key;      // null lists the section's keys
    const char* defaultValue;
    const char* file;
};

uint32_t Answer(const ProfileRequest& request, char* buffer, uint32_t size) {
    std::string content;
    if (request.file != nullptr) ReadTextFile(PathOf(request.file).c_str(), content);
    std::string_view text = WithoutMark(content);
    if (request.section == nullptr) return CopyList(SectionNames(text), buffer, size);
    const bool found = FindSection(text, request.section);
    if (request.key == nullptr) return CopyList(found ? KeyNames(text) : "", buffer, size);
    if (!found) return CopyText(request.defaultValue, buffer, size);
    return CopyText(ValueOf(text, request.key, request.defaultValue), buffer, size);
}

}  // namespace

}  // namespace vrplatform

using namespace vrplatform;

uint32_t GetPrivateProfileStringA(const char* section, const char* key, const char* defaultValue,
                                  char* buffer, uint32_t size, const char* file) {
    if (buffer == nullptr || size == 0) return 0;
    const ProfileRequest request = {section, key, defaultValue == nullptr ? "" : defaultValue,
                                    file};
    // The buffer first gets the result for a file that cannot be read.
    const bool isList = section == nullptr || key == nullptr;
    const uint32_t length =
        isList ? CopyList("", buffer, size) : CopyText(request.defaultValue, buffer, size);
    return UnlessShort(length, [&] { return Answer(request, buffer, size); });
}
