// The words that a host keeps in the library: values of the start-up record, and some to
// which the library gives no meaning.

#include "core/Util.h"

namespace {

VrWord engineInstance = 0;
VrWord vrlinkInstance = 0;
VrWord hostModule = 0;
int32_t runStatus = 0;
int32_t breakCount = 0;

struct {
    VrBreakRoutine routine;
    VrWord data;
} breakCallback;  // kept for the host, never called

}  // namespace

void vr::KeepInstances(const UtilInitRecord& record) {
    vrlinkInstance = record.VrlinkInstance;
    engineInstance = record.EngineInstance;
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
