// Replaces a file by another, in one step for other processes. Checks and changes go to the new
// file itself and not to its name, which somebody who may write the directory can take meanwhile.

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "linux/insist.h"
#include "linux/owned.h"
#include "linux/paths.h"
#include "linux/resolve.h"
#include "platform/files.h"

namespace vrplatform {

namespace {

constexpr mode_t kRights = S_IRWXU | S_IRWXG | S_IRWXO;
constexpr int kGroupShift = 3;

bool Refuse(int error) {
    errno = error;
    return false;
}

// The new file, if it is a regular one of the process's own without a second name.
Descriptor OpenOwn(const Place& from, struct stat& status) {
    Descriptor file(Insist([&] {
        return openat(from.Directory(), from.Name(),
                      O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    }));
    if (!file.IsOpen()) return file;
    const bool isOwn = fstat(file.Get(), &status) == 0 && S_ISREG(status.st_mode) &&
                       status.st_uid == geteuid() && status.st_nlink == 1;
    if (isOwn) return file;
    Refuse(EACCES);
    return {};
}

// Gives the file an owner and a group, or only the group, by which several users may share the
// file, where the owner cannot be set. Returns whether it has the group.
bool GiveTo(const struct stat& other, const struct stat& own, int file) {
    const bool sameGroup = own.st_gid == other.st_gid;
    if (own.st_uid == other.st_uid && sameGroup) return true;
    return fchown(file, other.st_uid, other.st_gid) == 0 || sameGroup ||
           fchown(file, own.st_uid, other.st_gid) == 0;
}

// In another group, everybody but the owner gets only the rights that both the group and the others
// had.
mode_t RightsInAnotherGroup(mode_t rights) {
    const mode_t both = rights >> kGroupShift & rights & S_IRWXO;
    return (rights & S_IRWXU) | both << kGroupShift | both;
}

// Gives the file the owner, the group and the rights of the file it is to replace, the rights last:
// until then nobody else can read it.
bool TakeOver(int file, const struct stat& own, const struct stat& other) {
    if (!S_ISREG(other.st_mode)) return Refuse(EACCES);
    mode_t rights = other.st_mode & kRights;
    if (!GiveTo(other, own, file)) rights = RightsInAnotherGroup(rights);
    return fchmod(file, rights) == 0;
}

}  // namespace

}  // namespace vrplatform

using namespace vrplatform;

int32_t FileReplace(const char* from, const char* to) {
    char hostFrom[kHostPathSize];
    char hostTo[kHostPathSize];
    if (!HostPath(from, hostFrom) || !HostPath(to, hostTo)) return -1;
    const Place source(hostFrom, false);
    const Place target(hostTo, true);
    if (source.Directory() == -1 || target.Directory() == -1) return -1;

    struct stat own;
    struct stat other;
    const Descriptor file = OpenOwn(source, own);
    if (!file.IsOpen()) return -1;
    const bool replaces =
        fstatat(target.Directory(), target.Name(), &other, AT_SYMLINK_NOFOLLOW) == 0;
    if (!replaces && errno != ENOENT) return -1;
    if (replaces && !TakeOver(file.Get(), own, other)) return -1;
    if (!source.Has(file.Get())) {
        errno = EACCES;
        return -1;
    }
    return renameat(source.Directory(), source.Name(), target.Directory(), target.Name());
}
