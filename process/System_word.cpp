// Looking for the first word of a command line. Each candidate is put together in one
// scratch area, and asked of the disk; the first that exists makes the result in the
// other.

#define VR_MODULE "System"

#include "process/System_word.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "platform/files.h"
#include "process/Host_directory.h"
#include "text/Util_text.h"
#include "vr/environ.h"
#include "vr/files.h"
#include "vr/memory.h"
#include "vr/string.h"

namespace {

constexpr size_t kDirectorySize = 256;

// MemBuf3 holds the candidate. One that does not fit is none.
bool Exists(const char* format, const char* directory, const char* name) {
    const int wanted = std::snprintf(MemBuf3, kVrScratchSize, format, directory, name);
    return vr::Fits(wanted, kVrScratchSize) && FileStatus(MemBuf3) == 0;
}

bool IsInHostDirectory(const char* name) {
    char path[vr::kHostDirectorySize];
    vr::HostDirectory(path);
    return Exists("%s%s", path, name);
}

bool IsInCurrentDirectory(const char* name) {
    char path[kDirectorySize] = "";
    GetCwd(path, kDirectorySize - 1);
    return Exists("%s\\%s", path, name);
}

bool IsInProductBin(const char* name) {
    const char* product = EnvironVrPath();
    return product == nullptr ? Exists("%s%s", "", name) : Exists("%s\\bin\\%s", product, name);
}

bool Find(const char* name) {
    return IsInHostDirectory(name) || IsInCurrentDirectory(name) || IsInProductBin(name);
}

}  // namespace

const char* vr::ResolveFirstWord(const char* line) {
    const char* rest = line;
    while (*rest != '\0' && !IsSpace(*rest))
        ++rest;
    const auto length = static_cast<size_t>(rest - line);
    VrString word = alloc_string(static_cast<uint32_t>(length));
    if (length != 0) std::memcpy(VrStrText(word), line, length);
    VrString name = EnvironFileName(word);
    const bool found = Find(reinterpret_cast<const char*>(VrStrText(name)));
    free_mem(&word);
    free_mem(&name);
    const int wanted =
        found ? std::snprintf(MemBuf4, kVrScratchSize, "%s%s", MemBuf3, rest) : kVrScratchSize;
    return wanted < kVrScratchSize ? MemBuf4 : line;
}
