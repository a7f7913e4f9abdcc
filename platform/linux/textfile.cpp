// A text file is read whole, and then taken apart line by line without copies.

#include "linux/textfile.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <ctime>

#include "linux/insist.h"
#include "linux/owned.h"
#include "linux/paths.h"
#include "linux/resolve.h"
#include "linux/text.h"

namespace vrplatform {

namespace {

constexpr off_t kLargestTextFile = 64 << 20;
constexpr int64_t kNanoseconds = 1'000'000'000;
constexpr int64_t kCoarsestTime = 2;  // seconds, of the times of any file system

int64_t Nanoseconds(const timespec& time) {
    return time.tv_sec * kNanoseconds + time.tv_nsec;
}

FileState StateOf(const struct stat& status) {
    return {.device = status.st_dev,
            .number = status.st_ino,
            .size = status.st_size,
            .written = Nanoseconds(status.st_mtim),
            .changed = Nanoseconds(status.st_ctim)};
}

}  // namespace

bool FileState::IsSettled() const {
    return std::max(written, changed) < (time(nullptr) - kCoarsestTime) * kNanoseconds;
}

bool LookAtFile(const char* name, FileState& state) {
    char path[kHostPathSize];
    struct stat status = {};
    const bool isSpelled = SpelledHostPath(name, path) && stat(path, &status) == 0;
    if (!isSpelled && (!HostPath(name, path) || stat(path, &status) != 0)) return false;
    state = StateOf(status);
    return S_ISREG(status.st_mode);
}

bool ReadTextFile(const char* name, std::string& text, FileState* state) {
    char path[kHostPathSize];
    if (!HostPath(name, path)) return false;
    const Descriptor file(OpenResolved(path, O_RDONLY | O_NONBLOCK | O_CLOEXEC, 0));
    struct stat status = {};
    if (fstat(file.Get(), &status) != 0) return false;
    if (!S_ISREG(status.st_mode) || status.st_size > kLargestTextFile) return false;
    if (state != nullptr) *state = StateOf(status);
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

}  // namespace vrplatform
