// The library "kernel32": snapshots of the running processes.

#include <cstring>
#include <memory>
#include <vector>

#include "linux/handles.h"
#include "linux/proc.h"
#include "linux/shortage.h"
#include "platform/processlist.h"

static_assert(sizeof(ProcessEntry32) == 296);

namespace vrplatform {

namespace {

struct Snapshot {
    std::vector<uint32_t> numbers;
    size_t next;
};

constexpr HandleKind kSnapshotKind = {
    [](void* object) { delete static_cast<Snapshot*>(object); },
};

constexpr char kUnknown[] = "unknown";

Snapshot* NewSnapshot() {
    auto snapshot = std::make_unique<Snapshot>();
    NumberWalk all("/proc");
    for (uint32_t number = 0; all.Next(number);) {
        if (!IsKernelThread(number)) snapshot->numbers.push_back(number);
    }
    return snapshot.release();
}

}  // namespace

}  // namespace vrplatform

using namespace vrplatform;

PLATFORM_BEGIN

PLATFORM_API void* CreateToolhelp32Snapshot(uint32_t, uint32_t) {
    return PlatformNewHandle(&kSnapshotKind, UnlessShort<Snapshot*>(nullptr, NewSnapshot));
}

PLATFORM_API int32_t Process32Next(void* handle, ProcessEntry32* entry) {
    auto* snapshot = static_cast<Snapshot*>(PlatformHandleObject(&kSnapshotKind, handle));
    if (snapshot == nullptr || entry->size != sizeof *entry) return 0;
    if (snapshot->next == snapshot->numbers.size()) return 0;
    const uint32_t number = snapshot->numbers[snapshot->next++];
    char program[kProgramNameSize];
    const bool known = ProgramOf(number, program);
    *entry = {};
    entry->size = sizeof *entry;
    entry->processNumber = number;
    const char* path = known ? program : kUnknown;
    std::memcpy(entry->path, path, strnlen(path, sizeof entry->path - 1));
    return 1;
}

PLATFORM_API int32_t Process32First(void* handle, ProcessEntry32* entry) {
    auto* snapshot = static_cast<Snapshot*>(PlatformHandleObject(&kSnapshotKind, handle));
    if (snapshot != nullptr) snapshot->next = 0;
    return Process32Next(handle, entry);
}

PLATFORM_END
