// Waiting for children that nobody else waits for.
#ifndef LINUX_REAPER_H
#define LINUX_REAPER_H

#include <sys/types.h>

#include <cstdint>
#include <memory>

namespace vrplatform {

// What is kept of a child. It is allocated before the child is started, so that leaving it to the
// reaper needs no memory.
struct Child {
    pid_t number;
    Child* next;
};

// Collects the child when it has ended, so that no zombie stays. If no thread can be started, that
// happens when the next child is left here.
void ReapInBackground(std::unique_ptr<Child> child);

// The number of this process's thread that does it; 0 when there is none.
uint32_t ReaperThread();

}  // namespace vrplatform

#endif
