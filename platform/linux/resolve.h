// Opening, deleting and replacing the file of a path, where others may write to a directory on the
// way. A link or a named pipe that a stranger put there is refused with EACCES: in a directory that
// its group or everybody may write, one whose owner is not the process's user, the superuser or the
// directory's owner.
#ifndef LINUX_RESOLVE_H
#define LINUX_RESOLVE_H

#include <sys/stat.h>
#include <sys/types.h>

#include <climits>

#include "linux/owned.h"

namespace vrplatform {

// A name in a directory that is held open, so that nobody can put another in its place.
class Place {
public:
    // Follows the links on the way to the last name of an absolute host path, and follows that one
    // too if asked to. Nothing needs to exist under the last name. Get is -1, with errno, when the
    // way is blocked.
    Place(const char* hostPath, bool followLast);

    int Directory() const {
        return directory_.Get();
    }
    const char* Name() const {
        return name_;
    }
    // Whether the name is a link of procfs, as /dev/stdout leads to one. Only the kernel can follow
    // it, so it is never followed here.
    bool IsKernelLink() const {
        return isKernelLink_;
    }
    // Whether the open file is what has that name.
    bool Has(int descriptor) const;

private:
    Descriptor directory_;
    char name_[NAME_MAX + 1] = ".";
    bool isKernelLink_ = false;
};

// As open, except that no stranger's link is followed.
int OpenResolved(const char* hostPath, int flags, mode_t mode);

// Whether the file opened under that path may be used; a stranger's named pipe may not.
bool IsTrustedPipe(const char* hostPath, const struct stat& status);

}  // namespace vrplatform

#endif
