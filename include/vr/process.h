/* Running commands, and asking which programs run. Texts are zero-terminated. One thread at a
 * time may be in these functions. */
#ifndef VR_PROCESS_H
#define VR_PROCESS_H

#include "vr/abi.h"

VR_BEGIN

/* Runs a command. The first character after any white space says how:
 *
 *     &N TEXT   the program TEXT, without the shell; nobody waits
 *     +N TEXT   the same, and waits
 *     -N TEXT   with N above 0 as TEXT below; otherwise a hidden run: in the shell, and
 *               waits, but a file called CMD, in any case, in the host's folder, the current
 *               directory or the product's bin is run in the shell's place, with /c TEXT
 *     TEXT      in the shell, and waits
 *
 * N is the window mode, 0 to 9, directly after the sign; larger numbers count as 9. It is passed
 * on, and has no effect on Linux. With & and + it is 3 unless given and above 0; a hidden run opens
 * its window unless a 0 is written. The shell is /bin/sh, so TEXT is its text: a backslash quotes,
 * and paths are written with /. Only the name of a redirect may be a platform path
 * (platform/programs.h). A program of & or + is looked for in the folder of the running program, in
 * the current directory and in PATH.
 *
 * A text with a ; goes to the shell as a batch file of its parts, "__aavrtm.bat" in the
 * current directory, also when the ; stands in quotes. Without permission to write it, the
 * text goes as it is. The file is deleted after the run, by a hidden run even when it wrote
 * none. When the disk is full, the part that was written runs. Two hosts that do this in
 * one directory overwrite each other's file.
 *
 * A `command` that is null, blank or a bare & or + starts the shell alone. `outputFile`, the name
 * of a redirect too, receives the output of what runs in the shell, and the shell creates that
 * file; null and empty mean none, and & and + ignore it. A line has 259 characters at most, the
 * name of the shell included, and the output file's name 250 in a batch file.
 *
 * Returns the exit code: 0 to 255, or 128 and the signal's number for a program that a signal
 * ended, or 0 when the host ignores SIGCHLD or has waited for the child itself. Returns 1 when
 * nobody waits. A command that cannot be started, or is too long, shows a message and gives 0, or
 * -1 when hidden. A command that the shell cannot find gives the shell's code, 127. The wait has no
 * limit and cannot be cancelled. A hidden run uses MemBuf3 and MemBuf4. */
VR_API int32_t System(const char* command, const char* outputFile);

/* The value of the variable VRLPORT, or "Unknown". Not to be freed; valid until the next
 * DLLGetEnv, which other functions of the library call too. */
VR_API const char* GetPortNumber(void);

/* Waits for that many seconds, 4294967 at most. Signals do not shorten the wait. */
VR_API void GoToSleep(uint32_t seconds);

/* The queries below look at 300 processes at most, each time anew. A program's name is the
 * name of its file, with any extension and without its directory, in lower case; a query
 * compares it whole and without regard to case. A process that may not be read, such as
 * another user's, has the name and the path "unknown"; threads of the kernel are left out. The
 * lists come from the libraries psapi and kernel32 of libvrplatform.so. When they cannot
 * be loaded, a message says so at each query, and no process is found. */

/* The number of the first process of that program; 0 when there is none, and for a null
 * name. The process may have ended by the time that the number is used. */
VR_API uint32_t VrFindProcess(const char* name);

/* All processes, as number,name;number,name; empty when there is no list. A text that the
 * caller frees with free_mem, in a block of 157200 bytes. */
VR_API VR_OWNED char* VrProcessList(void);

/* The full path of the first process of that program, in lower case, cut at 259 bytes; empty
 * when there is none, and for a null name. Never null: a text that the caller frees with
 * free_mem. */
VR_API VR_OWNED char* VrProcessPath(const char* name);

VR_END

#endif
