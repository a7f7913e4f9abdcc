// Deleting files: by name, or a file of one's own that nobody else has open.

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>

#include "linux/files.h"
#include "linux/paths.h"
#include "linux/resolve.h"
#include "platform/files.h"

namespace vrplatform {

namespace {

// While it is held nobody else has the file open. Another open waits, and the kernel sends a
// signal for it: one that is ignored by default, since the usual one would end the host.
class WriteLease {
public:
    explicit WriteLease(int descriptor)
        : descriptor_(descriptor),
          held_(fcntl(descriptor, F_SETSIG, SIGURG) == 0 &&
                fcntl(descriptor, F_SETLEASE, F_WRLCK) == 0) {}
    ~WriteLease() {
        if (held_) fcntl(descriptor_, F_SETLEASE, F_UNLCK);
    }
    WriteLease(const WriteLease&) = delete;
    WriteLease& operator=(const WriteLease&) = delete;
    bool IsHeld() const {
        return held_;
    }

private:
    int descriptor_;
    bool held_;
};

int Unlink(const Place& place) {
    return place.Directory() == -1 ? -1 : unlinkat(place.Directory(), place.Name(), 0);
}

}  // namespace

}  // namespace vrplatform

using namespace vrplatform;

int32_t FileDelete(const char* path) {
    char hostPath[kHostPathSize];
    return HostPath(path, hostPath) ? Unlink(Place(hostPath, false)) : -1;
}

int32_t FileIsDeleted(int32_t handle) {
    const OpenFile* file = FindFile(handle);
    struct stat status;
    return file != nullptr && fstat(file->descriptor.Get(), &status) == 0 && status.st_nlink == 0;
}

int32_t FileDiscard(int32_t handle, const char* path) {
    char hostPath[kHostPathSize];
    const OpenFile* file = FindFile(handle);
    if (file == nullptr || !HostPath(path, hostPath)) return -1;
    errno = EACCES;
    if (!file->created) return -1;
    const WriteLease lease(file->descriptor.Get());
    const Place place(hostPath, false);
    if (!lease.IsHeld() || !place.Has(file->descriptor.Get())) return -1;
    return Unlink(place);
}
