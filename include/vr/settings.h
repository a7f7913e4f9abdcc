/* Settings: one lookup over the registry, the settings file VRLINK.INI and the
 * process environment.
 *
 * UtilInit reads the file whole, from the path in its record, else from the current
 * directory, else from the Windows directory, and copies the file's [ENVIRONMENT]
 * section and then the registry's ENVIRONMENT key into the process environment; without
 * a file, or with an empty one, neither is copied. A pipe or a device counts as empty.
 * After that nothing is read again but registry values and environment variables,
 * at each call.
 *
 *     IniGetInt, IniGetString   registry, then file, then the caller's default
 *     IniGetSection             file
 *     DLLGetEnv                 process environment
 *
 * How the file is read. A section is [NAME], found at any [ of the text, in a
 * comment or a value too; the first one of that name counts. A key matches as far
 * as it is long, so LOG also finds LOGFILE=x; the first match in the section counts.
 * Names and keys have no case. The value begins at the first byte behind the next =
 * that is no white space, on whatever line that is, and ends with its line, at most
 * 255 bytes on, less its trailing white space. A ; begins a comment only at the
 * start of a line, but for IniGetSection. A null section or key names no setting.
 *
 * Registry values stand under HKEY_LOCAL_MACHINE, Software\Veldane\PRODUCT\SECTION, the
 * value's name being the key; texts of 256 bytes or more count as absent, and so does a
 * key path of 260 bytes or more. In the ENVIRONMENT key such a text ends the reading. */
#ifndef VR_SETTINGS_H
#define VR_SETTINGS_H

#include "vr/abi.h"

/* Bytes of ini_path. */
enum { kVrIniPathSize = 256 };

VR_BEGIN

/* The path of the file that was read, or of the last place that was tried. A path in the
 * start-up record counts with its first 255 bytes. */
extern VR_API char ini_path[kVrIniPathSize];

/* The file's whole text, zero-terminated; null without a file. Not to be changed. */
extern VR_API char* ini_buf;

/* The value as a decimal number, 0 when it is not one; `defaultValue` when there is
 * no such setting. */
VR_API int32_t IniGetInt(const char* section, const char* key, int32_t defaultValue);

/* The value, or a copy of `defaultValue`, as a zero-terminated text that the caller
 * frees with free_mem. A null default gives the shared empty text, which free_mem
 * passes over. A setting that is there and empty is found, and hides later layers. */
VR_API char* IniGetString(const char* section, const char* key, const char* defaultValue);

/* The section's text up to the next [, with comments (from a ; to the end of its
 * line) and line ends with the indentation behind them taken out, and nothing put
 * between the lines. A block that the caller frees with free_mem; null when there is
 * no such section. */
VR_API char* IniGetSection(const char* section);

/* The variable's value in a static buffer that the next call overwrites and the caller
 * may change. Null when it is not set or empty, or the name is null; an empty text when
 * it has 8192 bytes or more. */
VR_API char* DLLGetEnv(const char* name);

/* Sets the variable for this process and those it starts; a null value removes it. 0, or
 * -1 on failure. */
VR_API int32_t DLLPutEnv(const char* name, const char* value);

VR_END

#endif
