// Between the platform's paths and the host's.
#ifndef LINUX_PATHS_H
#define LINUX_PATHS_H

#include <climits>
#include <cstddef>

namespace vrplatform {

constexpr size_t kHostPathSize = PATH_MAX;

// The host's path of the platform path `name`. False, with errno, when it is null or
// empty, too long, on a drive without a root, or when handles or memory are too short to
// look for its spelling.
bool HostPath(const char* name, char (&path)[kHostPathSize]);

// The same without a look at the disk: names are as spelled, and the drive's root as its variable
// names it. False also where that may be another file's path.
bool SpelledHostPath(const char* name, char (&path)[kHostPathSize]);

// The drive path of an absolute host path, in `size` bytes. False when it lies on no
// drive or does not fit.
bool DrivePath(const char* hostPath, char* path, size_t size);

// The host's path of the running program.
bool ExecutablePath(char (&path)[kHostPathSize]);

}  // namespace vrplatform

#endif
