// Directory listings: the platform's search, in a record that the caller holds. The
// record begins with the very fields that the platform fills.

#define VR_MODULE "Dir"

#include <cstdio>
#include <cstring>

#include "core/Text.h"
#include "platform/find.h"
#include "vr/files.h"
#include "vr/memory.h"

namespace {

constexpr size_t kPatternSize = 256;

char pattern[kPatternSize];

static_assert(offsetof(DirSearch, searchHandle) == sizeof(FindData));
static_assert(offsetof(DirSearch, name) == offsetof(FindData, name));

FindData* EntryOf(DirSearch* search) {
    return reinterpret_cast<FindData*>(search);
}

bool MakePattern(const char* directory) {
    const size_t length = std::strlen(directory);
    if (length == 0) return false;
    const char* format = directory[length - 1] == '\\' ? "%s*.*" : "%s\\*.*";
    const int wanted = std::snprintf(pattern, sizeof pattern, format, directory);
    return vr::Fits(wanted, sizeof pattern);
}

}  // namespace

const char* DirFirst(const char* directory, DirSearch** search) {
    auto* record = static_cast<DirSearch*>(alloc_memory(sizeof(DirSearch)));
    *search = record;
    record->searchHandle = MakePattern(directory) ? FindFirst(pattern, EntryOf(record)) : -1;
    return record->searchHandle == -1 ? nullptr : record->name;
}

const char* DirNext(DirSearch* search) {
    if (search == nullptr || search->searchHandle == -1) return nullptr;
    return FindNext(search->searchHandle, EntryOf(search)) == 0 ? search->name : nullptr;
}

void DirClose(DirSearch** search) {
    if (*search == nullptr) return;
    if ((*search)->searchHandle != -1) FindClose((*search)->searchHandle);
    free_mem(search);
}
