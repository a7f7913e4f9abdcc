// What /proc tells of processes, for the two libraries of process lists.
#ifndef LINUX_PROC_H
#define LINUX_PROC_H

#include <cstdint>
#include <string>
#include <vector>

// The numbers of all processes, rising.
std::vector<uint32_t> ProcessNumbers();

// The drive path of the process's program; false when it may not be read.
bool ProgramPath(uint32_t processNumber, std::string& path);

#endif
