// The keys of one lock file. Holding a key is holding its byte. The file's handle is pinned in the
// pool while a key is held, since closing it would drop the locks.

#define VR_MODULE "Nflock"

#include <algorithm>
#include <cerrno>

#include "core/Array.h"
#include "core/Invariant.h"
#include "files/Nflock.h"
#include "platform/locks.h"

using namespace vr;

namespace {

constexpr int32_t kKeysPerStep = 5;

// Names the entry afresh once the larger array is there.
void GrowKeys(int32_t index) {
    const int32_t capacity = lockEntries[index].keyCapacity + kKeysPerStep;
    auto* larger = NewArray<HeldKey>(capacity, VR_MODULE, __LINE__);
    LockFileEntry& entry = lockEntries[index];
    ReplaceByLarger(entry.keys, entry.keyCapacity, larger, capacity, VR_MODULE, __LINE__);
}

// Where the position's key is among those held, or would be inserted.
HeldKey* PlaceOf(const LockFileEntry& entry, uint32_t position) {
    return std::lower_bound(
        entry.keys, entry.keys + entry.heldCount, position,
        [](const HeldKey& held, uint32_t wanted) { return held.position < wanted; });
}

HeldKey* FindKey(const LockFileEntry& entry, uint32_t position) {
    HeldKey* place = PlaceOf(entry, position);
    const bool isHeld = place != entry.keys + entry.heldCount && place->position == position;
    return isHeld ? place : nullptr;
}

// There is room for it.
void AddKey(LockFileEntry& entry, uint32_t position) {
    HeldKey* place = PlaceOf(entry, position);
    HeldKey* end = entry.keys + entry.heldCount++;
    std::copy_backward(place, end, end + 1);
    *place = {position, 1};
}

bool LockByte(const LockFileEntry& entry, uint32_t position) {
    return LockFile(FileSystemHandle(entry.handle), position, 0, 1, 0) != 0;
}

bool UnlockByte(const LockFileEntry& entry, uint32_t position) {
    return UnlockFile(FileSystemHandle(entry.handle), position, 0, 1, 0) != 0;
}

// A file system without locks grants everything.
LockResult ObtainByte(const LockFileEntry& entry, uint32_t position, bool wait) {
    while (!LockByte(entry, position)) {
        if (errno == kErrorInvalid) return LockResult::Done;
        if (errno != kErrorAccessDenied && errno != kErrorDeadlock) return LockResult::Failed;
        if (!wait) return LockResult::HeldElsewhere;
    }
    return LockResult::Done;
}

LockResult Pin(int32_t index) {
    const OsPoolHandle pooled = lockEntries[index].pooled;
    int32_t handle = kNone;
    const LockResult renewed = RenewIfDeleted(index);
    if (renewed != LockResult::Done) return renewed;
    const LockResult opened = LockResultOf(OsPoolAcquire(pooled, &handle));
    if (opened != LockResult::Done) return opened;
    if (lockEntries[index].handle == kNone) {
        lockEntries[index].handle = handle;
    } else {
        OsPoolRelease(pooled);  // a callback has pinned it
    }
    return LockResult::Done;
}

void Unpin(LockFileEntry& entry) {
    if (entry.handle == kNone) return;
    entry.handle = kNone;
    OsPoolRelease(entry.pooled);
}

void UnpinIfIdle(LockFileEntry& entry) {
    if (entry.heldCount == 0 && entry.calls == 0) Unpin(entry);
}

// Keys are held in the array, taken at least once each, and only while the file is pinned.
bool IsSound(const LockFileEntry& entry) {
    const HeldKey* end = entry.keys + entry.heldCount;
    return entry.heldCount >= 0 && entry.heldCount <= entry.keyCapacity &&
           (entry.heldCount == 0 || entry.handle != kNone) &&
           std::all_of(static_cast<const HeldKey*>(entry.keys), end,
                       [](const HeldKey& held) { return held.count > 0; });
}

}  // namespace

LockResult vr::LockResultOf(OsResult result) {
    switch (result) {
        case OsResult::Done:
            return LockResult::Done;
        case OsResult::TooManyOpenFiles:
            return LockResult::TooManyOpenFiles;
        default:
            return LockResult::Failed;
    }
}

LockResult vr::RenewIfDeleted(int32_t index) {
    const LockFileEntry& entry = lockEntries[index];
    if (entry.handle != kNone || !OsPoolIsDeleted(entry.pooled)) return LockResult::Done;
    return LockResultOf(OsPoolRenew(entry.pooled, kLockFileFlags, kLockFilePermission));
}

// Each step that can run callbacks is followed by a fresh look at the entry.
LockResult vr::TakePosition(int32_t index, uint32_t position, bool wait) {
    for (;;) {
        LockFileEntry& entry = lockEntries[index];
        if (HeldKey* held = FindKey(entry, position)) {
            ++held->count;
            return LockResult::Done;
        }
        if (entry.heldCount == entry.keyCapacity) {
            GrowKeys(index);
        } else if (entry.handle == kNone) {
            const LockResult pinned = Pin(index);
            if (pinned != LockResult::Done) return pinned;
        } else {
            const LockResult result = ObtainByte(entry, position, wait);
            if (result == LockResult::Done) AddKey(entry, position);
            return result;
        }
    }
}

// The key leaves the array even when the system refuses to unlock its byte.
LockResult vr::GivePositionBack(LockFileEntry& entry, uint32_t position) {
    HeldKey* held = FindKey(entry, position);
    if (held == nullptr) return LockResult::NotGivenBack;
    if (--held->count != 0) return LockResult::Done;
    std::copy(held + 1, entry.keys + entry.heldCount, held);
    --entry.heldCount;
    const bool unlocked = UnlockByte(entry, position);
    UnpinIfIdle(entry);
    return unlocked ? LockResult::Done : LockResult::NotGivenBack;
}

void vr::CloseEntry(LockFileEntry& entry) {
    for (int32_t i = 0; i < entry.heldCount; ++i)
        UnlockByte(entry, entry.keys[i].position);
    Unpin(entry);
    OsPoolClose(entry.pooled);
    free_mem(&entry.keys);
    entry = {};
}

void vr::BeginCall(int32_t index) {
    ++lockEntries[index].calls;
}

void vr::EndCall(int32_t index) {
    LockFileEntry& entry = lockEntries[index];
    VR_INVARIANT(IsSound(entry));
    --entry.calls;
    if (IsFree(entry)) {
        CloseEntry(entry);
    } else {
        UnpinIfIdle(entry);
    }
}
