// The product's identity, as the rest of the library asks for it.
#ifndef CONFIG_ENVIRON_H
#define CONFIG_ENVIRON_H

#include <cstdint>

namespace vr {

// How the host was launched, by its module's extension; 0 before that is known.
enum LauncherKind : int32_t {
    kLauncherUnknown = 0,
    kLauncherExe = 300,
    kLauncherDll = 301,
    kLauncherOther = 302
};

}  // namespace vr

const char* EnvironProduct();
int32_t GetEnvironLauncher();

#endif
