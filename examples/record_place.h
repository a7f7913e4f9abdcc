// Where a record's file lies, and what else of it lies in its folder. A record is written to a
// temporary file beside it first, whose name is the record's, a dot, a letter and five digits;
// a host that is killed leaves it there.
#ifndef EXAMPLES_RECORD_PLACE_H
#define EXAMPLES_RECORD_PLACE_H

#include <string>
#include <string_view>
#include <vector>

struct RecordPlace {
    std::string folder;  // with its separator
    std::string name;    // as the folder spells it; names are found in any case
    std::vector<std::string> temporaries;
};

// The folder of the path, with its separator, and the name in it.
std::string FolderOf(const std::string& path);
std::string NameIn(const std::string& path);

// The record whose temporary has that name; empty when it is no temporary's name.
std::string_view RecordOfTemporary(std::string_view name);

// Looks through the record's folder.
RecordPlace FindPlace(const std::string& path);

#endif
