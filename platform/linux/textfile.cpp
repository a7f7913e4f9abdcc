// A text file is read whole, and then taken apart line by line without copies.

#include "linux/textfile.h"

#include <sys/stat.h>

#include <algorithm>
#include <cstdio>

#include "linux/paths.h"
#include "linux/text.h"

namespace {

constexpr off_t kLargestTextFile = 64 << 20;

}  // namespace

bool ReadTextFile(const char* name, std::string& text) {
    char path[kHostPathSize];
    struct stat status = {};
    if (!HostPath(name, path) || stat(path, &status) != 0) return false;
    if (!S_ISREG(status.st_mode) || status.st_size > kLargestTextFile) return false;
    std::FILE* file = std::fopen(path, "rbe");
    if (file == nullptr) return false;
    text.resize(static_cast<size_t>(status.st_size));
    text.resize(std::fread(text.data(), 1, text.size(), file));
    const bool whole = std::ferror(file) == 0;
    std::fclose(file);
    return whole;
}

bool TakeLine(std::string_view& text, std::string_view& line) {
    if (text.empty()) return false;
    const size_t length = std::min(text.find('\n'), text.size());
    line = text.substr(0, length);
    text.remove_prefix(std::min(length + 1, text.size()));
    return true;
}

std::string_view Trimmed(std::string_view text) {
    constexpr std::string_view kBlanks = " \t\r";
    const size_t first = std::min(text.find_first_not_of(kBlanks), text.size());
    text.remove_prefix(first);
    return text.substr(0, text.find_last_not_of(kBlanks) + 1);
}

bool SameName(std::string_view a, std::string_view b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](char x, char y) { return FoldCase(x) == FoldCase(y); });
}
