// What the process services need to know about where they run.
#ifndef PROCESS_HOST_H
#define PROCESS_HOST_H

#include "core/Text.h"
#include "platform/modules.h"
#include "platform/programs.h"
#include "vr/frame.h"

namespace vr {

constexpr uint32_t kHostDirectorySize = 256;

// The folder of the host's module, with the backslash at its end; false when the module has
// none, or its path may have been cut.
inline bool HostDirectory(char (&path)[kHostDirectorySize]) {
    auto* host = reinterpret_cast<void*>(GetHInstance());
    const uint32_t length = GetModuleFileNameA(host, path, sizeof path);
    if (length == 0 || length == sizeof path - 1) return false;
    path[NameInPath(path) - path] = '\0';
    return true;
}

// Whether the platform is of the family that has CMD and psapi.
inline bool IsNewPlatform() {
    constexpr uint32_t kNewPlatform = 2;
    OsVersionInfo version = {};
    version.size = sizeof version;
    GetVersionExA(&version);
    return version.platformNumber == kNewPlatform;
}

}  // namespace vr

#endif
