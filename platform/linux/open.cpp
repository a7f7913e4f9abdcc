// How a file is opened: without waiting, above the standard streams, never through a stranger's
// link or pipe, and never for writing without a write permission, which binds the superuser here
// too.

#include "linux/open.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

#include "linux/insist.h"
#include "linux/paths.h"
#include "linux/resolve.h"
#include "platform/files.h"

namespace vrplatform {

namespace {

constexpr int32_t kAccessBits = 3;
constexpr mode_t kAnyWrite = S_IWUSR | S_IWGRP | S_IWOTH;
constexpr mode_t kAnyRead = S_IRUSR | S_IRGRP | S_IROTH;
constexpr int kCreateAttempts = 16;

struct OpenRequest {
    const char* path;  // of the host
    int32_t flags;     // of the platform
    int hostFlags;
    mode_t mode;  // of a file that is made
};

Descriptor Refuse(int error) {
    errno = error;
    return {};
}

bool Writes(int32_t flags) {
    return (flags & kAccessBits) != kOpenReadOnly;
}

bool MustMake(int32_t flags) {
    return (flags & kOpenCreate) != 0 && (flags & kOpenExclusive) != 0;
}

// Whether an existing file may be used. Its permission is checked before the file is cut.
bool IsUsable(const OpenRequest& request, const struct stat& status) {
    if (S_ISDIR(status.st_mode) || !IsTrustedPipe(request.path, status)) return false;
    return !Writes(request.flags) || (status.st_mode & kAnyWrite) != 0;
}

// Opens an existing file. The open itself does not wait for the other end of a pipe; later reads
// and writes do.
Descriptor OpenExisting(const OpenRequest& request, struct stat& status) {
    Descriptor file(OpenResolved(request.path, request.hostFlags | O_NONBLOCK, 0));
    if (!file.IsOpen()) return Refuse(errno == EISDIR ? EACCES : errno);
    if (fstat(file.Get(), &status) != 0 || !IsUsable(request, status)) return Refuse(EACCES);
    const bool isRegular = S_ISREG(status.st_mode);
    if (!isRegular && fcntl(file.Get(), F_SETFL, request.hostFlags) != 0) return Refuse(EACCES);
    const bool cuts = isRegular && (request.flags & kOpenTruncate) != 0;
    if (cuts && Insist([&] { return ftruncate(file.Get(), 0); }) != 0) return Refuse(EACCES);
    return file;
}

// Gives the file the directory's owner and group, as far as possible, and their rights to write.
void TakeFolderRights(int descriptor, const char* path) {
    constexpr int kGroup = 3;
    constexpr int kOwner = 6;
    constexpr mode_t kReadAndWrite = S_IROTH | S_IWOTH;
    const Place place(path, false);
    struct stat folder;
    if (place.Directory() == -1 || fstat(place.Directory(), &folder) != 0) return;
    const bool hasGroup = fchown(descriptor, folder.st_uid, folder.st_gid) == 0 ||
                          fchown(descriptor, static_cast<uid_t>(-1), folder.st_gid) == 0;
    mode_t rights = kReadAndWrite << kOwner;
    if ((folder.st_mode & S_IWGRP) != 0 && hasGroup) rights |= kReadAndWrite << kGroup;
    if ((folder.st_mode & S_IWOTH) != 0) rights |= kReadAndWrite;
    fchmod(descriptor, rights);
}

Descriptor Create(const OpenRequest& request, bool& created) {
    Descriptor file(OpenResolved(request.path, request.hostFlags | O_CREAT | O_EXCL, request.mode));
    created = file.IsOpen();
    if (created && (request.flags & kOpenLikeFolder) != 0) {
        TakeFolderRights(file.Get(), request.path);
    }
    return file;
}

// Another process may make or delete the file between two steps; a link that leads nowhere would
// look like that for ever.
Descriptor OpenOrCreate(const OpenRequest& request, bool& created, struct stat& status) {
    const bool creates = (request.flags & kOpenCreate) != 0;
    if (MustMake(request.flags)) return Create(request, created);
    for (int attempt = 0; attempt < kCreateAttempts; ++attempt) {
        Descriptor existing = OpenExisting(request, status);
        if (existing.IsOpen() || errno != ENOENT || !creates) return existing;
        Descriptor made = Create(request, created);
        if (created || errno != EEXIST) return made;
    }
    return Refuse(EACCES);
}

// Most files exist as spelled and without a link on the way. Then the open is the only access to
// the disk; where it fails the path is resolved.
Descriptor OpenAsSpelled(const char* path, char (&hostPath)[kHostPathSize],
                         const OpenRequest& request, struct stat& status) {
    if (MustMake(request.flags) || !SpelledHostPath(path, hostPath)) return {};
    return OpenExisting(request, status);
}

// Where a standard stream was closed its number is free, but a file there would get what the
// process writes to the stream.
Descriptor AboveStandardStreams(Descriptor file) {
    if (!file.IsOpen() || file.Get() > STDERR_FILENO) return file;
    return Descriptor(fcntl(file.Get(), F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
}

// A pipe or a socket whose reader has gone raises SIGPIPE, and a plain file SIGXFSZ where the
// process has a limit on the size of its files. The limit is asked for when a file is opened
// for writing, so that plain writes cost nothing more.
bool MaySignal(const OpenRequest& request, bool isRegular) {
    if (!Writes(request.flags)) return false;
    rlimit limit = {};
    return !isRegular || getrlimit(RLIMIT_FSIZE, &limit) != 0 || limit.rlim_cur != RLIM_INFINITY;
}

mode_t ModeOf(int32_t flags, int32_t permission) {
    if ((flags & (kOpenPrivate | kOpenLikeFolder)) != 0) return S_IRUSR | S_IWUSR;
    return kAnyRead | ((permission & kPermissionWrite) != 0 ? kAnyWrite : 0);
}

}  // namespace

bool OpenOnHost(const char* path, int32_t flags, int32_t permission, OpenFile& file) {
    char hostPath[kHostPathSize];
    if ((flags & kAccessBits) == kAccessBits) return Refuse(EINVAL).IsOpen();
    const int append = (flags & kOpenAppend) != 0 ? O_APPEND : 0;
    const OpenRequest request = {
        .path = hostPath,
        .flags = flags,
        .hostFlags = (flags & kAccessBits) | append | O_CLOEXEC | O_NOCTTY,
        .mode = ModeOf(flags, permission),
    };
    struct stat status = {};
    Descriptor opened = OpenAsSpelled(path, hostPath, request, status);
    if (!opened.IsOpen()) {
        if (!HostPath(path, hostPath)) return false;
        opened = OpenOrCreate(request, file.created, status);
    }
    file.descriptor = AboveStandardStreams(std::move(opened));
    if (!file.descriptor.IsOpen()) return false;
    file.maySignal = MaySignal(request, file.created || S_ISREG(status.st_mode));
    return true;
}

}  // namespace vrplatform
