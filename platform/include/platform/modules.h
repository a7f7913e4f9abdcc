/* The modules loaded into the process.
 *
 * A module is named by the handle that LoadLibraryA gave. GetModuleFileNameA takes any
 * address inside it too, and null for the executable. */
#ifndef PLATFORM_MODULES_H
#define PLATFORM_MODULES_H

#include "platform/base.h"

/* A mode of SetErrorMode: a file that is missing shows no box. */
enum { SEM_NOOPENFILEERRORBOX = 0x8000 };

PLATFORM_BEGIN

/* Writes the module's full name as a drive path into `buffer`, cut to `size` - 1 characters, and
 * returns the number of characters written; 0 when there is no such module. A module outside every
 * drive has its host path, with backslashes for separators; it begins with a backslash, without a
 * drive. */
PLATFORM_API uint32_t GetModuleFileNameA(void* module, char* buffer, uint32_t size)
    PLATFORM_SYMBOL(GetModuleFileNameA);

/* Loads the shared object of that path, or, for a bare name, the one that the system's search
 * finds, the platform's own folder first. For X and X.DLL the names X.so and libX.so are tried too.
 * Null when there is none, or when it is not a regular file. Loads are counted. */
PLATFORM_API void* LoadLibraryA(const char* name) PLATFORM_SYMBOL(LoadLibraryA);

/* Undoes one load. 1, or 0 for an unknown module. */
PLATFORM_API int32_t FreeLibrary(void* module) PLATFORM_SYMBOL(FreeLibrary);

/* The address that the module exports under the name, or null. */
PLATFORM_API void* GetProcAddress(void* module, const char* name) PLATFORM_SYMBOL(GetProcAddress);

/* Stores how a failed load should be shown to a person, and returns the mode
 * before. No load shows anything here, whatever the mode. */
PLATFORM_API uint32_t SetErrorMode(uint32_t mode) PLATFORM_SYMBOL(SetErrorMode);

PLATFORM_END

#endif
