// The kernel can refuse all links on a way in one call, and most ways have none. Only the
// others are walked here, name by name, each directory by the descriptor of the one before.

#include "linux/resolve.h"

#include <fcntl.h>
#include <linux/magic.h>
#include <linux/openat2.h>
#include <sys/statfs.h>
#include <sys/syscall.h>

#include <cerrno>
#include <cstring>
#include <utility>

#include "linux/insist.h"

namespace vrplatform {

namespace {

constexpr int kMostLinks = 40;  // as the kernel has it
constexpr int kDirectoryFlags = O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;

using PathBuffer = char[PATH_MAX];

// A place on the way along a path.
struct Walk {
    Descriptor directory;  // that was reached
    PathBuffer path;
    const char* rest = path;        // of the path, from here on
    char name[NAME_MAX + 1] = ".";  // the last one that was looked at
    int links = 0;
    bool endsInKernelLink = false;
};

enum class Step { Failed, Further, There };

bool Refuse(int error) {
    errno = error;
    return false;
}

Step Fail(int error) {
    errno = error;
    return Step::Failed;
}

Step Enter(Walk& walk, int from, const char* name, int flags = kDirectoryFlags) {
    walk.directory = Descriptor(openat(from, name, flags));
    return walk.directory.IsOpen() ? Step::Further : Step::Failed;
}

bool IsTrusted(int directory, const struct stat& status) {
    struct stat parent;
    if (fstat(directory, &parent) != 0) return false;
    if ((parent.st_mode & (S_IWGRP | S_IWOTH)) == 0) return true;
    return status.st_uid == geteuid() || status.st_uid == 0 || status.st_uid == parent.st_uid;
}

// Takes the next name off the path, with the slashes after it; false when it is too long.
bool TakeName(const char*& path, char (&name)[NAME_MAX + 1]) {
    const size_t length = std::strcspn(path, "/");
    if (length >= sizeof name) return Refuse(ENAMETOOLONG);
    std::memcpy(name, path, length);
    name[length] = '\0';
    path += length;
    path += std::strspn(path, "/");
    return true;
}

bool IsLink(int directory, const char* name, struct stat& status) {
    return fstatat(directory, name, &status, AT_SYMLINK_NOFOLLOW) == 0 && S_ISLNK(status.st_mode);
}

// Puts the link's target before the rest of the path.
bool PutTargetInFront(Walk& walk) {
    PathBuffer target;
    const ssize_t length = readlinkat(walk.directory.Get(), walk.name, target, sizeof target);
    if (length < 0) return false;
    const auto targetLength = static_cast<size_t>(length);
    const size_t restSize = std::strlen(walk.rest) + 1;
    if (targetLength + 1 + restSize > sizeof walk.path) return Refuse(ENAMETOOLONG);
    std::memmove(walk.path + targetLength + 1, walk.rest, restSize);
    std::memcpy(walk.path, target, targetLength);
    walk.path[targetLength] = '/';
    walk.rest = walk.path;
    return true;
}

Step FollowLink(Walk& walk, const struct stat& link) {
    if (++walk.links > kMostLinks) return Fail(ELOOP);
    if (!IsTrusted(walk.directory.Get(), link)) return Fail(EACCES);
    if (!PutTargetInFront(walk)) return Step::Failed;
    return walk.path[0] == '/' ? Enter(walk, AT_FDCWD, "/") : Step::Further;
}

// The text of a link on procfs need not be a path ("pipe:[4711]"): the kernel alone knows what
// it leads to. Nobody else can put a link there.
bool IsOnProcfs(int directory) {
    struct statfs status;
    return fstatfs(directory, &status) == 0 && status.f_type == PROC_SUPER_MAGIC;
}

Step FollowKernelLink(Walk& walk, bool isLast) {
    walk.endsInKernelLink = isLast;
    if (isLast) return Step::There;
    return Enter(walk, walk.directory.Get(), walk.name, kDirectoryFlags & ~O_NOFOLLOW);
}

Step TakeStep(Walk& walk, bool followLast) {
    walk.rest += std::strspn(walk.rest, "/");
    if (*walk.rest == '\0') return Step::There;
    if (!TakeName(walk.rest, walk.name)) return Step::Failed;
    const bool isLast = *walk.rest == '\0';
    struct stat status;
    if ((!isLast || followLast) && IsLink(walk.directory.Get(), walk.name, status)) {
        if (IsOnProcfs(walk.directory.Get())) return FollowKernelLink(walk, isLast);
        return FollowLink(walk, status);
    }
    return isLast ? Step::There : Enter(walk, walk.directory.Get(), walk.name);
}

// Opens a path without any link on it. After ELOOP, or where the kernel lacks the call, the path is
// walked.
int OpenWithoutLinks(const char* path, int flags, mode_t mode) {
    open_how how = {};
    how.flags = static_cast<unsigned>(flags | O_LARGEFILE);
    how.mode = (flags & O_CREAT) != 0 ? mode : 0;
    how.resolve = RESOLVE_NO_SYMLINKS;
    return static_cast<int>(
        Insist([&] { return syscall(SYS_openat2, AT_FDCWD, path, &how, sizeof how); }));
}

bool HasToBeWalked(int error) {
    return error == ELOOP || error == ENOSYS || error == EPERM || error == EINVAL;
}

}  // namespace

Place::Place(const char* hostPath, bool followLast) {
    Walk walk;
    if (std::strlen(hostPath) >= sizeof walk.path) {
        errno = ENAMETOOLONG;
        return;
    }
    std::strcpy(walk.path, hostPath);
    Step step = Enter(walk, AT_FDCWD, "/");
    while (step == Step::Further)
        step = TakeStep(walk, followLast);
    if (step == Step::Failed) return;
    std::memcpy(name_, walk.name, sizeof name_);
    isKernelLink_ = walk.endsInKernelLink;
    directory_ = std::move(walk.directory);
}

bool Place::Has(int descriptor) const {
    struct stat open;
    struct stat named;
    return fstat(descriptor, &open) == 0 &&
           fstatat(Directory(), name_, &named, AT_SYMLINK_NOFOLLOW) == 0 &&
           open.st_dev == named.st_dev && open.st_ino == named.st_ino;
}

int OpenResolved(const char* hostPath, int flags, mode_t mode) {
    const int opened = OpenWithoutLinks(hostPath, flags, mode);
    if (opened != -1 || !HasToBeWalked(errno)) return opened;
    const Place place(hostPath, (flags & O_EXCL) == 0);
    if (place.Directory() == -1) return -1;
    const int follow = place.IsKernelLink() ? 0 : O_NOFOLLOW;
    return Insist([&] { return openat(place.Directory(), place.Name(), flags | follow, mode); });
}

bool IsTrustedPipe(const char* hostPath, const struct stat& status) {
    if (!S_ISFIFO(status.st_mode)) return true;
    const Place place(hostPath, true);
    return place.Directory() != -1 && IsTrusted(place.Directory(), status);
}

}  // namespace vrplatform
