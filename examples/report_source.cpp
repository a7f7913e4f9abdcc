// Finding records only notes where they are; a record is read when it is wanted.

#include "report_source.h"

#include <algorithm>
#include <cstdio>
#include <span>

#include "platform/files.h"
#include "shown_text.h"
#include "vr/files.h"
#include "vr/memory.h"
#include "vr/record.h"

namespace {

constexpr int32_t kReadFlags = kOpenReadOnly | kOpenBinary;
constexpr size_t kChunkSize = 65536;

void Complain(const StoredRecord& record, const char* what) {
    std::fprintf(stderr, "report_host: %s: %s\n", Shown(record.name, stderr).c_str(), what);
}

void Add(const StoredRecord& record, std::vector<StoredRecord>& records) {
    if (record.length <= kVrLongestString) {
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

}  // namespace

// A device or a pipe cannot be positioned, or does not end where its length says.
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
    VrRecordList* list = VrRecordListFolder(path.c_str());
    if (list == nullptr) return false;
    for (const VrRecordEntry& entry : std::span(list->entries, static_cast<size_t>(list->count)))
        Add({entry.name, path + "\\" + entry.name, 0, entry.length}, records);
    VrRecordListFree(list);
    return true;
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
