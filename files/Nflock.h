// The lock files that are registered, and the keys that this process holds in them.
//
// Opening a lock file may run callbacks of a host, and so may each allocation. They may use the
// lock manager: register files, so that the table moves, take keys of the same entry, or give its
// last registration back. So across such a step an entry is named by its index and read again
// afterwards, and it stays as long as a call uses it.
#ifndef FILES_NFLOCK_H
#define FILES_NFLOCK_H

#include "files/Os_file.h"
#include "platform/files.h"

namespace vr {

constexpr int32_t kNone = -1;  // no index, no handle

// Whoever may write the directory may lock in it, whatever the first host's umask; nobody else can
// block it with locks of his own.
constexpr int32_t kLockFileFlags = kOpenBinary | kOpenReadWrite | kOpenCreate | kOpenLikeFolder;
constexpr int32_t kLockFilePermission = kPermissionRead | kPermissionWrite;

enum class LockResult {
    Done,
    HeldElsewhere,
    NotGivenBack,  // not held, or the system refused to unlock it
    Failed,
    TooManyOpenFiles,
};

LockResult LockResultOf(OsResult result);

struct HeldKey {
    uint32_t position;
    int32_t count;  // takes not yet given back
};

struct LockFileEntry {
    int32_t registerCount;
    int32_t calls;  // in progress; the end of the run leaves them counted
    int32_t heldCount;
    int32_t keyCapacity;
    HeldKey* keys;  // by position
    OsPoolHandle pooled;
    int32_t handle;  // while the file is pinned, which a held key and a call may need
};

extern LockFileEntry* lockEntries;

inline bool IsFree(const LockFileEntry& entry) {
    return entry.registerCount == 0 && entry.calls == 0;
}

// An entry in use by a call stays, even when a callback gives its last registration back.
void BeginCall(int32_t index);
void EndCall(int32_t index);

// Takes a byte of the lock file, or takes it once more.
[[nodiscard]] LockResult TakePosition(int32_t index, uint32_t position, bool wait);
[[nodiscard]] LockResult GivePositionBack(LockFileEntry& entry, uint32_t position);

// A lock on a file without a name excludes nobody, so the file is created again. While it is pinned
// it stays, since closing it would drop the keys.
[[nodiscard]] LockResult RenewIfDeleted(int32_t index);

// Gives all keys back, and frees the entry.
void CloseEntry(LockFileEntry& entry);

}  // namespace vr

#endif
