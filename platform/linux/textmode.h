// The translation of line ends, for files in text mode.
#ifndef LINUX_TEXTMODE_H
#define LINUX_TEXTMODE_H

#include <sys/types.h>

#include <cstddef>

#include "linux/files.h"

namespace vrplatform {

// Both work at the descriptor's position, without a buffer of their own: a handle's position
// is always the descriptor's. Results as of FileRead and FileWrite.
ssize_t ReadText(OpenFile& file, char* buffer, size_t count);
ssize_t WriteText(const OpenFile& file, const char* text, size_t count);

}  // namespace vrplatform

#endif
