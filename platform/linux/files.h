// The table of open files, for the services that work on handles.
#ifndef LINUX_FILES_H
#define LINUX_FILES_H

#include <cstdint>
#include <vector>

#include "linux/owned.h"

namespace vrplatform {

struct LockedRange {
    int64_t position;
    int64_t length;
};

struct OpenFile {
    Descriptor descriptor;           // none marks a free number
    bool text = false;               // its line ends are CR LF on disk
    bool textEnded = false;          // a Ctrl-Z was read
    bool created = false;            // by this open
    bool maySignal = false;          // a write can raise a signal
    std::vector<LockedRange> locks;  // that the handle holds
};

// The file of a handle; null, with errno, when there is none.
OpenFile* FindFile(int32_t handle);

}  // namespace vrplatform

#endif
