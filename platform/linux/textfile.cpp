// A text file is read whole, and then taken apart line by line without copies.

#include "linux/textfile.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>

#include "linux/descriptor.h"
#include "linux/insist.h"
#include "linux/paths.h"
#include "linux/resolve.h"
#include "linux/text.h"

namespace {

constexpr off_t kLargestTextFile = 64 << 20;

}  // namespace

bool ReadTextFile(const char* name, std::string& text) {
    char path[kHostPathSize];
    if (!HostPath(name, path)) return false;
    const Descriptor file(OpenResolved(path, O_RDONLY | O_NONBLOCK | O_CLOEXEC, 0));
    struct stat status = {};
    if (fstat(file.Get(), &status) != 0) return false;
    if (!S_ISREG(status.st_mode) || status.st_size > kLargestTextFile) return false;
    text.resize(static_cast<size_t>(status.st_size));
    const ssize_t got = ReadAll(file.Get(), text.data(), text.size());
    text.resize(static_cast<size_t>(std::max(got, ssize_t{0})));
    return got >= 0;
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
