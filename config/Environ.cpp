// The product's identity. It has not been worked out, so the name reads as empty
// and the launcher as unknown, which every caller is ready for.

#include "config/Environ.h"

const char* EnvironProduct() {
    return "";
}

int32_t GetEnvironLauncher() {
    return vr::kLauncherUnknown;
}
