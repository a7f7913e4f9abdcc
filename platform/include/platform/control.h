/* The control panel: what tests and embedders may change about the platform.
 * It does nothing unless called. Everything here is process-wide. */
#ifndef PLATFORM_CONTROL_H
#define PLATFORM_CONTROL_H

#include "platform/base.h"
#include "platform/clock.h"

PLATFORM_BEGIN

/* Answers a message box: gets the arguments of MessageBoxA and returns the
 * button pressed. `caption` may be null. */
typedef int32_t (*MessageBoxPresenter)(void* context, const char* text, const char* caption,
                                       uint32_t style);

/* From now on every message box goes to the presenter; null removes it. */
PLATFORM_API void ControlMessageBoxes(MessageBoxPresenter presenter, void* context)
    PLATFORM_SYMBOL(ControlMessageBoxes);

/* Makes `count` allocations fail, beginning with the `nth` from now (1 is the next). A resize
 * counts as an allocation. A count of 0 ends the failing. */
PLATFORM_API void ControlFailAllocations(uint32_t nth, uint32_t count)
    PLATFORM_SYMBOL(ControlFailAllocations);

/* Makes `count` calls of FileOpen, or of LockFile, fail, beginning with the `nth` from now; they
 * leave `error` in errno. A count of 0 ends the failing. */
PLATFORM_API void ControlFailOpens(uint32_t nth, uint32_t count, int32_t error)
    PLATFORM_SYMBOL(ControlFailOpens);
PLATFORM_API void ControlFailLocks(uint32_t nth, uint32_t count, int32_t error)
    PLATFORM_SYMBOL(ControlFailLocks);

/* The same for FileWrite. The first `kept` bytes of each write that fails are written nevertheless,
 * as on a disk that fills up. */
PLATFORM_API void ControlFailWrites(uint32_t nth, uint32_t count, uint32_t kept, int32_t error)
    PLATFORM_SYMBOL(ControlFailWrites);

/* How many calls were made to fail so far, by all of these together. */
PLATFORM_API uint32_t ControlFailuresMet(void) PLATFORM_SYMBOL(ControlFailuresMet);

/* How many blocks of LocalAlloc and GlobalAlloc have not been freed. */
PLATFORM_API uint32_t ControlBlocksOut(void) PLATFORM_SYMBOL(ControlBlocksOut);

/* What a recorder of programs answers. */
enum {
    kProgramReal = 0,  /* start it */
    kProgramRan = 1,   /* as if it had run and ended with *code */
    kProgramFailed = 2 /* as if the start had failed with *code */
};

/* Called for every program that is to be started, with its command line and its window mode, -1
 * when none was asked for. Returns one of the three above. */
typedef int32_t (*ProgramRecorder)(void* context, const char* commandLine, int32_t windowMode,
                                   uint32_t* code);

/* From now on the recorder is called before each program is started; null removes it. */
PLATFORM_API void ControlPrograms(ProgramRecorder recorder, void* context)
    PLATFORM_SYMBOL(ControlPrograms);

/* The platform number that GetVersionExA reports; 2 at first. */
PLATFORM_API void ControlPlatformNumber(uint32_t number) PLATFORM_SYMBOL(ControlPlatformNumber);

/* Stops the clock at that reading, in its zone; null lets it run again. */
PLATFORM_API void ControlFreezeClock(const ClockReading* reading)
    PLATFORM_SYMBOL(ControlFreezeClock);

PLATFORM_END

#endif
