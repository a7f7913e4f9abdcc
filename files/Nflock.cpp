// The lock manager. A key is a byte position in the empty lock file of its file's
// directory; holding the key is holding that byte. The table has an entry for each
// lock file with the keys that this process holds in it. The lock file's handle is
// pinned in the pool while a key is held, since closing it would drop the locks.

#define VR_MODULE "Nflock"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "core/vrmem.h"
#include "files/Os_file.h"
#include "platform/files.h"
#include "platform/locks.h"
#include "text/Util_text.h"
#include "vr/frame.h"
#include "vr/lock.h"
#include "vr/memory.h"

namespace {

constexpr char kLockFileName[] = "__locks";
constexpr int32_t kLockFileFlags = kOpenBinary | kOpenReadWrite | kOpenCreate;
constexpr int32_t kLockFilePermission = kPermissionRead | kPermissionWrite;
constexpr int32_t kEntriesPerStep = 5;
constexpr int32_t kKeysPerStep = 5;
constexpr int32_t kMostEntries = 0xFFFF;  // that the high half of a handle can name
constexpr int32_t kTableFull = -1;
constexpr int32_t kNoHandle = -1;
constexpr uint32_t kHashFactor = 31;
constexpr uint32_t kTestPosition = 0;
constexpr int32_t kHeldElsewhere = 1;

struct HeldKey {
    uint32_t position;
    int32_t count;  // takes not yet given back
};

struct LockFileEntry {
    int32_t registerCount;  // 0 marks a free entry
    int32_t heldCount;
    int32_t keyCapacity;
    HeldKey* keys;  // in the order in which they were taken
    vr::OsPoolHandle pooled;
    int32_t handle;  // while a key is held
};

LockFileEntry* entries = nullptr;
int32_t entryCount = 0;

uint32_t Hash(uint32_t start, const unsigned char* bytes, size_t length) {
    for (size_t i = 0; i < length; ++i)
        start = start * kHashFactor + bytes[i];
    return start;
}

uint32_t KeyPosition(VrLockHandle handle, VrString key) {
    key = vr::OrNullString(key);
    return Hash(handle << 16, VrStrText(key),
                key->length > 0 ? static_cast<size_t>(key->length) : 0);
}

constexpr int32_t kBadHandle = -1;

// The entry's index, or kBadHandle.
int32_t IndexOf(VrLockHandle handle) {
    const auto index = static_cast<int32_t>(handle >> 16) - 1;
    if (index < 0 || index >= entryCount || entries[index].registerCount == 0) return kBadHandle;
    return index;
}

// Makes room for `step` more zeroed elements.
template <typename T>
void Grow(T*& array, int32_t& capacity, int32_t step) {
    const auto size = static_cast<uint32_t>(capacity + step) * static_cast<uint32_t>(sizeof(T));
    array = static_cast<T*>(array == nullptr ? alloc_memory(size) : realloc_mem(array, size));
    capacity += step;
}

HeldKey* FindKey(LockFileEntry& entry, uint32_t position) {
    HeldKey* end = entry.keys + entry.heldCount;
    HeldKey* key = std::find_if(
        entry.keys, end, [position](const HeldKey& held) { return held.position == position; });
    return key == end ? nullptr : key;
}

int32_t Release(LockFileEntry& entry) {
    entry.handle = kNoHandle;
    return vr::OsPoolRelease(entry.pooled);
}

bool LockByte(const LockFileEntry& entry, uint32_t position) {
    return LockFile(FileSystemHandle(entry.handle), position, 0, 1, 0) != 0;
}

bool UnlockByte(const LockFileEntry& entry, uint32_t position) {
    return UnlockFile(FileSystemHandle(entry.handle), position, 0, 1, 0) != 0;
}

// 0 when the byte is locked, or the file system has no locks; 1 when somebody else
// has it and the caller does not wait; -1 otherwise.
int32_t ObtainByte(const LockFileEntry& entry, uint32_t position, bool wait) {
    while (!LockByte(entry, position)) {
        if (errno == kErrorInvalid) return 0;
        if (errno != kErrorAccessDenied && errno != kErrorDeadlock) return -1;
        if (!wait) return kHeldElsewhere;
    }
    return 0;
}

// The file is pinned while a key is held. To open it again may run callbacks of a host,
// which may register files, so that the table moves, or take keys of this one.
int32_t Pin(int32_t index) {
    if (entries[index].heldCount != 0) return 0;
    int32_t handle = kNoHandle;
    const int32_t pinned = vr::OsPoolAcquire(entries[index].pooled, &handle);
    if (pinned != 0) return pinned;
    if (entries[index].heldCount != 0) return vr::OsPoolRelease(entries[index].pooled);
    entries[index].handle = handle;
    return 0;
}

int32_t TakePosition(int32_t index, uint32_t position, bool wait) {
    const int32_t pinned = Pin(index);
    if (pinned != 0) return pinned;
    LockFileEntry& entry = entries[index];
    if (HeldKey* held = FindKey(entry, position)) {
        ++held->count;
        return 0;
    }
    if (entry.heldCount == entry.keyCapacity) Grow(entry.keys, entry.keyCapacity, kKeysPerStep);
    const int32_t result = ObtainByte(entry, position, wait);
    if (result == 0) {
        entry.keys[entry.heldCount++] = {position, 1};
    } else if (entry.heldCount == 0) {
        Release(entry);
    }
    return result;
}

// The key leaves the array even when the system refuses to unlock its byte.
int32_t GivePositionBack(LockFileEntry& entry, uint32_t position) {
    HeldKey* held = FindKey(entry, position);
    if (held == nullptr) return 1;
    if (--held->count != 0) return 0;
    std::copy(held + 1, entry.keys + entry.heldCount, held);
    --entry.heldCount;
    const bool unlocked = UnlockByte(entry, position);
    const int32_t released = entry.heldCount == 0 ? Release(entry) : 0;
    return unlocked ? released : 1;
}

void CloseEntry(LockFileEntry& entry) {
    if (--entry.registerCount > 0) return;
    for (int32_t i = 0; i < entry.heldCount; ++i)
        UnlockByte(entry, entry.keys[i].position);
    if (entry.heldCount != 0) Release(entry);
    entry.heldCount = 0;
    entry.keyCapacity = 0;
    free_mem(&entry.keys);
    vr::OsPoolClose(entry.pooled);
}

void CloseTable() {
    for (int32_t i = 0; i < entryCount; ++i) {
        if (entries[i].registerCount != 0) CloseEntry(entries[i]);
    }
    free_mem(&entries);
    entryCount = 0;
}

bool HasName(const LockFileEntry& entry, const char* lockPath) {
    const char* name = nullptr;
    return vr::OsPoolName(entry.pooled, &name) == 0 && std::strcmp(name, lockPath) == 0;
}

// The entry of that lock file, or the first free one: the search goes no further.
int32_t FindOrGrow(const char* lockPath) {
    int32_t index = 0;
    while (index < entryCount && entries[index].registerCount != 0 &&
           !HasName(entries[index], lockPath)) {
        ++index;
    }
    if (index == kMostEntries) return kTableFull;
    if (index == entryCount) Grow(entries, entryCount, kEntriesPerStep);
    return index;
}

// Tells by taking a byte and giving it back whether the file can be locked at all.
int32_t TestLocking(int32_t index) {
    const int32_t taken = TakePosition(index, kTestPosition, false);
    if (taken == kHeldElsewhere) return 0;
    return taken == 0 ? GivePositionBack(entries[index], kTestPosition) : taken;
}

void Discard(LockFileEntry& entry, const char* lockPath) {
    vr::OsPoolClose(entry.pooled);
    free_mem(&entry.keys);
    entry.registerCount = 0;
    FileDelete(lockPath);
}

bool IsFree(int32_t index) {
    return index != kTableFull && entries[index].registerCount == 0;
}

int32_t Join(int32_t index) {
    if (index == kTableFull) return kTableFull;
    ++entries[index].registerCount;
    return 0;
}

// The open may run callbacks that register files, this one's directory too, so the entry
// is looked for again behind it.
int32_t OpenEntry(const char* lockPath, int32_t* index) {
    vr::OsPoolHandle pooled = 0;
    const int32_t opened = vr::OsPoolOpen(lockPath, kLockFileFlags, kLockFilePermission, &pooled);
    if (opened != 0) return opened;
    *index = FindOrGrow(lockPath);
    if (!IsFree(*index)) {
        vr::OsPoolClose(pooled);
        return Join(*index);
    }
    entries[*index] = {1, 0, 0, nullptr, pooled, kNoHandle};
    const int32_t tested = TestLocking(*index);
    if (tested != 0) Discard(entries[*index], lockPath);
    return tested;
}

int32_t RegisterLockFile(const char* lockPath, int32_t* index) {
    *index = FindOrGrow(lockPath);
    return IsFree(*index) ? OpenEntry(lockPath, index) : Join(*index);
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
    const int32_t result = RegisterLockFile(lockPath, &index);
    free_mem(&lockPath);
    if (result != 0) return result;
    const uint32_t fileWord =
        Hash(0, reinterpret_cast<const unsigned char*>(baseName), std::strlen(baseName)) & 0xFFFF;
    *handle = static_cast<uint32_t>(index + 1) << 16 | fileWord;
    return 0;
}

int32_t LockLockKey(VrLockHandle handle, VrString key, VrWord, int32_t wait) {
    const int32_t index = IndexOf(handle);
    if (index == kBadHandle) return -1;
    ++entries[index].registerCount;  // a callback may deregister the file meanwhile
    const int32_t result = TakePosition(index, KeyPosition(handle, key), wait != 0);
    CloseEntry(entries[index]);
    return IsFree(index) ? -1 : result;
}

int32_t LockUnlockKey(VrLockHandle handle, VrString key) {
    const int32_t index = IndexOf(handle);
    if (index == kBadHandle) return -1;
    return GivePositionBack(entries[index], KeyPosition(handle, key));
}

int32_t LockDeregister(VrLockHandle handle) {
    const int32_t index = IndexOf(handle);
    if (index == kBadHandle) return -1;
    CloseEntry(entries[index]);
    return 0;
}
