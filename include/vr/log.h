/* The database log: a plain text trace of what the database layer does.
 *
 * It is off unless the setting "LOG" turns it on, a mask of groups of lines:
 *
 *     1  calls       4  times        32  locks
 *     2  details    16  BTRV errors
 *
 * Its file is $$VRDB.LOG in the directory that VRLTEMP names, else in the current one.
 * Each line is written at once, from byte 0 of the file on; a line is CR LF and then its
 * text, cut at 1022 bytes. A call whose group is off costs one test. All groups are off
 * before VrdbLogInit. Null texts and strings are written as empty ones, and a zero byte
 * in a file name or key ends its text.
 *
 * The file is made without write permission, so nobody can open it for writing again, the superuser
 * included: VrdbLogInit fails in every later run, and in every other process that uses the
 * directory, until somebody deletes the file by hand. Each process that is to log needs a directory
 * of its own, from which the old file was deleted. */
#ifndef VR_LOG_H
#define VR_LOG_H

#include "vr/abi.h"
#include "vr/string.h"

VR_BEGIN

/* Turns the log on by the setting "LOG" of the section, and writes its first line with
 * the title (null: a title of its own). Returns 0, also when the log stays off, as it does
 * for a mask outside 1 to 63. Returns -1 when the file cannot be opened, which includes a
 * file that an earlier run left, and when its path has 256 bytes or more. The log then stays
 * off for the life of the process: a later call returns 0 and does nothing, as does one with
 * the log on already. Nothing turns the log off again. */
VR_API int32_t VrdbLogInit(const char* section, const char* title);

/* Does nothing, since every line is written at once. */
VR_API void VrdbLogFlush(void);

/* The group of calls. Each writes one line:
 *
 *     VrdbLogStartMes          NAME
 *     VrdbLogEndMes            NAME Ret: N
 *     VrdbLogStartMesCreate    NAME File: F
 *     VrdbLogEndMesCreate      NAME Ret: N File: F
 *     VrdbLogStartMesOpen      NAME File: F
 *     VrdbLogEndMesOpen        NAME Ret: N Handle: H
 *     VrdbLogStartMes1         NAME Handle: H
 *     VrdbLogStartMes2         NAME Handle: H Key: K
 *     VrdbLogStartMesClose     CLOSE Handle: H
 */
VR_API void VrdbLogStartMes(const char* name);
VR_API void VrdbLogEndMes(const char* name, int32_t ret);
VR_API void VrdbLogStartMesCreate(const char* name, VrString file);
VR_API void VrdbLogEndMesCreate(const char* name, int32_t ret, VrString file);
VR_API void VrdbLogStartMesOpen(const char* name, VrString file);
VR_API void VrdbLogEndMesOpen(const char* name, int32_t ret, int32_t handle);
VR_API void VrdbLogStartMes1(const char* name, int32_t handle);
VR_API void VrdbLogStartMes2(const char* name, int32_t handle, VrString key);
VR_API void VrdbLogStartMesClose(int32_t handle);

/* The group of details. The line is NAME N, or NAME VALUE. */
VR_API void VrdbLogOutInt(const char* name, int32_t value);
VR_API void VrdbLogOutChar(const char* name, const char* value);

/* The group of times. The line is NAME time: SECONDS, with six decimals and a point. */
VR_API void VrdbLogTimeMes1(const char* name, int32_t milliseconds);

/* The group of details; for a status other than 0, 4, 9, 22 and 59 also the group of BTRV
 * errors. The line is ***BTRV Op: N Stat: N, with both numbers three places wide. An error
 * is written twice where both groups are on. */
VR_API void VrdbLogBTRVMes(int32_t operation, int32_t status);

/* The group of locks. The line is LOCK Key K Ret: N. Both write the same. */
VR_API void VrdbLogMesLock(const char* key, int32_t ret);
VR_API void VrdbLogMesUnlock(const char* key, int32_t ret);

VR_END

#endif
