// The lock manager. A key is a byte position in the empty lock file of its file's
// directory; holding the key is holding that byte. The table has an entry for each
// lock file with the keys that this process holds in it. The lock file's handle is
// pinned in the pool while a key is held, since closing it would drop the locks.
//
// Opening the file may run callbacks of a host, and so may each allocation. They may use the lock
// manager: register files, so that the table moves, take keys of the same entry, or give its last
// registration back. So across such a step an entry is named by its index and read again
// afterwards, and it stays as long as a call uses it.

#define VR_MODULE "Nflock"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "core/Invariant.h"
#include "core/Text.h"
#include "core/vrmem.h"
#include "files/Os_file.h"
#include "platform/files.h"
#include "platform/locks.h"
#include "vr/frame.h"
#include "vr/lock.h"
#include "vr/memory.h"

namespace {

constexpr char kLockFileName[] = "__locks";
// Whoever may write the directory may lock in it, whatever the first host's umask; nobody else can
// block it with locks of his own.
constexpr int32_t kLockFileFlags = kOpenBinary | kOpenReadWrite | kOpenCreate | kOpenLikeFolder;
constexpr int32_t kLockFilePermission = kPermissionRead | kPermissionWrite;
constexpr int32_t kEntriesPerStep = 5;
constexpr int32_t kKeysPerStep = 5;
constexpr int32_t kMostEntries = 0xFFFF;  // as many as the high half of a handle can name
constexpr int32_t kNone = -1;             // no index, no handle
constexpr uint32_t kHashFactor = 31;
constexpr uint32_t kTestPosition = 0;

// The interface's numbers. The negative ones are those of OsOpen.
enum class Result : int32_t {
    Done = 0,
    HeldElsewhere = 1,
    NotGivenBack = 1,  // not held, or the system refused to unlock it
    Failed = -1,
    TooManyOpenFiles = -2,
};

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
    vr::OsPoolHandle pooled;
    int32_t handle;  // while the file is pinned, which a held key and a call may need
};

LockFileEntry* entries = nullptr;
int32_t entryCount = 0;

uint32_t Hash(uint32_t start, const unsigned char* bytes, size_t length) {
    constexpr uint32_t kSquare = kHashFactor * kHashFactor;
    size_t i = 0;
    for (; i + 2 <= length; i += 2)  // two at a step, since each waits for the one before
        start = start * kSquare + (bytes[i] * kHashFactor + bytes[i + 1]);
    if (i != length) start = start * kHashFactor + bytes[i];
    return start;
}

uint32_t KeyPosition(VrLockHandle handle, VrString key) {
    key = vr::OrNullString(key);
    return Hash(handle << 16, VrStrText(key),
                key->length > 0 ? static_cast<size_t>(key->length) : 0);
}

bool IsFree(const LockFileEntry& entry) {
    return entry.registerCount == 0 && entry.calls == 0;
}

// The entry's index, or kNone for a bad handle.
int32_t IndexOf(VrLockHandle handle) {
    const auto index = static_cast<int32_t>(handle >> 16) - 1;
    if (index < 0 || index >= entryCount || entries[index].registerCount == 0) return kNone;
    return index;
}

template <typename T>
T* NewArray(int32_t capacity) {
    return static_cast<T*>(
        alloc_memory(static_cast<uint32_t>(capacity) * static_cast<uint32_t>(sizeof(T))));
}

// Replaces the array by the larger one, unless a callback of its allocation has already replaced it
// by one as large.
template <typename T>
void Replace(T*& array, int32_t& capacity, T* larger, int32_t largerCapacity) {
    if (capacity < largerCapacity) {
        std::copy_n(array, capacity, larger);
        std::swap(array, larger);
        capacity = largerCapacity;
    }
    free_mem(&larger);
}

void GrowTable() {
    const int32_t capacity = entryCount + kEntriesPerStep;
    auto* larger = NewArray<LockFileEntry>(capacity);
    Replace(entries, entryCount, larger, capacity);
}

void GrowKeys(int32_t index) {
    const int32_t capacity = entries[index].keyCapacity + kKeysPerStep;
    auto* larger = NewArray<HeldKey>(capacity);
    Replace(entries[index].keys, entries[index].keyCapacity, larger, capacity);
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
Result ObtainByte(const LockFileEntry& entry, uint32_t position, bool wait) {
    while (!LockByte(entry, position)) {
        if (errno == kErrorInvalid) return Result::Done;
        if (errno != kErrorAccessDenied && errno != kErrorDeadlock) return Result::Failed;
        if (!wait) return Result::HeldElsewhere;
    }
    return Result::Done;
}

// A lock on a file without a name excludes nobody, so the file is created again. While it is pinned
// it stays, since closing it would drop the keys.
Result RenewIfDeleted(int32_t index) {
    const LockFileEntry& entry = entries[index];
    if (entry.handle != kNone || !vr::OsPoolIsDeleted(entry.pooled)) return Result::Done;
    return static_cast<Result>(vr::OsPoolRenew(entry.pooled, kLockFileFlags, kLockFilePermission));
}

Result Pin(int32_t index) {
    const vr::OsPoolHandle pooled = entries[index].pooled;
    int32_t handle = kNone;
    const Result renewed = RenewIfDeleted(index);
    if (renewed != Result::Done) return renewed;
    const auto opened = static_cast<Result>(vr::OsPoolAcquire(pooled, &handle));
    if (opened != Result::Done) return opened;
    if (entries[index].handle == kNone) {
        entries[index].handle = handle;
    } else {
        vr::OsPoolRelease(pooled);  // a callback has pinned it
    }
    return Result::Done;
}

Result Unpin(LockFileEntry& entry) {
    if (entry.handle == kNone) return Result::Done;
    entry.handle = kNone;
    return static_cast<Result>(vr::OsPoolRelease(entry.pooled));
}

Result UnpinIfIdle(LockFileEntry& entry) {
    return entry.heldCount == 0 && entry.calls == 0 ? Unpin(entry) : Result::Done;
}

// Each step that can run callbacks is followed by a fresh look at the entry.
Result TakePosition(int32_t index, uint32_t position, bool wait) {
    for (;;) {
        LockFileEntry& entry = entries[index];
        if (HeldKey* held = FindKey(entry, position)) {
            ++held->count;
            return Result::Done;
        }
        if (entry.heldCount == entry.keyCapacity) {
            GrowKeys(index);
        } else if (entry.handle == kNone) {
            const Result pinned = Pin(index);
            if (pinned != Result::Done) return pinned;
        } else {
            const Result result = ObtainByte(entry, position, wait);
            if (result == Result::Done) AddKey(entry, position);
            return result;
        }
    }
}

// The key leaves the array even when the system refuses to unlock its byte.
Result GivePositionBack(LockFileEntry& entry, uint32_t position) {
    HeldKey* held = FindKey(entry, position);
    if (held == nullptr) return Result::NotGivenBack;
    if (--held->count != 0) return Result::Done;
    std::copy(held + 1, entry.keys + entry.heldCount, held);
    --entry.heldCount;
    const bool unlocked = UnlockByte(entry, position);
    const Result unpinned = UnpinIfIdle(entry);
    return unlocked ? unpinned : Result::NotGivenBack;
}

void CloseEntry(LockFileEntry& entry) {
    for (int32_t i = 0; i < entry.heldCount; ++i)
        UnlockByte(entry, entry.keys[i].position);
    Unpin(entry);
    vr::OsPoolClose(entry.pooled);
    free_mem(&entry.keys);
    entry = {};
}

// Keys are held in the array, taken at least once each, and only while the file is pinned.
bool IsSound(const LockFileEntry& entry) {
    const HeldKey* end = entry.keys + entry.heldCount;
    return entry.heldCount >= 0 && entry.heldCount <= entry.keyCapacity &&
           (entry.heldCount == 0 || entry.handle != kNone) &&
           std::all_of(static_cast<const HeldKey*>(entry.keys), end,
                       [](const HeldKey& held) { return held.count > 0; });
}

// An entry in use by a call stays, even when a callback gives its last registration back.
void BeginCall(int32_t index) {
    ++entries[index].calls;
}

void EndCall(int32_t index) {
    LockFileEntry& entry = entries[index];
    VR_INVARIANT(IsSound(entry));
    --entry.calls;
    if (IsFree(entry)) {
        CloseEntry(entry);
    } else {
        UnpinIfIdle(entry);
    }
}

// Calls in progress never return from the end of the run, so they keep no entry.
void CloseTable() {
    for (int32_t i = 0; i < entryCount; ++i) {
        if (!IsFree(entries[i]) && --entries[i].registerCount <= 0) CloseEntry(entries[i]);
    }
    free_mem(&entries);
    entryCount = 0;
}

bool HasName(const LockFileEntry& entry, const char* lockPath) {
    const char* name = nullptr;
    return vr::OsPoolName(entry.pooled, &name) == 0 && std::strcmp(name, lockPath) == 0;
}

// The entry of that lock file, or the first free one, whichever comes first. kNone when the table
// is full.
int32_t FindOrGrow(const char* lockPath) {
    for (;;) {
        int32_t index = 0;
        while (index < entryCount && !IsFree(entries[index]) && !HasName(entries[index], lockPath))
            ++index;
        if (index == kMostEntries) return kNone;
        if (index < entryCount) return index;
        GrowTable();
    }
}

// Locks and unlocks a byte, to see whether the file can be locked at all.
Result TestLocking(int32_t index) {
    BeginCall(index);
    Result result = TakePosition(index, kTestPosition, false);
    if (result == Result::Done) {
        result = GivePositionBack(entries[index], kTestPosition);
    } else if (result == Result::HeldElsewhere) {
        result = Result::Done;
    }
    EndCall(index);
    return result;
}

Result Join(int32_t index) {
    ++entries[index].registerCount;
    BeginCall(index);
    const Result renewed = RenewIfDeleted(index);
    if (renewed != Result::Done) --entries[index].registerCount;
    EndCall(index);
    return renewed;
}

// Fills a free entry. It stays only if its file can be locked; otherwise the file that the open
// may have made is deleted.
Result FillEntry(int32_t index, vr::OsPoolHandle pooled) {
    entries[index] = {.registerCount = 1,
                      .calls = 0,
                      .heldCount = 0,
                      .keyCapacity = 0,
                      .keys = nullptr,
                      .pooled = pooled,
                      .handle = kNone};
    const Result tested = TestLocking(index);
    if (tested == Result::Done) return tested;
    vr::OsPoolDiscard(entries[index].pooled);
    CloseEntry(entries[index]);
    return tested;
}

// Opens the lock file. The open may run callbacks that register files, so the entry is looked
// for only after it; a callback that registered this very file has made the entry already.
Result OpenEntry(const char* lockPath, int32_t* index) {
    vr::OsPoolHandle pooled = 0;
    const auto opened =
        static_cast<Result>(vr::OsPoolOpen(lockPath, kLockFileFlags, kLockFilePermission, &pooled));
    if (opened != Result::Done) return opened;
    *index = FindOrGrow(lockPath);
    if (*index != kNone && IsFree(entries[*index])) return FillEntry(*index, pooled);
    vr::OsPoolClose(pooled);
    return *index == kNone ? Result::Failed : Join(*index);
}

// Registers one more user of the lock file, and finds its entry.
Result RegisterLockFile(const char* lockPath, int32_t* index) {
    *index = FindOrGrow(lockPath);
    if (*index == kNone) return Result::Failed;
    return IsFree(entries[*index]) ? OpenEntry(lockPath, index) : Join(*index);
}

}  // namespace

int32_t LockInit() {
    VrExitAdd(CloseTable);
    return 0;
}

int32_t LockRegister(const char* path, VrLockHandle* handle) {
    const char* baseName = vr::NameInPath(path);
    const auto directoryLength = static_cast<size_t>(baseName - path);
    auto* lockPath = static_cast<char*>(
        alloc_memory(static_cast<uint32_t>(directoryLength + sizeof kLockFileName)));
    std::memcpy(lockPath, path, directoryLength);
    std::memcpy(lockPath + directoryLength, kLockFileName, sizeof kLockFileName);

    int32_t index = 0;
    const Result result = RegisterLockFile(lockPath, &index);
    free_mem(&lockPath);
    if (result != Result::Done) return static_cast<int32_t>(result);
    const uint32_t fileWord =
        Hash(0, reinterpret_cast<const unsigned char*>(baseName), std::strlen(baseName)) & 0xFFFF;
    *handle = static_cast<uint32_t>(index + 1) << 16 | fileWord;
    return 0;
}

int32_t LockLockKey(VrLockHandle handle, VrString key, VrWord, int32_t wait) {
    const int32_t index = IndexOf(handle);
    if (index == kNone) return static_cast<int32_t>(Result::Failed);
    BeginCall(index);
    Result result = TakePosition(index, KeyPosition(handle, key), wait != 0);
    if (entries[index].registerCount == 0) result = Result::Failed;
    EndCall(index);
    return static_cast<int32_t>(result);
}

int32_t LockUnlockKey(VrLockHandle handle, VrString key) {
    const int32_t index = IndexOf(handle);
    if (index == kNone) return static_cast<int32_t>(Result::Failed);
    return static_cast<int32_t>(GivePositionBack(entries[index], KeyPosition(handle, key)));
}

int32_t LockDeregister(VrLockHandle handle) {
    const int32_t index = IndexOf(handle);
    if (index == kNone) return static_cast<int32_t>(Result::Failed);
    LockFileEntry& entry = entries[index];
    --entry.registerCount;
    if (IsFree(entry)) CloseEntry(entry);
    return 0;
}
