/* Locks between processes, on named keys within a file.
 *
 * A key is hashed to a position in the empty file `__locks` beside the file, and
 * holding the key is holding a one-byte lock there. The system arbitrates, and drops
 * the locks of a process that ends. Within a process a key can be taken again and
 * again and is given back as often. Two keys of one position are one lock.
 *
 * The lock file is made at the first use, empty, with the permissions that the process's
 * umask leaves: hosts of several users share a directory's locks when all may write it.
 * A fork of a host shares its locks until it runs another program. No text may be null; a
 * null key counts as empty.
 *
 * Taking and giving back a key costs one system call each, on the first take and on
 * the last give-back only. */
#ifndef VR_LOCK_H
#define VR_LOCK_H

#include "vr/abi.h"
#include "vr/string.h"

VR_BEGIN

/* Which file and, in the low half, which key space within it. Opaque to hosts. */
typedef uint32_t VrLockHandle;

/* Called once, after files_init. Always returns 0. */
VR_API int32_t LockInit(void);

/* Registers the file at `path`, of which only \ parts directory and name, and tests
 * that its directory's locks work. 0 with the handle filled in; otherwise no handle is
 * written, and the result is -1 when the lock file cannot be opened or locked, -2 for
 * too many open files, 1 when the directory's file system has no locks. A lock file
 * that cannot be locked is deleted. Of directories 65535 can be registered at once; one
 * more gives -1. Names count with their case. Each call is owed one LockDeregister. */
VR_API int32_t LockRegister(const char* path, VrLockHandle* handle);

/* Takes the key. 0 when it is held; 1 when another process, or this one by another
 * spelling of the directory, holds it and `wait` is 0; -1 for a bad handle or a
 * failure; -2 when the lock file cannot be reopened for too many open files. With
 * `wait` not 0 it tries without a pause until it has the key. All bytes of the key
 * count; `ignored` does not. */
VR_API int32_t LockLockKey(VrLockHandle handle, VrString key, VrWord ignored, int32_t wait);

/* Gives the key back once. 0 when that was done; 1 when it is not held, or when the
 * system refused, and then it is held no more; -1 for a bad handle. */
VR_API int32_t LockUnlockKey(VrLockHandle handle, VrString key);

/* Takes one registration back; the last one gives back all keys. 0, or -1 for a bad
 * handle. */
VR_API int32_t LockDeregister(VrLockHandle handle);

VR_END

#endif
