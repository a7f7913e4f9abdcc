// The path of a record's file, taken apart, and the names of its temporary files.
#ifndef RECORD_NAMES_H
#define RECORD_NAMES_H

#include <cstddef>

#include "vr/files.h"

namespace record {

constexpr size_t kPathSize = 4096;
constexpr size_t kNameSize = sizeof(DirSearch::name);
constexpr char kLockFileName[] = "__locks";  // of the lock manager, in each folder

struct FileName {
    char folder[kPathSize];  // with its separator
    char name[kNameSize];
};

// Takes a path apart; false when it is too long.
[[nodiscard]] bool Split(const char* path, FileName& file);

// Folder and name together, with what is added to the name; false when that is too long.
[[nodiscard]] bool Join(const FileName& file, const char* addition, char (&path)[kPathSize]);

// The length of the record's name in the name of a temporary file, or 0 for any other name.
size_t RecordPartOf(const char* name);

// Calls `use` for each name of a folder. False when there is no such folder.
template <typename Use>
bool ForEachName(const char* folder, Use use) {
    DirSearch* search = nullptr;
    const char* name = DirFirst(folder, &search);
    const bool found = name != nullptr;
    for (; name != nullptr; name = DirNext(search))
        use(*search);
    DirClose(&search);
    return found;
}

}  // namespace record

#endif
