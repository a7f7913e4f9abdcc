// Waiting for children that nobody else waits for.
#ifndef LINUX_REAPER_H
#define LINUX_REAPER_H

#include <sys/types.h>

#include <cstdint>
#include <memory>

// What has to be kept of a child. Whoever starts one takes this first, so that leaving it
// to the reaper needs no memory.
struct Child {
    pid_t number;
    Child* next;
};

// Takes note of the child's end when it comes, so that no zombie stays. Where the system
// has no thread to give, that happens when the next child is left here.
void ReapInBackground(std::unique_ptr<Child> child);

// The number of this process's thread that does it; 0 when there is none.
uint32_t ReaperThread();

#endif
