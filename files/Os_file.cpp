// The handle pool. An entry is free (no name), open without users, pinned, or parked: its handle
// closed to make room, its name and flags kept for reopening. Stamps from one counter show which
// idle entry was used longest ago.

#define VR_MODULE "Os_file"

#include "files/Os_file.h"

#include "platform/files.h"
#include "vr/files.h"
#include "vr/frame.h"
#include "vr/log.h"
#include "vr/memory.h"
#include "vr/string.h"

namespace {

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
    const auto size =
        static_cast<uint32_t>(capacity + kEntriesPerStep) * static_cast<uint32_t>(sizeof *entries);
    entries =
        static_cast<OsPoolEntry*>(capacity == 0 ? alloc_memory(size) : realloc_mem(entries, size));
    capacity += kEntriesPerStep;
}

// New entries are zero, which means free.
int32_t FreeIndex() {
    for (int32_t i = 0; i < capacity; ++i) {
        if (entries[i].name == nullptr) return i;
    }
    Grow();
    return capacity - kEntriesPerStep;
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
int32_t Reopen(vr::OsPoolHandle pooled, int32_t flags, int32_t permission) {
    int32_t reopened = kNoHandle;
    const int32_t result = OsOpen(entries[pooled - 1].name, flags, permission, &reopened);
    if (result != 0) return result;
    OsPoolEntry& entry = entries[pooled - 1];
    if (entry.handle == kNoHandle) {
        entry.handle = reopened;
    } else {
        OsClose(reopened);
    }
    return 0;
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

void OsPoolMemCallback(VrWord, VrWord) {
    vr::OsPoolReclaim(1, nullptr);
}

// Files are not closed here: they belong to the lock manager, which has been taken down before.
void FreeTable() {
    free_mem(&entries);
    capacity = 0;
}

}  // namespace

void vr::StartPool() {
    Grow();
    MemAddCallback(kVrTooManyOpenFiles, OsPoolMemCallback, 0);
    VrExitAdd(FreeTable);
}

// An open may run callbacks of a host, which may open files here too: an entry is looked for, or
// looked up again, after it.
int32_t vr::OsPoolOpen(const char* path, int32_t flags, int32_t permission, OsPoolHandle* pooled) {
    int32_t handle = kNoHandle;
    const int32_t result = OsOpen(path, flags, permission, &handle);
    if (result != 0) return result;
    const int32_t reopenFlags = flags & ~(kOpenCreate | kOpenTruncate);
    char* name = dup_str(path);
    const int32_t index = FreeIndex();
    entries[index] = {name, 0, reopenFlags, handle, NextStamp()};
    *pooled = index + 1;
    return 0;
}

int32_t vr::OsPoolAcquire(OsPoolHandle pooled, int32_t* handle) {
    const OsPoolEntry* entry = Find(pooled);
    if (entry == nullptr) return -1;
    if (entry->handle == kNoHandle) {
        const int32_t result = Reopen(pooled, entry->reopenFlags, 0);
        if (result != 0) return result;
    }
    ++entries[pooled - 1].users;
    *handle = entries[pooled - 1].handle;
    return 0;
}

int32_t vr::OsPoolRenew(OsPoolHandle pooled, int32_t flags, int32_t permission) {
    OsPoolEntry* entry = Find(pooled);
    if (entry == nullptr) return -1;
    if (entry->handle != kNoHandle) Park(*entry);
    return Reopen(pooled, flags, permission);
}

int32_t vr::OsPoolRelease(OsPoolHandle pooled) {
    OsPoolEntry* entry = Find(pooled);
    if (entry == nullptr) return -1;
    if (entry->users == 0) return -2;
    --entry->users;
    entry->stamp = NextStamp();
    return 0;
}

bool vr::OsPoolIsDeleted(OsPoolHandle pooled) {
    const OsPoolEntry* entry = Find(pooled);
    return entry != nullptr && entry->handle != kNoHandle && FileIsDeleted(entry->handle) != 0;
}

void vr::OsPoolDiscard(OsPoolHandle pooled) {
    const OsPoolEntry* entry = Find(pooled);
    if (entry != nullptr && entry->handle != kNoHandle) FileDiscard(entry->handle, entry->name);
}

int32_t vr::OsPoolName(OsPoolHandle pooled, const char** name) {
    const OsPoolEntry* entry = Find(pooled);
    if (entry == nullptr) return -1;
    *name = entry->name;
    return 0;
}

int32_t vr::OsPoolClose(OsPoolHandle pooled) {
    OsPoolEntry* entry = Find(pooled);
    if (entry == nullptr) return -1;
    if (entry->handle != kNoHandle) {
        OsClose(entry->handle);
        VrdbLogOutInt("@@@DOS Close Handle:", entry->handle);
    }
    free_mem(&entry->name);
    return 0;
}

void vr::OsPoolReclaim(int32_t count, int32_t* closed) {
    int32_t done = 0;
    while (done < count) {
        OsPoolEntry* entry = LongestIdle();
        if (entry == nullptr) break;
        Park(*entry);
        ++done;
    }
    if (closed != nullptr) *closed = done;
}
