// The plans are their services' own; how often a call was made to fail is counted here
// for all of them.

#include "linux/failures.h"

#include "platform/control.h"

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

uint32_t ControlFailuresMet() {
    return failuresMet;
}
