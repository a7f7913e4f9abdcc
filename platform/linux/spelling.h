// The spelling of names on disk.
#ifndef LINUX_SPELLING_H
#define LINUX_SPELLING_H

#include <cstddef>

namespace vrplatform {

// Changes the names after the root to their spelling on disk, in place, up to the first one that is
// not there: names that differ in case alone are equally long. False when the folder cannot be
// read.
bool FindSpelling(char* path, size_t rootLength);

}  // namespace vrplatform

#endif
