// The names are collected first and then sorted, so that the record of each temporary file can be
// found by binary search.

#define VR_MODULE "Record"
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <span>
#include <string_view>

#include "names.h"
#include "platform/find.h"
#include "vr/memory.h"
#include "vr/record.h"

namespace {

constexpr int32_t kFirstRoom = 64;  // entries
constexpr int32_t kLeftOut = -1;    // the length of one that is not listed
constexpr char kLockFileName[] = "__locks";

VrRecordList* NewList() {
    auto* list = static_cast<VrRecordList*>(alloc_memory(sizeof(VrRecordList)));
    list->names = vrHeapCreate();
    return list;
}

// Room is made whenever the count reaches a power of two.
void Add(VrRecordList& list, const DirSearch& found) {
    const bool isFull =
        list.count == 0 || (list.count >= kFirstRoom && (list.count & (list.count - 1)) == 0);
    if (isFull) {
        const auto room = static_cast<uint32_t>(std::max(2 * list.count, kFirstRoom));
        list.entries =
            static_cast<VrRecordEntry*>(realloc_mem(list.entries, room * sizeof(VrRecordEntry)));
    }
    const auto length = static_cast<int32_t>(std::min<uint32_t>(found.size, INT32_MAX));
    list.entries[list.count++] = {vrHeapWriteStr(list.names, found.name), length};
}

bool IsBefore(const VrRecordEntry& entry, std::string_view name) {
    return std::string_view(entry.name) < name;
}

// Whether it is a temporary file that a killed host left, of a record that lies beside it.
bool IsLeftOver(const VrRecordList& list, const char* name) {
    const std::string_view record(name, record::RecordPartOf(name));
    if (record.empty()) return false;
    const std::span<const VrRecordEntry> entries(list.entries, static_cast<size_t>(list.count));
    const auto at = std::lower_bound(entries.begin(), entries.end(), record, IsBefore);
    return at != entries.end() && at->name == record;
}

void Sort(VrRecordList& list) {
    std::sort(list.entries, list.entries + list.count,
              [](const VrRecordEntry& a, const VrRecordEntry& b) {
                  return std::strcmp(a.name, b.name) < 0;
              });
}

void LeaveOut(VrRecordList& list) {
    VrRecordEntry* end = list.entries + list.count;
    for (VrRecordEntry* entry = list.entries; entry != end; ++entry) {
        const bool isLockFile = std::strcmp(entry->name, kLockFileName) == 0;
        if (isLockFile || IsLeftOver(list, entry->name)) entry->length = kLeftOut;
    }
    end = std::remove_if(list.entries, end,
                         [](const VrRecordEntry& entry) { return entry.length == kLeftOut; });
    list.count = static_cast<int32_t>(end - list.entries);
}

}  // namespace

VrRecordList* VrRecordListFolder(const char* folder) {
    VrRecordList* list = NewList();
    const bool found = record::ForEachName(folder, [&](const DirSearch& entry) {
        if ((entry.attributes & kFindDirectory) == 0) Add(*list, entry);
    });
    if (!found) {
        VrRecordListFree(list);
        return nullptr;
    }
    Sort(*list);
    LeaveOut(*list);
    return list;
}

void VrRecordListFree(VrRecordList* list) {
    if (list == nullptr) return;
    vrHeapDestroy(list->names);
    free_mem(&list->entries);
    free_mem(&list);
}
