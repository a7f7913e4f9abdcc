// The dictionary of a file: which attribute a field name stands for, and how it is
// shown.
#ifndef EXAMPLES_REPORT_DICTIONARY_H
#define EXAMPLES_REPORT_DICTIONARY_H

#include <string>
#include <vector>

struct Field {
    int32_t name;  // a quark
    int32_t attribute;
    bool isDate;  // an internal date, to be written out
};

// Reads lines of `NAME ATTRIBUTE [date]`; each other line that is not empty is reported on
// standard error. False when there is no such file, or it is not a plain one.
bool ReadDictionary(const std::string& path, std::vector<Field>& fields);

// The field of that name, or null.
const Field* FindField(const std::vector<Field>& fields, const char* name);

#endif
