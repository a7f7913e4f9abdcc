// The lock manager. A key is a byte position in the empty lock file of its file's
// directory; holding the key is holding that byte. The table has an entry for each
// lock file with the keys that this process holds in it (files/Nflock.h).

#define VR_MODULE "Nflock"

#include "files/Nflock.h"

#include <cstring>

#include "core/Array.h"
#include "core/Text.h"
#include "core/vrmem.h"
#include "vr/frame.h"
#include "vr/lock.h"

vr::LockFileEntry* vr::lockEntries = nullptr;

using namespace vr;

namespace {

constexpr char kLockFileName[] = "__locks";
constexpr int32_t kEntriesPerStep = 5;
constexpr int32_t kMostEntries = 0xFFFF;  // as many as the high half of a handle can name
constexpr uint32_t kHashFactor = 31;
constexpr uint32_t kTestPosition = 0;

int32_t entryCount = 0;

// The interface's number of a result.
int32_t NumberOf(LockResult result) {
    switch (result) {
        case LockResult::Done:
            return kVrLockDone;
        case LockResult::HeldElsewhere:
            return kVrLockHeldElsewhere;
        case LockResult::NotGivenBack:
            return kVrLockNotHeld;
        case LockResult::TooManyOpenFiles:
            return kVrLockTooManyOpenFiles;
        default:
            return kVrLockFailed;
    }
}

uint32_t Hash(uint32_t start, const unsigned char* bytes, size_t length) {
    constexpr uint32_t kSquare = kHashFactor * kHashFactor;
    size_t i = 0;
    for (; i + 2 <= length; i += 2)  // two at a step, since each waits for the one before
        start = start * kSquare + (bytes[i] * kHashFactor + bytes[i + 1]);
    if (i != length) start = start * kHashFactor + bytes[i];
    return start;
}

uint32_t KeyPosition(VrLockHandle handle, VrString key) {
    key = OrNullString(key);
    return Hash(handle << 16, VrStrText(key),
                key->length > 0 ? static_cast<size_t>(key->length) : 0);
}

// The entry's index, or kNone for a bad handle.
int32_t IndexOf(VrLockHandle handle) {
    const auto index = static_cast<int32_t>(handle >> 16) - 1;
    if (index < 0 || index >= entryCount || lockEntries[index].registerCount == 0) return kNone;
    return index;
}

// Calls in progress never return from the end of the run, so they keep no entry.
void CloseTable() {
    for (int32_t i = 0; i < entryCount; ++i) {
        LockFileEntry& entry = lockEntries[i];
        if (!IsFree(entry) && --entry.registerCount <= 0) CloseEntry(entry);
    }
    free_mem(&lockEntries);
    entryCount = 0;
}

bool HasName(const LockFileEntry& entry, const char* lockPath) {
    const char* name = OsPoolName(entry.pooled);
    return name != nullptr && std::strcmp(name, lockPath) == 0;
}

// The entry of that lock file, or the first free one, whichever comes first. kNone when the table
// is full.
int32_t FindOrGrow(const char* lockPath) {
    for (;;) {
        int32_t index = 0;
        while (index < entryCount && !IsFree(lockEntries[index]) &&
               !HasName(lockEntries[index], lockPath))
            ++index;
        if (index == kMostEntries) return kNone;
        if (index < entryCount) return index;
        GrowArray(lockEntries, entryCount, kEntriesPerStep, VR_MODULE, __LINE__);
    }
}

// Locks and unlocks a byte, to see whether the file can be locked at all.
LockResult TestLocking(int32_t index) {
    BeginCall(index);
    LockResult result = TakePosition(index, kTestPosition, false);
    if (result == LockResult::Done) {
        result = GivePositionBack(lockEntries[index], kTestPosition);
    } else if (result == LockResult::HeldElsewhere) {
        result = LockResult::Done;
    }
    EndCall(index);
    return result;
}

LockResult Join(int32_t index) {
    ++lockEntries[index].registerCount;
    BeginCall(index);
    const LockResult renewed = RenewIfDeleted(index);
    if (renewed != LockResult::Done) --lockEntries[index].registerCount;
    EndCall(index);
    return renewed;
}

// Fills a free entry. It stays only if its file can be locked; otherwise the file that the open
// may have made is deleted.
LockResult FillEntry(int32_t index, OsPoolHandle pooled) {
    lockEntries[index] = {.registerCount = 1,
                          .calls = 0,
                          .heldCount = 0,
                          .keyCapacity = 0,
                          .keys = nullptr,
                          .pooled = pooled,
                          .handle = kNone};
    const LockResult tested = TestLocking(index);
    if (tested == LockResult::Done) return tested;
    OsPoolDiscard(lockEntries[index].pooled);
    CloseEntry(lockEntries[index]);
    return tested;
}

// Opens the lock file. The open may run callbacks that register files, so the entry is looked
// for only after it; a callback that registered this very file has made the entry already.
LockResult OpenEntry(const char* lockPath, int32_t* index) {
    OsPoolHandle pooled = 0;
    const LockResult opened =
        LockResultOf(OsPoolOpen(lockPath, kLockFileFlags, kLockFilePermission, &pooled));
    if (opened != LockResult::Done) return opened;
    *index = FindOrGrow(lockPath);
    if (*index != kNone && IsFree(lockEntries[*index])) return FillEntry(*index, pooled);
    OsPoolClose(pooled);
    return *index == kNone ? LockResult::Failed : Join(*index);
}

// Registers one more user of the lock file, and finds its entry.
LockResult RegisterLockFile(const char* lockPath, int32_t* index) {
    *index = FindOrGrow(lockPath);
    if (*index == kNone) return LockResult::Failed;
    return IsFree(lockEntries[*index]) ? OpenEntry(lockPath, index) : Join(*index);
}

}  // namespace

int32_t LockInit() {
    VrExitAdd(CloseTable);
    return kVrLockDone;
}

int32_t LockRegister(const char* path, VrLockHandle* handle) {
    const char* baseName = NameInPath(path);
    const auto directoryLength = static_cast<size_t>(baseName - path);
    auto* lockPath = static_cast<char*>(
        alloc_memory(static_cast<uint32_t>(directoryLength + sizeof kLockFileName)));
    std::memcpy(lockPath, path, directoryLength);
    std::memcpy(lockPath + directoryLength, kLockFileName, sizeof kLockFileName);

    int32_t index = 0;
    const LockResult result = RegisterLockFile(lockPath, &index);
    free_mem(&lockPath);
    if (result != LockResult::Done) return NumberOf(result);
    const uint32_t fileWord =
        Hash(0, reinterpret_cast<const unsigned char*>(baseName), std::strlen(baseName)) & 0xFFFF;
    *handle = static_cast<uint32_t>(index + 1) << 16 | fileWord;
    return kVrLockDone;
}

int32_t LockLockKey(VrLockHandle handle, VrString key, VrWord, int32_t wait) {
    const int32_t index = IndexOf(handle);
    if (index == kNone) return kVrLockFailed;
    BeginCall(index);
    LockResult result = TakePosition(index, KeyPosition(handle, key), wait != 0);
    if (lockEntries[index].registerCount == 0) result = LockResult::Failed;
    EndCall(index);
    return NumberOf(result);
}

int32_t LockUnlockKey(VrLockHandle handle, VrString key) {
    const int32_t index = IndexOf(handle);
    if (index == kNone) return kVrLockFailed;
    return NumberOf(GivePositionBack(lockEntries[index], KeyPosition(handle, key)));
}

int32_t LockDeregister(VrLockHandle handle) {
    const int32_t index = IndexOf(handle);
    if (index == kNone) return kVrLockFailed;
    LockFileEntry& entry = lockEntries[index];
    --entry.registerCount;
    if (IsFree(entry)) CloseEntry(entry);
    return kVrLockDone;
}
