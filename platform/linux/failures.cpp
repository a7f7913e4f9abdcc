// Each service has its own plan; the failures of all are counted here.

#include "linux/failures.h"

#include "platform/control.h"

namespace vrplatform {

namespace {

uint32_t failuresMet = 0;

}  // namespace

bool FailurePlan::MustFail() {
    if (failuresLeft == 0) return false;
    if (callsUntilFailure > 1) {
        --callsUntilFailure;
        return false;
    }
    --failuresLeft;
    ++failuresMet;
    return true;
}

}  // namespace vrplatform

using namespace vrplatform;

uint32_t ControlFailuresMet() {
    return failuresMet;
}
