// The handle pool. An entry is free (no name), open without users, pinned, or parked: its handle
// closed to make room, its name and flags kept for reopening. Stamps from one counter show which
// idle entry was used longest ago.

#define VR_MODULE "Os_file"

#include "files/Os_file.h"

#include "core/Array.h"
#include "platform/files.h"
#include "vr/files.h"
#include "vr/frame.h"
#include "vr/log.h"
#include "vr/memory.h"
#include "vr/string.h"

namespace {

using vr::OsResult;

constexpr int32_t kEntriesPerStep = 20;
constexpr int32_t kNoHandle = -1;

struct OsPoolEntry {
    char* name;  // null marks a free entry
    int32_t users;
    int32_t reopenFlags;  // those of the open, without creating and cutting
    int32_t handle;       // kNoHandle while parked
    uint32_t stamp;       // of the open or the last release
};

OsPoolEntry* entries = nullptr;
int32_t capacity = 0;
uint32_t stampCounter = 0;

// From then on each stamp is below the counter, so the idle time of an idle file is never 0.
uint32_t NextStamp() {
    return stampCounter++;
}

OsPoolEntry* Find(vr::OsPoolHandle pooled) {
    if (pooled < 1 || pooled > capacity) return nullptr;
    OsPoolEntry* entry = &entries[pooled - 1];
    return entry->name == nullptr ? nullptr : entry;
}

void Grow() {
    vr::GrowArray(entries, capacity, kEntriesPerStep, VR_MODULE, __LINE__);
}

// New entries are zero, which means free. A callback may take one while the table grows.
int32_t FreeIndex() {
    for (;; Grow()) {
        for (int32_t i = 0; i < capacity; ++i) {
            if (entries[i].name == nullptr) return i;
        }
    }
}

OsResult Open(const char* path, int32_t flags, int32_t permission, int32_t* handle) {
    return static_cast<OsResult>(OsOpen(path, flags, permission, handle));
}

// How long ago an idle entry was used; 0 for one that cannot be parked.
int32_t IdleTime(const OsPoolEntry& entry) {
    if (entry.name == nullptr || entry.users != 0 || entry.handle == kNoHandle) return 0;
    return static_cast<int32_t>(stampCounter - entry.stamp);
}

void Park(OsPoolEntry& entry) {
    OsClose(entry.handle);
    entry.handle = kNoHandle;
}

// The open may run callbacks of a host, which may have opened the file again meanwhile.
OsResult Reopen(vr::OsPoolHandle pooled, int32_t flags, int32_t permission) {
    int32_t reopened = kNoHandle;
    const OsResult result = Open(entries[pooled - 1].name, flags, permission, &reopened);
    if (result != OsResult::Done) return result;
    OsPoolEntry& entry = entries[pooled - 1];
    if (entry.handle == kNoHandle) {
        entry.handle = reopened;
    } else {
        OsClose(reopened);
    }
    return OsResult::Done;
}

OsPoolEntry* LongestIdle() {
    OsPoolEntry* longest = nullptr;
    int32_t longestTime = 0;
    for (int32_t i = 0; i < capacity; ++i) {
        const int32_t time = IdleTime(entries[i]);
        if (time > longestTime) {
            longest = &entries[i];
            longestTime = time;
        }
    }
    return longest;
}

void ParkLongestIdle(VrWord, VrWord) {
    if (OsPoolEntry* entry = LongestIdle()) Park(*entry);
}

// Files are not closed here: they belong to the lock manager, which has been taken down before.
void FreeTable() {
    free_mem(&entries);
    capacity = 0;
}

}  // namespace

void vr::StartPool() {
    Grow();
    MemAddCallback(kVrTooManyOpenFiles, ParkLongestIdle, 0);
    VrExitAdd(FreeTable);
}

// An open may run callbacks of a host, which may open files here too: an entry is looked for, or
// looked up again, after it.
OsResult vr::OsPoolOpen(const char* path, int32_t flags, int32_t permission, OsPoolHandle* pooled) {
    int32_t handle = kNoHandle;
    const OsResult result = Open(path, flags, permission, &handle);
    if (result != OsResult::Done) return result;
    const int32_t reopenFlags = flags & ~(kOpenCreate | kOpenTruncate);
    char* name = dup_str(path);
    const int32_t index = FreeIndex();
    entries[index] = {.name = name,
                      .users = 0,
                      .reopenFlags = reopenFlags,
                      .handle = handle,
                      .stamp = NextStamp()};
    *pooled = index + 1;
    return OsResult::Done;
}

OsResult vr::OsPoolAcquire(OsPoolHandle pooled, int32_t* handle) {
    const OsPoolEntry* entry = Find(pooled);
    if (entry == nullptr) return OsResult::Failed;
    if (entry->handle == kNoHandle) {
        const OsResult result = Reopen(pooled, entry->reopenFlags, 0);
        if (result != OsResult::Done) return result;
    }
    ++entries[pooled - 1].users;
    *handle = entries[pooled - 1].handle;
    return OsResult::Done;
}

OsResult vr::OsPoolRenew(OsPoolHandle pooled, int32_t flags, int32_t permission) {
    OsPoolEntry* entry = Find(pooled);
    if (entry == nullptr) return OsResult::Failed;
    if (entry->handle != kNoHandle) Park(*entry);
    return Reopen(pooled, flags, permission);
}

void vr::OsPoolRelease(OsPoolHandle pooled) {
    OsPoolEntry* entry = Find(pooled);
    if (entry == nullptr || entry->users == 0) return;
    --entry->users;
    entry->stamp = NextStamp();
}

bool vr::OsPoolIsDeleted(OsPoolHandle pooled) {
    const OsPoolEntry* entry = Find(pooled);
    return entry != nullptr && entry->handle != kNoHandle && FileIsDeleted(entry->handle) != 0;
}

void vr::OsPoolDiscard(OsPoolHandle pooled) {
    const OsPoolEntry* entry = Find(pooled);
    if (entry != nullptr && entry->handle != kNoHandle) FileDiscard(entry->handle, entry->name);
}

const char* vr::OsPoolName(OsPoolHandle pooled) {
    const OsPoolEntry* entry = Find(pooled);
    return entry == nullptr ? nullptr : entry->name;
}

void vr::OsPoolClose(OsPoolHandle pooled) {
    OsPoolEntry* entry = Find(pooled);
    if (entry == nullptr) return;
    if (entry->handle != kNoHandle) {
        OsClose(entry->handle);
        VrdbLogOutInt("@@@DOS Close Handle:", entry->handle);
    }
    free_mem(&entry->name);
}
