/* Paths, and the current directory.
 *
 * A path is `C:\DATA\ABC`, with / for \ as well. The drive letter D has its root in the host's
 * directory that VRPLATFORM_DRIVE_D names, and likewise for each letter; drive C is the host's root
 * unless set. A path without a drive is on the current directory's drive; one without a leading
 * separator starts in that drive's current directory, or, on another drive, in its root. `.` and
 * `..` are resolved in the text, and `..` stops at the root. Names are found without regard to
 * case, the exact spelling first; a new file takes the spelling given. A failure leaves its
 * reason in errno, as platform/files.h lists them. */
#ifndef PLATFORM_PATHS_H
#define PLATFORM_PATHS_H

#include "platform/base.h"

PLATFORM_BEGIN

/* The current directory as a drive path of at most `size` - 1 bytes and a zero: the
 * buffer, or null when it does not fit or lies on no drive. */
PLATFORM_API char* CurrentDirectory(char* buffer, int32_t size) PLATFORM_SYMBOL(CurrentDirectory);

/* Changes the current directory: 0, or -1. */
PLATFORM_API int32_t ChangeDirectory(const char* path) PLATFORM_SYMBOL(ChangeDirectory);

/* The full drive path of `path`, which need not exist, as CurrentDirectory gives its
 * result; an empty path is the current directory. A separator at its end stays. */
PLATFORM_API char* ExpandPath(char* buffer, const char* path, int32_t size)
    PLATFORM_SYMBOL(ExpandPath);

PLATFORM_END

#endif
