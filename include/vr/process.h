/* Running commands, and asking which programs run. Texts are zero-terminated. */
#ifndef VR_PROCESS_H
#define VR_PROCESS_H

#include "vr/abi.h"

VR_BEGIN

/* Runs a command, by its first character behind any white space:
 *
 *     &N TEXT   TEXT straight away, without the shell; nobody waits
 *     +N TEXT   the same, and waits
 *     -N TEXT   with N above 0 as below; otherwise a hidden run: the shell waited for, but
 *               a file called CMD, in any case, in the host's folder, the current
 *               directory or the product's bin is run in its place, with /c TEXT
 *     TEXT      the shell, and waits
 *
 * N is the window mode, 0 to 9, directly behind the sign; larger numbers count as 9.
 * With & and + it is 3 unless given or 0; a hidden run shows its window unless a 0 is
 * written. A text with a ; goes to the shell as a batch file of its parts,
 * "__aavrtm.bat" in the current directory, which is deleted again, by a hidden run even
 * when it wrote none; when the disk is full, what was written of it runs. A command
 * that is null, blank or a bare & or + starts the shell alone. `outputFile`, which may
 * be null or empty, receives the output of what runs in the shell: it is named there,
 * so the shell makes it.
 *
 * Returns the exit code, or 1 when nobody waits. A command that cannot be started shows a
 * message and gives 0, or -1 when hidden; so does one whose line has more than 259
 * characters, or whose output file's name more than 250 in a batch file. */
VR_API int32_t System(const char* command, const char* outputFile);

/* The variable VRLPORT, or "Unknown". Not to be freed; good until the next DLLGetEnv. */
VR_API const char* GetPortNumber(void);

/* Waits for so many seconds, 4294967 at most. */
VR_API void GoToSleep(uint32_t seconds);

/* The queries below look at 300 processes at most. A program's name is its file's,
 * extension included, and compares without regard to case. A process that may not be
 * read is called "unknown". When the list of processes cannot be had, a message says
 * so, and it counts as empty. */

/* The number of the first process of that program, or 0, also for a null name. */
VR_API uint32_t VrFindProcess(const char* name);

/* All of them, as number,name;number,name in lower case: a text that the caller frees with
 * free_mem. */
VR_API char* VrProcessList(void);

/* The full path of the first process of that program, in lower case; empty when there is
 * none. A text that the caller frees with free_mem. */
VR_API char* VrProcessPath(const char* name);

VR_END

#endif
