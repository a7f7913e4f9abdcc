/* Locks between processes, on named keys within a file.
 *
 * A key is hashed to a position in the empty file `__locks` beside the file, and holding the key is
 * holding a one-byte lock there. The system arbitrates, and drops the locks of a process that ends.
 * Within a process a key can be taken several times, and must be given back as often. Two keys with
 * the same position are one lock.
 *
 * Taking and giving back a key costs one system call each, on the first take and on
 * the last give-back only. No text may be null; a null key counts as empty.
 *
 * Names. Only a backslash divides directory and name here: write DATA\REC and not DATA/REC,
 * which names a file DATA/REC of the current directory. Case counts. A name with a
 * relative directory, or without one, stays as it was given. While no key is held, the lock
 * file may be closed to make room for others, and is opened by that name again for the next
 * key: after a ChDir that is another file, or none. Register full paths, or stay in
 * the directory.
 *
 * A lock file that was deleted excludes nobody who opens the name later, so it must not be deleted
 * while hosts run. If it has vanished nevertheless, the first key taken creates it again, unless
 * the file was closed to make room: then LockLockKey returns -1 until every registration of the
 * directory is given back and the directory is registered again.
 *
 * Users. The lock file is made at the first use, empty. Whoever may write the directory may lock in
 * it, and nobody else, whatever the umask, as far as the process may change the file's owner and
 * group. For hosts of several users, give the directory a group of theirs, the setgid bit and group
 * write permission (chgrp GROUP DIR; chmod g+ws DIR): the lock file then takes that group. Run each
 * host with umask 002, so that the records too are made with group write permission.
 *
 * A fork of a host shares its locks until it runs another program. */
#ifndef VR_LOCK_H
#define VR_LOCK_H

#include "vr/abi.h"
#include "vr/string.h"

/* Results of the functions below. */
enum {
    kVrLockDone = 0,             /* of all: done */
    kVrLockHeldElsewhere = 1,    /* of LockLockKey: another holder has the key */
    kVrLockNotHeld = 1,          /* of LockUnlockKey: not held, or the system refused */
    kVrLockNotOffered = 1,       /* of LockRegister: the file system has no locks */
    kVrLockFailed = -1,          /* of all but LockInit: a bad handle or a failure */
    kVrLockTooManyOpenFiles = -2 /* of LockRegister and LockLockKey: no file can be opened */
};

VR_BEGIN

/* Which file and, in the low half, which key space within it. Opaque to hosts. 0 is never a
 * valid handle. */
typedef uint32_t VrLockHandle;

/* Called once, after files_init. Always returns kVrLockDone. */
VR_API int32_t LockInit(void);

/* Registers the file at `path`, which need not exist, and tests that its directory's locks
 * work. Returns kVrLockDone and writes *handle. Otherwise no handle is written, and the
 * result is kVrLockFailed when the lock file cannot be opened or locked,
 * kVrLockTooManyOpenFiles, or kVrLockNotOffered when the directory's file system has no
 * locks. A lock file that this call has made and that cannot be locked is deleted again.
 *
 * 65535 directories can be registered at once; one more gives kVrLockFailed. Two spellings of a
 * directory count as two, and their keys exclude each other. Each call that returns a handle is
 * matched by one LockDeregister. */
VR_API int32_t LockRegister(const char* path, VrLockHandle* handle);

/* Takes the key. kVrLockDone when it is held; kVrLockHeldElsewhere when another process, or
 * this one by another spelling of the directory, holds it and `wait` is 0; kVrLockFailed for
 * a bad handle or a failure; kVrLockTooManyOpenFiles when the lock file cannot be opened
 * again. With `wait` not 0 it tries without a pause and without a limit until it has the
 * key. All bytes of the key count; `ignored` does not. */
VR_API int32_t LockLockKey(VrLockHandle handle, VrString key, VrWord ignored, int32_t wait);

/* Gives the key back once. kVrLockDone, also when it is still held by an earlier take;
 * kVrLockNotHeld when it is not held, or when the system refused, after which it is not held
 * either; kVrLockFailed for a bad handle. */
VR_API int32_t LockUnlockKey(VrLockHandle handle, VrString key);

/* Takes one registration back; the last one of a directory gives back all keys that are held
 * in it. kVrLockDone, or kVrLockFailed for a bad handle. */
VR_API int32_t LockDeregister(VrLockHandle handle);

VR_END

#endif
