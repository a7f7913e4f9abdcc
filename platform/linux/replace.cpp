// Putting a file in the place of another, in one step for whoever looks.

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>

#include "linux/paths.h"
#include "platform/files.h"

namespace {

// In full, or else the group alone, which many may share a file by.
bool GiveTo(const struct stat& other, const struct stat& own, const char* path) {
    const bool sameGroup = own.st_gid == other.st_gid;
    if (own.st_uid == other.st_uid && sameGroup) return true;
    return chown(path, other.st_uid, other.st_gid) == 0 || sameGroup ||
           chown(path, own.st_uid, other.st_gid) == 0;
}

// Gives a file the owner, the group and the permissions of another. What cannot be given to
// the group is kept from it and from others.
bool TakeOver(const char* path, const char* from) {
    struct stat own;
    struct stat other;
    if (stat(path, &own) != 0 || stat(from, &other) != 0) return false;
    if (!S_ISREG(other.st_mode)) {
        errno = EACCES;
        return false;
    }
    mode_t mode = other.st_mode & (S_IRWXU | S_IRWXG | S_IRWXO);
    if (!GiveTo(other, own, path)) mode &= S_IRWXU;
    return (own.st_mode & ~mode_t{S_IFMT}) == mode || chmod(path, mode) == 0;
}

}  // namespace

int32_t FileReplace(const char* from, const char* to) {
    char hostFrom[kHostPathSize];
    char hostTo[kHostPathSize];
    char target[kHostPathSize];
    if (!HostPath(from, hostFrom) || !HostPath(to, hostTo)) return -1;
    if (realpath(hostTo, target) == nullptr) return std::rename(hostFrom, hostTo);
    return TakeOver(hostFrom, target) ? std::rename(hostFrom, target) : -1;
}
