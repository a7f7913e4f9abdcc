// The first word of a command line, looked for in the host's places.
#ifndef PROCESS_SYSTEM_WORD_H
#define PROCESS_SYSTEM_WORD_H

namespace vr {

// The line with its first word replaced by the path of the file of that name: in the folder of the
// host's module, the current directory or the product's bin. The line itself when there is none.
// The result is in MemBuf4.
const char* ResolveFirstWord(const char* line);

}  // namespace vr

#endif
