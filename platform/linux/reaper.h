// Waiting for children that nobody else waits for.
#ifndef LINUX_REAPER_H
#define LINUX_REAPER_H

#include <sys/types.h>

void ReapInBackground(pid_t child);

// Threads of the process that are only there for that.
int ReaperThreads();

#endif
