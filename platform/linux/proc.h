// What /proc tells of processes, for the queries about them.
#ifndef LINUX_PROC_H
#define LINUX_PROC_H

#include <cstdint>
#include <string>
#include <vector>

// The numbers of all processes, rising.
std::vector<uint32_t> ProcessNumbers();

// Whether the process or thread of that folder of /proc has ended, and only waits for
// somebody to take note of it.
bool IsZombie(const std::string& folder);

// The drive path of the process's program; false when it may not be read.
bool ProgramPath(uint32_t processNumber, std::string& path);

#endif
