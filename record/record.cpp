// Reading takes one read into a string of the file's length. Writing never touches the file
// itself until the new bytes are safe on disk.

#define VR_MODULE "Record"
#include "vr/record.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "names.h"
#include "platform/files.h"
#include "platform/text.h"
#include "vr/memory.h"

namespace {

using record::FileName;
using record::kPathSize;

constexpr int32_t kWriteFlags = kOpenBinary | kOpenWriteOnly | kOpenCreate | kOpenExclusive;

// A device or a pipe cannot be positioned, or does not end where its length says.
bool IsPlain(int32_t handle, int32_t length) {
    return length >= 0 && OsLseek(handle, 1, kSeekStart) == 1 &&
           OsLseek(handle, 0, kSeekEnd) == length && OsLseek(handle, 0, kSeekStart) == 0;
}

int32_t ReadOpen(int32_t handle, int32_t limit, VrString* read) {
    const int32_t length = OsFileLength(handle);
    if (!IsPlain(handle, length)) return kVrRecordNotPlain;
    if (length > limit) return kVrRecordTooLong;
    VrString s = alloc_string(static_cast<uint32_t>(length));
    if (OsRead(handle, VrStrText(s), static_cast<uint32_t>(length)) != length) {
        free_mem(&s);
        return kVrRecordNotReadable;
    }
    *read = s;
    return kVrRecordDone;
}

// The exact name counts; without it the first that fits in another case.
void TakeSpelling(FileName& file) {
    char fitting[record::kNameSize] = "";
    bool isExact = false;
    record::ForEachName(file.folder, [&](const DirSearch& found) {
        isExact = isExact || std::strcmp(found.name, file.name) == 0;
        if (fitting[0] == '\0' && lstrcmpiA(found.name, file.name) == 0)
            std::strcpy(fitting, found.name);
    });
    if (!isExact && fitting[0] != '\0') std::strcpy(file.name, fitting);
}

// One that cannot be deleted only keeps its name taken.
void DeleteTemporaries(const FileName& file) {
    record::ForEachName(file.folder, [&](const DirSearch& found) {
        const size_t length = record::RecordPartOf(found.name);
        if (length == 0 || length != std::strlen(file.name)) return;
        if (std::memcmp(found.name, file.name, length) != 0) return;
        FileName temporary = file;
        std::strcpy(temporary.name, found.name);
        char path[kPathSize];
        if (record::Join(temporary, "", path)) FileDelete(path);
    });
}

bool WriteWhole(int32_t handle, VrString s) {
    const auto length = static_cast<uint32_t>(s->length);
    return OsWrite(handle, VrStrText(s), length) == s->length && FileCommit(handle) == 0;
}

// FileReplace widens the permissions to the old record's once all is written.
bool WriteTemporary(const char* path, VrString s, bool isPrivate) {
    int32_t handle = -1;
    const int32_t flags = kWriteFlags | (isPrivate ? kOpenPrivate : 0);
    if (OsOpen(path, flags, kPermissionRead | kPermissionWrite, &handle) != 0) return false;
    const bool isWritten = WriteWhole(handle, s);
    OsClose(handle);
    return isWritten;
}

const char* MeaningOf(int32_t result) {
    switch (result) {
        case kVrRecordDone:
            return "done";
        case kVrRecordHeldElsewhere:
            return "another process holds the key";
        case kVrRecordAbsent:
            return "no such record";
        case kVrRecordNotReadable:
            return "cannot be read";
        case kVrRecordNotPlain:
            return "no plain file of less than 2 GiB";
        case kVrRecordTooLong:
            return "too long for a record";
        case kVrRecordNotLockable:
            return "its folder cannot be locked in";
        case kVrRecordNoTemporaryName:
            return "no free name for the new record";
        case kVrRecordNotWritten:
            return "cannot be written; the old record stands";
        case kVrRecordPathTooLong:
            return "the name is too long";
        default:
            return "unknown result";
    }
}

// A refusal comes from the rights of the lock file, or of the folder where one cannot be made.
void AddOwner(const char* path, char* text, size_t size) {
    FileName file;
    char lockFile[kPathSize];
    char owner[100];
    if (!record::Split(path, file)) return;
    std::strcpy(file.name, record::kLockFileName);
    const size_t length = std::strlen(text);
    if (record::Join(file, "", lockFile) && FileOwnership(lockFile, owner, sizeof owner) == 0) {
        std::snprintf(text + length, size - length, ": %s belongs to %s", record::kLockFileName,
                      owner);
    } else if (FileOwnership(file.folder, owner, sizeof owner) == 0) {
        std::snprintf(text + length, size - length, ": the folder belongs to %s", owner);
    }
}

}  // namespace

int32_t VrRecordRead(const char* path, int32_t limit, VrString* record) {
    *record = nullptr;
    if (limit <= 0 || limit > kVrLongestString) limit = kVrLongestString;
    int32_t handle = -1;
    if (OsOpen(path, kOpenBinary, 0, &handle) != 0) {
        return errno == ENOENT ? kVrRecordAbsent : kVrRecordNotReadable;
    }
    const int32_t result = ReadOpen(handle, limit, record);
    OsClose(handle);
    return result;
}

int32_t VrRecordReplace(const char* path, VrString record, const VrRecordKey* held) {
    FileName file;
    char temporary[kPathSize];
    if (!record::Split(path, file)) return kVrRecordPathTooLong;
    TakeSpelling(file);
    if (held != nullptr && held->isRecords != 0) DeleteTemporaries(file);
    if (!record::Join(file, ".XXXXXX", temporary)) return kVrRecordPathTooLong;
    if (UniqueName(temporary) == nullptr) return kVrRecordNoTemporaryName;
    if (WriteTemporary(temporary, record, FileStatus(path) == 0) &&
        FileReplace(temporary, path) == 0) {
        return kVrRecordDone;
    }
    FileDelete(temporary);
    return kVrRecordNotWritten;
}

void VrRecordExplain(int32_t result, const char* path, char* text, int32_t size) {
    if (size <= 0) return;
    const auto room = static_cast<size_t>(size);
    std::snprintf(text, room, "%s", MeaningOf(result));
    if (result == kVrRecordNotLockable) AddOwner(path, text, room);
}
