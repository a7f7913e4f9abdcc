// Where libraries and commands are looked for first.
#ifndef PROCESS_HOST_DIRECTORY_H
#define PROCESS_HOST_DIRECTORY_H

#include "platform/process.h"
#include "text/Util_text.h"
#include "vr/frame.h"

namespace vr {

constexpr uint32_t kHostDirectorySize = 256;

// The folder of the host's module, with the backslash at its end; empty when the module has
// none.
inline void HostDirectory(char (&path)[kHostDirectorySize]) {
    path[0] = '\0';
    GetModuleFileNameA(reinterpret_cast<void*>(GetHInstance()), path, sizeof path);
    path[NameInPath(path) - path] = '\0';
}

}  // namespace vr

#endif
