// Records as they lie on disk: one a line of a file, or one a file of a folder.
#ifndef EXAMPLES_REPORT_SOURCE_H
#define EXAMPLES_REPORT_SOURCE_H

#include <cstdint>
#include <string>
#include <vector>

#include "vr/string.h"

struct StoredRecord {
    std::string name;  // the line's number, or the file's name
    std::string path;
    int32_t offset;  // of its first byte in the file
    int32_t length;
};

// The records at the path, in the order of their lines or names; of a folder without the lock
// file, and without temporary files beside their record. One that is too long for the library
// is left out, with a message on standard error. False when there is neither a
// folder nor a file of less than 2 GiB.
bool FindRecords(const std::string& path, std::vector<StoredRecord>& records);

// Reads a record; a new string that the caller frees. One that cannot be read, or not
// whole, comes empty, after a message on standard error.
VrString LoadRecord(const StoredRecord& record);

#endif
