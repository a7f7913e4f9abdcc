// Names under which nothing exists yet.

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "platform/files.h"

namespace vrplatform {

namespace {

constexpr size_t kTemplateEnd = 6;

// Nothing exists below a file either. After any other failure this is unknown.
bool IsFree(const char* path) {
    return FileStatus(path) != 0 && (errno == ENOENT || errno == ENOTDIR);
}

}  // namespace

}  // namespace vrplatform

using namespace vrplatform;

char* UniqueName(char* path) {
    const size_t length = path == nullptr ? 0 : std::strlen(path);
    errno = EINVAL;
    if (length < kTemplateEnd) return nullptr;
    char* place = path + length - kTemplateEnd;
    if (std::strcmp(place, "XXXXXX") != 0) return nullptr;
    const unsigned digits = static_cast<unsigned>(getpid()) % 100000;
    for (char letter = 'a'; letter <= 'z'; ++letter) {
        std::snprintf(place, kTemplateEnd + 1, "%c%05u", letter, digits);
        if (IsFree(path)) return path;
    }
    return nullptr;
}
