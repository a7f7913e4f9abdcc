// Stored records: one record a file, its bytes as they are.
#ifndef EXAMPLES_RECORD_FILE_H
#define EXAMPLES_RECORD_FILE_H

#include "vr/string.h"

// The longest record that the library can hold with its room to grow.
constexpr int32_t kLongestRecord = kVrLongestString;

// The record as a new string, or null after a message on standard error.
VrString ReadRecord(const char* path);

// Puts the record in the place of the file in one step: it is written under a new
// name first, so that whoever reads finds the old record or the new one, whole.
// False after a message on standard error; the old record then stands. With `holdsKey`
// the temporary files that killed hosts left of the record are deleted before: the caller
// holds the record's key, so nobody else is writing it.
bool WriteRecord(const char* path, VrString record, bool holdsKey = false);

#endif
