/* Running programs.
 *
 * A command line is split by the platform's rules: blanks divide words, blanks inside double quotes
 * do not, \" is a quote, and backslashes are escaped by a backslash only before a quote. Its first
 * word names the program. One with a directory is found there; another is looked for in the folder
 * of the running program, in the current directory and then in the host's PATH, ignoring files that
 * are neither executable nor batch files; each also with .exe after it. An unquoted name may hold
 * blanks: the shortest start of the line that is a file is taken.
 *
 * The words CMD and COMMAND.COM, with or without an extension, are the host's shell: with /c it
 * runs the text after it, which may begin with the name of a batch file, and alone it reads its
 * commands from standard input. Other switches before /c are ignored. A batch file (.bat, .cmd) is
 * a list of lines for that shell, up to a Ctrl-Z (byte 26) and of 128 KiB at most; a larger one
 * fails with 8. CR and zero bytes are removed. Words after its name are its $1, $2 and so on. Where
 * /c names a batch file without a folder, the file must belong to the user or the superuser and
 * have no other name; otherwise the start fails with 5.
 *
 * The text after /c and the lines of a batch file reach the shell unchanged, except for the names
 * of redirects: one after >, >> or < (or 2> and so on) that has a drive or a backslash is replaced
 * by its host path, quoted. Whether a > is a redirect depends on the shell's quotes and comments;
 * >& and << are left alone. A name in double quotes is the text in them. One that begins with a
 * drive or a backslash may hold blanks: it reaches to the next redirect (with its number), to | & ;
 * ( ) or the end of the line, without the blanks at its end; double quotes in it are removed. Any
 * other name ends at a blank. The shell gets unchanged the names without drive and backslash, those
 * that hold a $ or a backquote, end in a backslash or are otherwise quoted, and those that have no
 * host path. Names are relative to the caller's current directory, even after a cd in the text.
 *
 * A program has the caller's environment, current directory and standard streams, and inherits
 * nothing else. One that nobody waits for leaves no zombie: a thread of the platform waits for all
 * of these, and ends with the last. A host must not ignore SIGCHLD, nor wait for children that it
 * did not start itself: their exit codes would be lost and read as 0. */
#ifndef PLATFORM_PROGRAMS_H
#define PLATFORM_PROGRAMS_H

#include "platform/base.h"

/* A flag of StartupInfo, and the arguments and results of waiting. */
enum {
    STARTF_USESHOWWINDOW = 1, /* showWindow counts */
    INFINITE = -1,            /* no limit to the milliseconds; as a result, a bad handle */
    WAIT_OBJECT_0 = 0,        /* the process has ended */
    WAIT_TIMEOUT = 258,       /* it has not, and the time is over */
    STILL_ACTIVE = 259        /* the exit code of a process that still runs */
};

/* How the window opens. There is no window here; only the control panel reads this. */
typedef struct StartupInfo {
    uint32_t size;         /* of this record */
    char* reserved;        /* not looked at */
    char* desktop;         /* not looked at */
    char* title;           /* not looked at */
    uint32_t position[7];  /* not looked at: place, size and colours */
    uint32_t flags;        /* STARTF_USESHOWWINDOW, or 0 */
    uint16_t showWindow;   /* 0, hidden, to 9; counts with STARTF_USESHOWWINDOW */
    uint16_t reservedSize; /* not looked at */
    void* reservedData;    /* not looked at */
    void* streams[3];      /* not looked at: the caller's are inherited */
} StartupInfo;

/* A program that was started. */
typedef struct ProcessInformation {
    void* process;          /* a handle, closed with CloseHandle */
    void* thread;           /* the same */
    uint32_t processNumber; /* of the process */
    uint32_t threadNumber;  /* of its first thread */
} ProcessInformation;

/* The version of the platform. */
typedef struct OsVersionInfo {
    uint32_t size;           /* of this record */
    uint32_t major;          /* 5 */
    uint32_t minor;          /* 0 */
    uint32_t build;          /* 0 */
    uint32_t platformNumber; /* 2, unless the control panel says another */
    char servicePack[128];   /* empty */
} OsVersionInfo;

PLATFORM_BEGIN

/* Starts a program. `application`, the security records and `environment` are to be
 * null, `inherit` and `flags` 0, and `directory` null. 1 with the handles filled in; or 0,
 * and GetLastError reports 2 (no such program), 3 (no such directory), 5 (it may not be
 * run), 8 (no memory), 87 (what is asked for is not offered) or 193 (not a program). */
PLATFORM_API int32_t CreateProcessA(const char* application, char* commandLine,
                                    void* processSecurity, void* threadSecurity, int32_t inherit,
                                    uint32_t flags, void* environment, const char* directory,
                                    const StartupInfo* startup, ProcessInformation* information)
    PLATFORM_SYMBOL(CreateProcessA);

/* The reason why the last call of a service in this header failed, CloseHandle aside. */
PLATFORM_API uint32_t GetLastError(void) PLATFORM_SYMBOL(GetLastError);

/* Waits until the process has ended, at most for so many milliseconds. WAIT_OBJECT_0, WAIT_TIMEOUT,
 * or INFINITE for a handle that is no process. */
PLATFORM_API int32_t WaitForSingleObject(void* process, int32_t milliseconds)
    PLATFORM_SYMBOL(WaitForSingleObject);

/* The exit code of a process that has ended: 0 to 255, or 128 and the number of the signal that
 * killed it; STILL_ACTIVE before that. 1, or 0 for a bad handle. The code of a process that was
 * opened by its number is not known: it reads 0. */
PLATFORM_API int32_t GetExitCodeProcess(void* process, uint32_t* code)
    PLATFORM_SYMBOL(GetExitCodeProcess);

/* Opens a running process by its number. Null when there is none (87) or memory is short (8).
 * `access` is ignored; what may be read of the process depends on its user. */
PLATFORM_API void* OpenProcess(uint32_t access, int32_t inherit, uint32_t processNumber)
    PLATFORM_SYMBOL(OpenProcess);

/* Closes a handle of this header or of the process lists. 1, or 0 for a bad one. */
PLATFORM_API int32_t CloseHandle(void* handle) PLATFORM_SYMBOL(CloseHandle);

/* Waits for so many milliseconds. */
PLATFORM_API void Sleep(uint32_t milliseconds) PLATFORM_SYMBOL(Sleep);

/* Fills in the record, whose size must be set: 1, or 0. */
PLATFORM_API int32_t GetVersionExA(OsVersionInfo* version) PLATFORM_SYMBOL(GetVersionExA);

PLATFORM_END

#endif
