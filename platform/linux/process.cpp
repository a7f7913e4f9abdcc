// The end of a process or a thread. Ending a thread unwinds its stack through
// whatever called here, so nothing in the library may be noexcept.

#include "platform/process.h"

#include <dirent.h>
#include <pthread.h>

#include <cstdlib>
#include <string>

#include "linux/proc.h"
#include "linux/reaper.h"

namespace {

bool IsLastThread() {
    DIR* tasks = opendir("/proc/self/task");
    if (tasks == nullptr) return false;
    int count = 0;
    while (const dirent* entry = readdir(tasks)) {
        const std::string task = entry->d_name;
        if (task[0] != '.' && !IsZombie("/proc/self/task/" + task)) ++count;
    }
    closedir(tasks);
    return count - ReaperThreads() == 1;
}

}  // namespace

void ExitProcess(uint32_t code) {
    std::exit(static_cast<int>(code));
}

void ExitThread(uint32_t code) {
    // Ending the last thread would end the process with code 0.
    if (IsLastThread()) ExitProcess(code);
    pthread_exit(reinterpret_cast<void*>(static_cast<uintptr_t>(code)));
}
