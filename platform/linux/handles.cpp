// Handles are counted up and never used again, so that a stale one stays bad. They are a linked
// list, so that a new one allocates its own memory and moves no other.

#include "linux/handles.h"

#include <cstdint>
#include <new>

#include "platform/programs.h"

namespace vrplatform {

namespace {

constexpr uintptr_t kFirstHandle = 0x1000;
constexpr uintptr_t kHandleStep = 4;

struct Entry {
    void* handle;
    const HandleKind* kind;
    void* object;
    Entry* next;
};

Entry* first = nullptr;

// The link that leads to the handle's entry, or the empty one at the end.
Entry** Find(void* handle) {
    Entry** link = &first;
    while (*link != nullptr && (*link)->handle != handle)
        link = &(*link)->next;
    return link;
}

}  // namespace

}  // namespace vrplatform

using namespace vrplatform;

void* PlatformNewHandle(const HandleKind* kind, void* object) {
    static uintptr_t next = kFirstHandle;
    if (object == nullptr) return nullptr;
    auto* handle = reinterpret_cast<void*>(next);
    auto* entry = new (std::nothrow) Entry{handle, kind, object, first};
    if (entry == nullptr) {
        kind->close(object);
        return nullptr;
    }
    first = entry;
    next += kHandleStep;
    return handle;
}

void* PlatformHandleObject(const HandleKind* kind, void* handle) {
    const Entry* entry = *Find(handle);
    return entry == nullptr || entry->kind != kind ? nullptr : entry->object;
}

int32_t CloseHandle(void* handle) {
    Entry** link = Find(handle);
    if (*link == nullptr) return 0;
    const Entry closed = **link;
    delete *link;
    *link = closed.next;
    closed.kind->close(closed.object);
    return 1;
}
