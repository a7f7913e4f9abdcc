// The exit chain and the end of the run. A module that holds anything adds a routine to the
// chain while it starts, and the chain runs backwards, so that a user of a service is taken
// down before the service.

#include <algorithm>

#include "core/Util.h"
#include "platform/process.h"
#include "vr/environ.h"

namespace {

VrExitRoutine exitChain[kVrExitChainSlots];
int32_t exitCount = 0;  // slots taken
int32_t exitsLeft = 0;  // slots whose turn is still to come while VrExit runs
int32_t inExit = 0;
int32_t launcher = kVrLauncherUnknown;

// A routine may end the run itself, for want of memory say, and then never return. The
// place in the chain is kept outside the call, so that the inner VrExit runs what is left.
void RunExitChain() {
    while (exitsLeft > 0) {
        const VrExitRoutine routine = exitChain[--exitsLeft];
        if (routine != nullptr) routine();
    }
}

}  // namespace

void vr::ClearExitChain() {
    std::ranges::fill(exitChain, nullptr);
}

int32_t vr::Launcher() {
    return launcher;
}

void vr::SetLauncher(int32_t kind) {
    launcher = kind;
}

void VrExitAdd(VrExitRoutine routine) {
    if (routine == nullptr || exitCount == kVrExitChainSlots) return;
    exitChain[exitCount++] = routine;
}

// The chain runs once: its routines free what they hold and need not clear it.
void VrExit(int32_t code) {
    if (inExit == 0) exitsLeft = exitCount;
    inExit = 1;
    RunExitChain();

    if (launcher == kVrLauncherExe && code != 0) ExitProcess(static_cast<uint32_t>(code));
    if (launcher == kVrLauncherDll) ExitThread(static_cast<uint32_t>(code));
}

int32_t VrExitInExit() {
    return inExit;
}
