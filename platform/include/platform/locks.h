/* Byte locks: exclusive, without waiting, on ranges of a file's positions, which may
 * lie beyond its end.
 *
 * A lock belongs to the handle that took it. Two handles contend even within one process, a lock
 * goes with its handle or its process, and a child that runs another program inherits none. A
 * forked child that does not run another program shares the handles and their locks. */
#ifndef PLATFORM_LOCKS_H
#define PLATFORM_LOCKS_H

#include "platform/base.h"

/* A reason that callers treat as a lock held elsewhere. The service here never gives it. */
enum { kErrorDeadlock = 36 };

PLATFORM_BEGIN

/* Locks the range of the position and length, each given in a low and a high half. 1, or 0 with the
 * reason in errno: 13 when a handle, this one included, holds some of it, 22 when the file system
 * has no locks, 9 for a bad handle or one not open for writing. `file` is of FileSystemHandle. */
PLATFORM_API int32_t LockFile(void* file, uint32_t positionLow, uint32_t positionHigh,
                              uint32_t lengthLow, uint32_t lengthHigh) PLATFORM_SYMBOL(LockFile);

/* Unlocks a range that this handle holds, given exactly as it was locked. 1, or 0. */
PLATFORM_API int32_t UnlockFile(void* file, uint32_t positionLow, uint32_t positionHigh,
                                uint32_t lengthLow, uint32_t lengthHigh)
    PLATFORM_SYMBOL(UnlockFile);

PLATFORM_END

#endif
