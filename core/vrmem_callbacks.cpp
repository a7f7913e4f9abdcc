// The callback lists: routines to call when memory is short, when the run ends for lack of it, or
// when too many files are open. Each kind has ten slots, and an empty slot is one without a
// routine, so the lists need no start-up. A routine that runs short itself is not called again
// before it has returned, since that might never end; the others of its kind are called.

#include "core/vrmem.h"

namespace {

struct Slot {
    MemCallback routine;
    VrWord data;
    bool isRunning;  // a routine of this slot was called and has not returned
};

using Slots = Slot[kVrCallbackSlots];

Slots lists[kVrCallbackKinds];

bool IsKind(int32_t kind) {
    return kind >= 0 && kind < kVrCallbackKinds;
}

Slot* FindSlot(Slots& slots, MemCallback routine, VrWord data) {
    for (Slot& slot : slots) {
        if (slot.routine == routine && slot.data == data) return &slot;
    }
    return nullptr;
}

void Fill(Slot& slot, MemCallback routine, VrWord data) {
    slot.routine = routine;
    slot.data = data;
}

}  // namespace

void vr::RaiseCallbacks(int32_t kind) {
    for (Slot& slot : lists[kind]) {
        if (slot.routine == nullptr || slot.isRunning) continue;
        slot.isRunning = true;
        slot.routine(slot.data, 0);
        slot.isRunning = false;
    }
}

int32_t MemAddCallback(int32_t kind, MemCallback routine, VrWord data) {
    if (!IsKind(kind)) return -1;
    if (routine == nullptr) return 1;
    if (Slot* empty = FindSlot(lists[kind], nullptr, 0)) Fill(*empty, routine, data);
    return 1;
}

int32_t MemRemoveCallback(int32_t kind, MemCallback routine, VrWord data) {
    if (!IsKind(kind)) return -1;
    if (Slot* slot = FindSlot(lists[kind], routine, data)) Fill(*slot, nullptr, 0);
    return 1;
}

int32_t MemCallCallbacks(int32_t kind, VrWord value) {
    if (!IsKind(kind)) return -1;
    for (const Slot& slot : lists[kind]) {
        if (slot.routine != nullptr) slot.routine(slot.data, value);
    }
    return 1;
}
