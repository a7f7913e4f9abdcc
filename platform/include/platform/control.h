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

/* From now on every message box goes to the presenter; null takes it away. */
PLATFORM_API void ControlMessageBoxes(MessageBoxPresenter presenter, void* context);

/* Lets `count` allocations fail, beginning with the `nth` from now (1 is the
 * next). A resize counts as an allocation. A count of 0 ends the failing. */
PLATFORM_API void ControlFailAllocations(uint32_t nth, uint32_t count);

/* The same for FileOpen and for LockFile, which then leave `error` in errno. */
PLATFORM_API void ControlFailOpens(uint32_t nth, uint32_t count, int32_t error);
PLATFORM_API void ControlFailLocks(uint32_t nth, uint32_t count, int32_t error);

/* How many blocks of LocalAlloc and GlobalAlloc have not been given back. */
PLATFORM_API uint32_t ControlBlocksOut(void);

/* Stops the clock at that reading, in its zone; null lets it run again. */
PLATFORM_API void ControlFreezeClock(const ClockReading* reading);

PLATFORM_END

#endif
