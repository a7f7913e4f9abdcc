// Looks for a file that replaces the first word of a command line, the shell's name. Each candidate
// is put together in one scratch area and looked for on the disk; the first that exists is used for
// the result in the other.

#include "process/System_word.h"

#include <cstdio>
#include <cstring>
#include <string_view>

#include "core/Text.h"
#include "platform/files.h"
#include "process/Host.h"
#include "vr/environ.h"
#include "vr/files.h"
#include "vr/memory.h"

namespace {

constexpr char kWhiteSpace[] = " \t\n\v\f\r";
constexpr size_t kDirectorySize = 256;

// MemBuf3 holds the candidate. A candidate that does not fit does not count.
bool IsFile(const char* directory, const char* between, std::string_view name) {
    const int wanted = std::snprintf(MemBuf3, kVrScratchSize, "%s%s%.*s", directory, between,
                                     static_cast<int>(name.size()), name.data());
    return vr::Fits(wanted, kVrScratchSize) && FileStatus(MemBuf3) == 0 &&
           FileIsDirectory(MemBuf3) == 0;
}

bool IsInHostDirectory(std::string_view name) {
    char path[vr::kHostDirectorySize];
    return vr::HostDirectory(path) && IsFile(path, "", name);
}

bool IsInCurrentDirectory(std::string_view name) {
    char path[kDirectorySize] = "";
    GetCwd(path, kDirectorySize - 1);
    return IsFile(path, "\\", name);
}

bool IsInProductBin(std::string_view name) {
    const char* product = EnvironVrPath();
    return product == nullptr ? IsFile("", "", name) : IsFile(product, "\\bin\\", name);
}

}  // namespace

const char* vr::ResolveFirstWord(const char* line) {
    const size_t length = std::strcspn(line, kWhiteSpace);
    const std::string_view word(line, length);
    if (!IsInHostDirectory(word) && !IsInCurrentDirectory(word) && !IsInProductBin(word)) {
        return line;
    }
    const int wanted = std::snprintf(MemBuf4, kVrScratchSize, "%s%s", MemBuf3, line + length);
    return vr::Fits(wanted, kVrScratchSize) ? MemBuf4 : line;
}
