// Finding records notes where they are and reads none of them into memory for good; one
// is loaded when it is wanted.

#include "report_source.h"

#include <algorithm>
#include <cstdio>

#include "platform/files.h"
#include "record_file.h"
#include "record_place.h"
#include "shown_text.h"
#include "vr/files.h"
#include "vr/memory.h"

namespace {

constexpr int32_t kReadFlags = kOpenReadOnly | kOpenBinary;
constexpr size_t kChunkSize = 65536;
constexpr char kLockFileName[] = "__locks";

void Complain(const StoredRecord& record, const char* what) {
    std::fprintf(stderr, "report_host: %s: %s\n", Shown(record.name, stderr).c_str(), what);
}

void Add(const StoredRecord& record, std::vector<StoredRecord>& records) {
    if (record.length <= kLongestRecord) {
        records.push_back(record);
    } else {
        Complain(record, "too long for a record");
    }
}

void FindLines(const std::string& path, int32_t handle, std::vector<StoredRecord>& records) {
    std::vector<char> chunk(kChunkSize);
    int32_t line = 0;
    int32_t start = 0;
    int32_t offset = 0;
    const auto add = [&](int32_t end) {
        Add({std::to_string(++line), path, start, end - start}, records);
        start = end + 1;
    };
    for (int32_t got = 0; (got = OsRead(handle, chunk.data(), kChunkSize)) > 0; offset += got) {
        for (int32_t i = 0; i < got; ++i) {
            if (chunk[static_cast<size_t>(i)] == '\n') add(offset + i);
        }
    }
    if (offset > start) add(offset);  // a last line without its end
}

std::vector<StoredRecord> FilesIn(const std::string& folder, DirSearch* search, const char* name) {
    std::vector<StoredRecord> files;
    for (; name != nullptr; name = DirNext(search)) {
        if ((search->attributes & kFindDirectory) != 0) continue;
        const auto length = static_cast<int32_t>(std::min(search->size, uint32_t{INT32_MAX}));
        files.push_back({name, folder + "\\" + name, 0, length});
    }
    std::ranges::sort(files, {}, &StoredRecord::name);
    return files;
}

// The lock file is no record, nor is what a killed host left of one that lies beside it.
void AddRecords(const std::vector<StoredRecord>& files, std::vector<StoredRecord>& records) {
    for (const StoredRecord& file : files) {
        const std::string_view record = RecordOfTemporary(file.name);
        const bool isLeft = std::ranges::binary_search(files, record, {}, &StoredRecord::name);
        if (!isLeft && file.name != kLockFileName) Add(file, records);
    }
}

}  // namespace

// A device or a pipe cannot be moved in, or does not end where its length says.
bool IsPlainFile(int32_t handle) {
    const int32_t length = OsFileLength(handle);
    return length >= 0 && OsLseek(handle, 1, kSeekStart) == 1 &&
           OsLseek(handle, 0, kSeekEnd) == length && OsLseek(handle, 0, kSeekStart) == 0;
}

bool FindRecords(const std::string& path, std::vector<StoredRecord>& records) {
    int32_t handle = -1;
    if (OsOpen(path.c_str(), kReadFlags, 0, &handle) == 0) {
        const bool isPlain = IsPlainFile(handle);
        if (isPlain) FindLines(path, handle, records);
        OsClose(handle);
        return isPlain;
    }
    DirSearch* search = nullptr;
    const char* name = DirFirst(path.c_str(), &search);
    const bool found = name != nullptr;
    AddRecords(FilesIn(path, search, name), records);
    DirClose(&search);
    return found;
}

VrString LoadRecord(const StoredRecord& record) {
    VrString s = alloc_string(static_cast<uint32_t>(record.length));
    int32_t handle = -1;
    const bool whole =
        OsOpen(record.path.c_str(), kReadFlags, 0, &handle) == 0 &&
        OsLseek(handle, record.offset, kSeekStart) == record.offset &&
        OsRead(handle, VrStrText(s), static_cast<uint32_t>(record.length)) == record.length;
    if (handle != -1) OsClose(handle);
    if (whole) return s;
    free_mem(&s);
    Complain(record, "cannot be read");
    return StrToVrStr(nullptr);
}
