// What the rest of the library knows of the frame's parts beyond vr/frame.h: message boxes,
// what ends the run, and the host's words. core/Util.cpp, the frame itself, is above all
// modules and is called by none.
#ifndef CORE_UTIL_H
#define CORE_UTIL_H

#include <cstdint>

#include "vr/frame.h"

namespace vr {

// Shows a message box titled with the product's name and returns the button pressed.
int32_t ShowBox(const char* text, uint32_t style);

// Sets the routine that returns the product's name. The identity, which is above core, sets
// it while the library is being loaded. Each box calls it, so the first one can work the
// identity out. Returns true, to initialise a constant with.
bool SetProductRoutine(const char* (*routine)());

// Empties the slots of the exit chain; they stay counted.
void ClearExitChain();

// How the host was launched, which decides how VrExit ends: a value of GetEnvironLauncher.
// The identity sets it when it is worked out.
int32_t Launcher();
void SetLauncher(int32_t launcher);

// Keeps the instance values of the start-up record.
void KeepInstances(const UtilInitRecord& record);

}  // namespace vr

#endif
