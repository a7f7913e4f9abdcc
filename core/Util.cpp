// The frame: start-up through one table, shutdown through one chain, and the words
// that a host keeps here. A module that starts brings its routine to the table; a
// module that holds anything adds a routine to the chain while it starts.

#include <algorithm>
#include <cstdarg>
#include <cstdio>

#include "config/Ini.h"
#include "core/vrmem.h"
#include "lookup/Quark.h"
#include "lookup/Tbl.h"
#include "platform/messagebox.h"
#include "platform/process.h"
#include "process/Dll.h"
#include "text/Util_convert.h"
#include "vr/environ.h"
#include "vr/frame.h"

namespace {

constexpr size_t kMessageSize = 256;

using StartRoutine = void (*)(const UtilInitRecord& record);

// In this order: each may use those before it.
constexpr StartRoutine kStartRoutines[] = {
    vr::StartSettings, vr::StartMemory,     vr::StartTables,
    vr::StartQuarks,   vr::StartConversion, vr::StartDllTable,
};

bool started = false;
VrWord engineInstance = 0;
VrWord vrlinkInstance = 0;
VrWord hostModule = 0;
int32_t runStatus = 0;
int32_t breakCount = 0;
int32_t inExit = 0;

struct {
    VrBreakRoutine routine;
    VrWord data;
} breakCallback;  // carried for the host, never called

VrExitRoutine exitChain[kVrExitChainSlots];
int32_t exitCount = 0;  // slots taken; UtilInit empties the slots and leaves this
int32_t exitsLeft = 0;  // slots whose turn is still to come while VrExit runs

// A routine may end the run itself, for want of memory say, and then never return. The
// place in the chain is kept outside the call, so that the inner VrExit runs what is left.
void RunExitChain() {
    while (exitsLeft > 0) {
        const VrExitRoutine routine = exitChain[--exitsLeft];
        if (routine != nullptr) routine();
    }
}

}  // namespace

int32_t UtilInit(const UtilInitRecord* record) {
    if (started) return 1;
    started = true;
    const UtilInitRecord given = record == nullptr ? UtilInitRecord{} : *record;
    vrlinkInstance = given.VrlinkInstance;
    engineInstance = given.EngineInstance;
    std::ranges::fill(exitChain, nullptr);
    for (StartRoutine start : kStartRoutines)
        start(given);
    return 1;
}

void VrExitAdd(VrExitRoutine routine) {
    if (routine == nullptr || exitCount == kVrExitChainSlots) return;
    exitChain[exitCount++] = routine;
}

// The chain runs once: its routines give back what they hold and need not clear it.
void VrExit(int32_t code) {
    if (inExit == 0) exitsLeft = exitCount;
    inExit = 1;
    RunExitChain();

    const int32_t launcher = GetEnvironLauncher();
    if (launcher == kVrLauncherExe && code != 0) ExitProcess(static_cast<uint32_t>(code));
    if (launcher == kVrLauncherDll) ExitThread(static_cast<uint32_t>(code));
}

int32_t VrExitInExit() {
    return inExit;
}

VrWord GetEngineInstance() {
    return engineInstance;
}

VrWord GetVrlinkInstance() {
    return vrlinkInstance;
}

VrWord GetHInstance() {
    return hostModule;
}

void SetHInstance(VrWord module) {
    hostModule = module;
}

int32_t GetRunStatus() {
    return runStatus;
}

void SetRunStatus(int32_t status) {
    runStatus = status;
}

int32_t GetBreakState() {
    return breakCount;
}

void SetBreakState(int32_t state) {
    if (state == 0) {
        if (breakCount != INT32_MAX) ++breakCount;
    } else if (breakCount != 0) {
        --breakCount;
    }
}

void SetBreakCallback(VrBreakRoutine routine, VrWord data) {
    breakCallback = {routine, data};
}

int32_t VrErrorMessage(const char* format, ...) {
    char text[kMessageSize] = "";
    if (format != nullptr) {
        va_list values;
        va_start(values, format);
        std::vsnprintf(text, sizeof text, format, values);
        va_end(values);
    }
    return MessageBoxA(nullptr, text, EnvironProduct(), MB_OK);
}
