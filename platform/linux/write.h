// Writing to a descriptor without the signals that a failed write raises.
#ifndef LINUX_WRITE_H
#define LINUX_WRITE_H

#include <csignal>
#include <cstddef>

#include "linux/insist.h"

namespace vrplatform {

// Holds back SIGPIPE and SIGXFSZ for its scope, and takes those that came up meanwhile, so that
// neither kills the host nor reaches its handlers. It changes only the calling thread's mask.
class HeldSignals {
public:
    HeldSignals();
    ~HeldSignals();
    HeldSignals(const HeldSignals&) = delete;
    HeldSignals& operator=(const HeldSignals&) = delete;

private:
    sigset_t before_;   // the mask
    sigset_t pending_;  // signals that were waiting already
};

// Writes as much as possible; -1 only when nothing was written.
ssize_t WriteHolding(int descriptor, const char* bytes, size_t count, bool maySignal);

}  // namespace vrplatform

#endif
