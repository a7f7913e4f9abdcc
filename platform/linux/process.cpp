// The end of a process or a thread. Ending a thread unwinds its stack through
// whatever called here, so nothing in the library may be noexcept.

#include "platform/process.h"

#include <execinfo.h>
#include <pthread.h>

#include <cstdlib>

#include "linux/proc.h"
#include "linux/reaper.h"

namespace vrplatform {

namespace {

// Ending a thread needs the unwinder, which the C library loads at first use; without memory for
// that it would end the process.
__attribute__((constructor)) void LoadUnwinder() {
    void* frame = nullptr;
    backtrace(&frame, 1);
}

// Whether no other thread of the host's is left. The library's own does not count.
bool IsLastThread() {
    const uint32_t reaper = ReaperThread();
    NumberWalk threads("/proc/self/task");
    int count = 0;
    for (uint32_t thread = 0; threads.Next(thread);) {
        if (thread != reaper && !IsEndingThread(thread)) ++count;
    }
    return count == 1;
}

}  // namespace

}  // namespace vrplatform

using namespace vrplatform;

void ExitProcess(uint32_t code) {
    std::exit(static_cast<int>(code));
}

void ExitThread(uint32_t code) {
    // Ending the last thread would end the process with code 0.
    if (IsLastThread()) ExitProcess(code);
    pthread_exit(reinterpret_cast<void*>(static_cast<uintptr_t>(code)));
}
