// Owner, group and rights of a file, in words for a message.

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdio>

#include "linux/paths.h"
#include "linux/resolve.h"
#include "platform/files.h"

namespace vrplatform {

namespace {

constexpr char kRights[] = "rwxrwxrwx";
constexpr mode_t kFirstRight = S_IRUSR;

// A stranger's link, which no open follows, is described itself.
bool StatusOf(const char* hostPath, struct stat& status) {
    const Place place(hostPath, true);
    if (place.Directory() == -1) return lstat(hostPath, &status) == 0;
    return fstatat(place.Directory(), place.Name(), &status, AT_SYMLINK_NOFOLLOW) == 0;
}

}  // namespace

}  // namespace vrplatform

using namespace vrplatform;

int32_t FileOwnership(const char* path, char* text, int32_t size) {
    char hostPath[kHostPathSize];
    struct stat status;
    if (!HostPath(path, hostPath) || !StatusOf(hostPath, status)) return -1;
    char rights[] = "---------";
    for (size_t i = 0; rights[i] != '\0'; ++i) {
        if ((status.st_mode & kFirstRight >> i) != 0) rights[i] = kRights[i];
    }
    const size_t room = size < 0 ? 0 : static_cast<size_t>(size);
    const int length = std::snprintf(text, room, "user %u, group %u, rights %s", status.st_uid,
                                     status.st_gid, rights);
    if (length >= 0 && static_cast<size_t>(length) < room) return 0;
    errno = ERANGE;
    return -1;
}
