// A record as a row of comma-separated values: its key, then its attributes. Within an attribute
// the marks of values and subvalues are written as two characters that its text must not hold.
#ifndef EXAMPLES_CSV_RECORD_H
#define EXAMPLES_CSV_RECORD_H

#include <string>
#include <string_view>
#include <vector>

#include "vr/owned.hpp"

struct MarkCharacters {
    char value = ']';
    char subvalue = '\\';
};

// Why the record has no row from which it can be restored to the byte; null when it has one.
const char* WhyNoRow(std::string_view record, MarkCharacters marks);

// The row, without its line end.
std::string RowOf(std::string_view key, std::string_view record, MarkCharacters marks);

// Why the row cannot be stored as a record of a folder; null when it can.
const char* WhyNoRecord(const std::vector<std::string>& row);

vr::String RecordOf(const std::vector<std::string>& row, MarkCharacters marks);

#endif
