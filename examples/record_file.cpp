// Reading a record takes one read into a string of the file's length; writing one
// never touches the file itself until the new bytes are safe on disk.

#include "record_file.h"

#include <cstdio>
#include <string>

#include "platform/files.h"
#include "record_place.h"
#include "shown_text.h"
#include "vr/files.h"
#include "vr/memory.h"

namespace {

constexpr int32_t kReadFlags = kOpenBinary;
constexpr int32_t kWriteFlags = kOpenBinary | kOpenWriteOnly | kOpenCreate | kOpenExclusive;
constexpr int32_t kReadWritePermission = kPermissionRead | kPermissionWrite;

void Complain(const char* path, const char* what) {
    std::fprintf(stderr, "record_host: %s: %s\n", Shown(path, stderr).c_str(), what);
}

bool WriteWhole(int32_t handle, VrString record) {
    return OsWrite(handle, VrStrText(record), static_cast<uint32_t>(record->length)) ==
               record->length &&
           FileCommit(handle) == 0;
}

// One that cannot be deleted is in nobody's way but its own name's.
void DeleteTemporaries(const RecordPlace& place) {
    for (const std::string& name : place.temporaries)
        FileDelete((place.folder + name).c_str());
}

}  // namespace

VrString ReadRecord(const char* path) {
    int32_t handle = -1;
    if (OsOpen(path, kReadFlags, 0, &handle) != 0) {
        Complain(path, "no such record, or it cannot be read");
        return nullptr;
    }
    const int32_t length = OsFileLength(handle);
    if (length < 0 || length > kLongestRecord) {
        OsClose(handle);
        Complain(path, "too long for a record");
        return nullptr;
    }
    VrString record = alloc_string(static_cast<uint32_t>(length));
    const int32_t got = OsRead(handle, VrStrText(record), static_cast<uint32_t>(length));
    OsClose(handle);
    if (got != length) {
        free_mem(&record);
        Complain(path, "cannot be read");
        return nullptr;
    }
    return record;
}

bool WriteRecord(const char* path, VrString record, bool holdsKey) {
    const RecordPlace place = FindPlace(path);
    if (holdsKey) DeleteTemporaries(place);
    std::string newName = place.folder + place.name + ".XXXXXX";
    if (UniqueName(newName.data()) == nullptr) {
        Complain(path, "no free name for the new record");
        return false;
    }
    int32_t handle = -1;
    // FileReplace widens the permissions to the old record's once all is written.
    const int32_t privacy = FileStatus(path) == 0 ? kOpenPrivate : 0;
    if (OsOpen(newName.c_str(), kWriteFlags | privacy, kReadWritePermission, &handle) != 0) {
        Complain(newName.c_str(), "cannot be written");
        return false;
    }
    const bool written = WriteWhole(handle, record);
    OsClose(handle);
    if (written && FileReplace(newName.c_str(), path) == 0) return true;
    FileDelete(newName.c_str());
    Complain(path, "cannot be written; the old record stands");
    return false;
}
