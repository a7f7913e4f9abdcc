// What /proc says of processes and threads, read into buffers of fixed size: it can be
// asked when no memory is left.
#ifndef LINUX_PROC_H
#define LINUX_PROC_H

#include <sys/types.h>

#include <cstddef>
#include <cstdint>

#include "linux/owned.h"
#include "linux/paths.h"

namespace vrplatform {

// A walk through the numbers that name entries of a folder of /proc, in rising order.
class NumberWalk {
public:
    explicit NumberWalk(const char* folder);

    // False after the last one.
    bool Next(uint32_t& number);

private:
    static constexpr size_t kBufferSize = 2048;

    Descriptor folder_;
    size_t place_ = 0;
    size_t filled_ = 0;
    alignas(8) char buffer_[kBufferSize];
};

// Whether the process has ended and only waits to be collected.
bool IsZombie(pid_t process);

// Whether the thread of this process has ended or is past its last step.
bool IsEndingThread(uint32_t thread);

// Whether the number is that of a thread of the kernel and not of a program.
bool IsKernelThread(uint32_t number);

constexpr size_t kProgramNameSize = kHostPathSize + 4;

// The drive path of a program or library, given by its host path. One that no drive path
// can name has its host path with backslashes for separators.
void ProgramName(const char* hostPath, char (&name)[kProgramNameSize]);

// The name of the process's program; false when it may not be read.
bool ProgramOf(uint32_t process, char (&name)[kProgramNameSize]);

}  // namespace vrplatform

#endif
