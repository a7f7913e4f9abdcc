/* Files by numbered handle, and by their names (platform/paths.h).
 *
 * Strangers. In a directory that its group or everybody may write, a link or a named pipe whose
 * owner is neither the process's user, nor the superuser, nor the owner of the directory is
 * not followed or opened: opens, replacements and deletions through it fail with 13.
 *
 * A failure gives the result named with each service, and leaves the reason in errno:
 * 2 no such file, 9 bad handle, 13 access denied, 17 exists, 22 invalid argument, 24
 * too many open files, 28 disk full, 34 result too long, 36 name too long, 75 beyond 31
 * bits; others are the host's. */
#ifndef PLATFORM_FILES_H
#define PLATFORM_FILES_H

#include "platform/base.h"

/* Reasons that callers distinguish, as errno has them. */
enum {
    kErrorNoSuchFile = 2,       /* nor a directory */
    kErrorAccessDenied = 13,    /* a permission or a lock forbids it */
    kErrorInvalid = 22,         /* an argument that makes no sense, or no such service */
    kErrorTooManyOpenFiles = 24 /* of the process or the system */
};

/* Flags of FileOpen; reading only, in text mode, when none is given. A file that kOpenLikeFolder
 * makes may be read and written by whoever may write its directory, and by nobody else, as far as
 * the process may change a file's owner and group. */
enum {
    kOpenReadOnly = 0x0000,   /* reading */
    kOpenWriteOnly = 0x0001,  /* writing */
    kOpenReadWrite = 0x0002,  /* both */
    kOpenAppend = 0x0008,     /* every write goes to the end */
    kOpenCreate = 0x0100,     /* make the file if it does not exist */
    kOpenTruncate = 0x0200,   /* cut an existing file to length 0 */
    kOpenExclusive = 0x0400,  /* with kOpenCreate: fail if it exists */
    kOpenPrivate = 0x0800,    /* with kOpenCreate: only its owner may open a file that is made */
    kOpenLikeFolder = 0x1000, /* with kOpenCreate: a file that is made is its directory's users' */
    kOpenText = 0x4000,       /* line ends are CR LF on disk */
    kOpenBinary = 0x8000      /* bytes are as they are on disk */
};

/* What others may do with the file meanwhile. There is only one sharing mode. */
enum { kShareDenyNone = 0x0040 };

/* Permission of a file that is made: without kPermissionWrite nobody may open it for
 * writing later, the superuser included. Reading is always permitted. */
enum {
    kPermissionWrite = 0x0080, /* all may write */
    kPermissionRead = 0x0100   /* changes nothing */
};

/* Where FileSeek counts from. */
enum {
    kSeekStart = 0,   /* the start of the file */
    kSeekCurrent = 1, /* the position */
    kSeekEnd = 2      /* the end of the file */
};

PLATFORM_BEGIN

/* Raises the number of files that the process may have open at once to at least
 * `count`, as far as the system lets it. Returns the number now allowed. */
PLATFORM_API int32_t SetHandleCount(int32_t count) PLATFORM_SYMBOL(SetHandleCount);

/* Opens a file; the result is its handle, the lowest free number from 3 on, or -1. Children do not
 * inherit it. Directories cannot be opened. It does not wait: a named pipe that nobody has open for
 * writing is at its end, and one that nobody reads cannot be opened for writing alone. */
PLATFORM_API int32_t FileOpen(const char* path, int32_t flags, int32_t sharing, int32_t permission)
    PLATFORM_SYMBOL(FileOpen);

/* Closes a file: 0, or -1 for a bad handle. All locks of the handle go with it. */
PLATFORM_API int32_t FileClose(int32_t handle) PLATFORM_SYMBOL(FileClose);

/* Reads up to `count` bytes at the handle's position: their number, 0 at the end, or -1. In text
 * mode CR LF is read as LF, unless two reads of a pipe divide it, and Ctrl-Z (byte 26) ends the
 * text until the next seek. */
PLATFORM_API int32_t FileRead(int32_t handle, void* buffer, uint32_t count)
    PLATFORM_SYMBOL(FileRead);

/* Writes at the handle's position: the number of bytes written, or -1. In text mode LF goes out as
 * CR LF, and the result counts the bytes as given. Beyond 2 GiB the position can no longer be
 * reported. Writing to a pipe that nobody reads any more, or beyond the process's limit on the size
 * of a file, as it was when the file was opened, returns -1 and raises no signal. */
PLATFORM_API int32_t FileWrite(int32_t handle, const void* buffer, uint32_t count)
    PLATFORM_SYMBOL(FileWrite);

/* Moves to `offset` bytes on disk from `origin`: the new position, or -1, also when
 * it would pass 31 bits. */
PLATFORM_API int32_t FileSeek(int32_t handle, int32_t offset, int32_t origin)
    PLATFORM_SYMBOL(FileSeek);

/* The length of the file: bytes on disk, or -1, also for a file of 2 GiB or more. */
PLATFORM_API int32_t FileLength(int32_t handle) PLATFORM_SYMBOL(FileLength);

/* Cuts or extends the file, with zero bytes: 0, or -1. */
PLATFORM_API int32_t FileChangeSize(int32_t handle, int32_t size) PLATFORM_SYMBOL(FileChangeSize);

/* Waits until all that was written is on the disk: 0, or -1. */
PLATFORM_API int32_t FileCommit(int32_t handle) PLATFORM_SYMBOL(FileCommit);

/* The system's handle for the number, as byte locks take it; the address -1 for a bad number. */
PLATFORM_API void* FileSystemHandle(int32_t handle) PLATFORM_SYMBOL(FileSystemHandle);

/* 0 when something of that name exists, file or directory, else -1. */
PLATFORM_API int32_t FileStatus(const char* path) PLATFORM_SYMBOL(FileStatus);

/* 1 when a directory of that name exists, else 0. */
PLATFORM_API int32_t FileIsDirectory(const char* path) PLATFORM_SYMBOL(FileIsDirectory);

/* Writes the owner, the group and the rights of the file or directory, zero-terminated, into `size`
 * bytes: "user 0, group 0, rights rwxr-xr-x", with the rights of its user, its group and the
 * others. A link is followed unless it is a stranger's (see above). 0, or -1. */
PLATFORM_API int32_t FileOwnership(const char* path, char* text, int32_t size)
    PLATFORM_SYMBOL(FileOwnership);

/* Deletes a file: 0, or -1. */
PLATFORM_API int32_t FileDelete(const char* path) PLATFORM_SYMBOL(FileDelete);

/* 1 when the open file has no name any more, as far as the system can say; else 0. */
PLATFORM_API int32_t FileIsDeleted(int32_t handle) PLATFORM_SYMBOL(FileIsDeleted);

/* Deletes the open file, which `path` must lead to, if this handle's own open made it and
 * nobody else has it open. The handle stays open. 0, or -1; when in doubt the file stays. */
PLATFORM_API int32_t FileDiscard(int32_t handle, const char* path) PLATFORM_SYMBOL(FileDiscard);

/* Replaces the file `to` by `from`, in one step for other processes; if `to` is a link it is
 * followed. `from` must be a regular file of the process's user with no other name, made with
 * kOpenPrivate if its content must not be seen early. The new file gets the permissions of the old
 * one, and its owner and group as far as the caller may set them; if the group cannot be kept,
 * group and others get only the rights that both had. Without an old file, the new one keeps its
 * own. 0, or -1, also when `to` is no regular file. */
PLATFORM_API int32_t FileReplace(const char* from, const char* to) PLATFORM_SYMBOL(FileReplace);

/* Replaces the six X at the end of `path`, in place: the last five by the low five
 * decimal digits of the process number, the first by the first letter from a to z
 * that gives a name under which nothing exists. Returns `path`, or null when all are
 * taken, when none can be looked for, or when it does not end in six X. */
PLATFORM_API char* UniqueName(char* path) PLATFORM_SYMBOL(UniqueName);

PLATFORM_END

/* Were declared in this header in release 1.0. */
#include "platform/find.h"
#include "platform/paths.h"
#include "platform/streams.h"

#endif
