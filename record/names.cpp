// The folder is what precedes the last separator, or the drive's current folder.

#include "names.h"

#include <cstring>

namespace {

constexpr size_t kDigits = 5;
constexpr size_t kSuffixLength = 2 + kDigits;  // dot, letter, digits
constexpr char kCurrentFolder[] = ".\\";

bool IsSeparator(char c) {
    return c == '\\' || c == '/';
}

size_t NameStart(const char* path) {
    for (size_t at = std::strlen(path); at != 0; --at) {
        if (IsSeparator(path[at - 1])) return at;
    }
    return path[0] != '\0' && path[1] == ':' ? 2 : 0;  // after a drive
}

bool IsBetween(char c, char first, char last) {
    return first <= c && c <= last;
}

}  // namespace

bool record::Split(const char* path, FileName& file) {
    const size_t start = NameStart(path);
    const bool hasFolder = start != 0 && IsSeparator(path[start - 1]);
    const char* rest = hasFolder ? "" : kCurrentFolder;
    if (start + std::strlen(rest) >= kPathSize) return false;
    if (std::strlen(path + start) >= kNameSize) return false;
    std::memcpy(file.folder, path, start);
    std::strcpy(file.folder + start, rest);
    std::strcpy(file.name, path + start);
    return true;
}

bool record::Join(const FileName& file, const char* addition, char (&path)[kPathSize]) {
    const size_t folder = std::strlen(file.folder);
    const size_t name = std::strlen(file.name);
    if (folder + name + std::strlen(addition) >= kPathSize) return false;
    std::memcpy(path, file.folder, folder);
    std::memcpy(path + folder, file.name, name);
    std::strcpy(path + folder + name, addition);
    return true;
}

size_t record::RecordPartOf(const char* name) {
    const size_t length = std::strlen(name);
    if (length <= kSuffixLength) return 0;
    const char* suffix = name + length - kSuffixLength;
    if (suffix[0] != '.' || !IsBetween(suffix[1], 'a', 'z')) return 0;
    for (size_t i = 2; i < kSuffixLength; ++i) {
        if (!IsBetween(suffix[i], '0', '9')) return 0;
    }
    return length - kSuffixLength;
}
