/* The process environment, the folder of the system's settings files, and such files.
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

/* Reads a private profile: a text of sections [NAME] and, in them, lines KEY=VALUE. Case does not
 * matter in sections and keys, and the first one of a name counts. Blanks around names and values
 * are dropped, and then one pair of quotes around a value; lines that begin with ; are ignored. A
 * file named without a directory is looked for in the Windows directory; one that cannot be read is
 * empty.
 *
 * Copies the key's value, or `defaultValue`, cut to `size` bytes with its zero, and returns
 * its length. A null key lists the section's keys, a null section the sections: each name
 * with its zero, and one more zero at the end; the length is without that. */
PLATFORM_API uint32_t GetPrivateProfileStringA(const char* section, const char* key,
                                               const char* defaultValue, char* buffer,
                                               uint32_t size, const char* file)
    PLATFORM_SYMBOL(GetPrivateProfileStringA);

PLATFORM_END

#endif
