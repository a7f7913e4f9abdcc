/* The end of the process, or of one of its threads. */
#ifndef PLATFORM_PROCESS_H
#define PLATFORM_PROCESS_H

#include "platform/base.h"

PLATFORM_BEGIN

/* Ends the process with the code, of which the parent sees the low 8 bits, after
 * the C library's exit handlers have run. */
PLATFORM_API void ExitProcess(uint32_t code) PLATFORM_SYMBOL(ExitProcess) __attribute__((noreturn));

/* Ends the calling thread with the code, which a join reads as the thread's result. When the last
 * thread of a process ends, the process ends. */
PLATFORM_API void ExitThread(uint32_t code) PLATFORM_SYMBOL(ExitThread) __attribute__((noreturn));

PLATFORM_END

/* Were declared in this header in release 1.0. */
#include "platform/modules.h"

#endif
