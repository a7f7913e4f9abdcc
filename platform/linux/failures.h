// Calls that the control panel wants to fail.
#ifndef LINUX_FAILURES_H
#define LINUX_FAILURES_H

#include <cstdint>

namespace vrplatform {

struct FailurePlan {
    uint32_t callsUntilFailure;
    uint32_t failuresLeft;
    int32_t error;  // that errno then holds

    // Counts one call, and says whether it has to fail.
    bool MustFail();
};

}  // namespace vrplatform

#endif
