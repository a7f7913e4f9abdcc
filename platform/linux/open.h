// Opening files on the host.
#ifndef LINUX_OPEN_H
#define LINUX_OPEN_H

#include <cstdint>

#include "linux/files.h"

namespace vrplatform {

// Opens the file with the platform's flags and permission, and fills in descriptor, `created`
// and `maySignal`. False, with errno, when it cannot be opened.
bool OpenOnHost(const char* path, int32_t flags, int32_t permission, OpenFile& file);

}  // namespace vrplatform

#endif
