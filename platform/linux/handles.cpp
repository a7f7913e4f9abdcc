// Handles are counted up and never used again, so that a stale one stays bad.

#include "linux/handles.h"

#include <algorithm>
#include <cstdint>
#include <vector>

#include "platform/programs.h"

namespace {

constexpr uintptr_t kFirstHandle = 0x1000;
constexpr uintptr_t kHandleStep = 4;

struct Entry {
    void* handle;
    const HandleKind* kind;
    void* object;
};

std::vector<Entry>& Entries() {
    static auto* entries = new std::vector<Entry>;
    return *entries;
}

std::vector<Entry>::iterator Find(void* handle) {
    return std::ranges::find(Entries(), handle, &Entry::handle);
}

}  // namespace

void* PlatformNewHandle(const HandleKind* kind, void* object) {
    static uintptr_t next = kFirstHandle;
    auto* handle = reinterpret_cast<void*>(next);
    next += kHandleStep;
    Entries().push_back({handle, kind, object});
    return handle;
}

void* PlatformHandleObject(const HandleKind* kind, void* handle) {
    const auto entry = Find(handle);
    return entry == Entries().end() || entry->kind != kind ? nullptr : entry->object;
}

int32_t CloseHandle(void* handle) {
    const auto entry = Find(handle);
    if (entry == Entries().end()) return 0;
    const Entry closed = *entry;
    Entries().erase(entry);
    closed.kind->close(closed.object);
    return 1;
}
