// Records as they lie on disk: one a line of a file, or one a file of a folder.
#ifndef EXAMPLES_REPORT_SOURCE_H
#define EXAMPLES_REPORT_SOURCE_H

#include <cstdint>
#include <string>
#include <vector>

#include "vr/string.h"

// Whether the open file is one whose bytes end, and can be read in any order: no device or
// pipe, and none of 2 GiB or more. Its position is then the start.
bool IsPlainFile(int32_t handle);

struct StoredRecord {
    std::string name;  // the line's number, or the file's name
    std::string path;
    int32_t offset;  // of its first byte in the file
    int32_t length;
};

// The records at the path, in the order of their lines or names; of a folder without the lock
// file, and without temporary files beside their record. One that is too long for the library
// is left out, with a message on standard error. False when there is neither a
// folder nor a plain file of less than 2 GiB.
bool FindRecords(const std::string& path, std::vector<StoredRecord>& records);

// Reads a record; a new string that the caller frees. One that cannot be read completely is empty,
// after a message on standard error.
VrString LoadRecord(const StoredRecord& record);

#endif
