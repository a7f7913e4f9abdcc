/* The process environment, and the folder of the system's settings files.
 * Names keep their case, as everywhere in the process environment of Linux. */
#ifndef PLATFORM_ENVIRONMENT_H
#define PLATFORM_ENVIRONMENT_H

#include "platform/base.h"

PLATFORM_BEGIN

/* Copies the variable's value into `buffer` of `size` bytes and returns its
 * length. A value that does not fit with its zero is not stored, and the result
 * is the size that it needs. 0 when there is no such variable. */
PLATFORM_API uint32_t GetEnvironmentVariableA(const char* name, char* buffer, uint32_t size)
    PLATFORM_SYMBOL(GetEnvironmentVariableA);

/* Sets the variable for this process and its children, or removes it when
 * `value` is null. 1, or 0 for a name that is empty or holds a `=`, and for a
 * new variable where there are a million. */
PLATFORM_API int32_t SetEnvironmentVariableA(const char* name, const char* value)
    PLATFORM_SYMBOL(SetEnvironmentVariableA);

/* The Windows directory, as VRPLATFORM_WINDOWS_DIR names it; "C:\WINDOWS" when
 * it is not set. Result and buffer as of GetEnvironmentVariableA. */
PLATFORM_API uint32_t GetWindowsDirectoryA(char* buffer, uint32_t size)
    PLATFORM_SYMBOL(GetWindowsDirectoryA);

PLATFORM_END

/* Were declared in this header in release 1.0. */
#include "platform/profile.h"

#endif
