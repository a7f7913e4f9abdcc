/* Process lists: two small libraries beside the platform's own, which are loaded at run time by
 * their bare names "psapi" and "kernel32". They read the host's /proc, and leave out threads of the
 * kernel. A program's full name is what GetModuleFileNameA would give for it: a drive path, or for
 * one outside every drive its host path with backslashes. */
#ifndef PLATFORM_PROCESSLIST_H
#define PLATFORM_PROCESSLIST_H

#include "platform/base.h"

/* An entry of a snapshot. */
typedef struct ProcessEntry32 {
    uint32_t size;          /* of this record, set before each call */
    uint32_t usage;         /* not known: 0 */
    uint32_t processNumber; /* the process */
    uint32_t heapNumber;    /* not known: 0 */
    uint32_t moduleNumber;  /* not known: 0 */
    uint32_t threads;       /* not known: 0 */
    uint32_t parentNumber;  /* not known: 0 */
    int32_t priority;       /* not known: 0 */
    uint32_t flags;         /* not known: 0 */
    char path[260];         /* the program's full name, or "unknown" */
} ProcessEntry32;

/* Of "psapi". EnumProcesses stores the numbers of the running processes, as far as `bytes` goes,
 * and how many bytes it stored. EnumProcessModules stores the process's first module, the program
 * itself; a process that may not be read has none. The other two store the program's file name and
 * its full name, cut to `size` bytes with the zero, and return the length; 0 when the name cannot
 * be read. They reuse what the last call of EnumProcessModules read, if it was for the same process
 * handle. */
typedef int32_t (*EnumProcessesRoutine)(uint32_t* numbers, uint32_t bytes, uint32_t* stored);
typedef int32_t (*EnumProcessModulesRoutine)(void* process, void** modules, uint32_t bytes,
                                             uint32_t* needed);
typedef uint32_t (*GetModuleNameRoutine)(void* process, void* module, char* name, uint32_t size);

/* Of "kernel32". A snapshot holds the processes of one moment and is freed with CloseHandle; null
 * when memory is short. Process32First and Process32Next store its entries, and return 0 after the
 * last or for a record of another size. */
typedef void* (*CreateSnapshotRoutine)(uint32_t flags, uint32_t processNumber);
typedef int32_t (*WalkSnapshotRoutine)(void* snapshot, ProcessEntry32* entry);

#endif
