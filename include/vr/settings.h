/* Settings: one lookup over the registry, the settings file VRLINK.INI and the
 * process environment.
 *
 * UtilInit reads the file whole, from the path in its record, else from the current
 * directory, else from the Windows directory, and copies the file's [ENVIRONMENT]
 * section and then the registry's ENVIRONMENT key into the process environment; without
 * a file, or with an empty one, neither is copied. A pipe or a device counts as empty, and
 * a file of more than 64 MB as none.
 * After that only registry values and environment variables are read again, at each call.
 *
 *     IniGetInt, IniGetString   registry, then file, then the caller's default
 *     IniGetSection             file
 *     DLLGetEnv                 process environment
 *
 * How the file is read. A section is [NAME], found at any [ of the text, in a comment or a value
 * too; the first one of that name counts. A key also matches longer keys that begin with it, so LOG
 * finds LOGFILE=x; the first match in the section counts. Case does not matter in names and keys.
 * The value begins at the first byte after the next = that is no white space, on whatever line that
 * is, and ends with its line, or after 255 bytes, without trailing white space. So a key with
 * nothing after its = has the next line that is not blank as its value: of A= and then B=1, A is
 * "B=1". A ; begins a comment only at the start of a line, except in IniGetSection. A null section
 * or key names no setting.
 *
 * How [ENVIRONMENT] is copied. A variable's name begins at the first letter of its line and
 * consists of letters, digits and ; only. Blanks, tabs and = after it are skipped, and the rest of
 * the line is the value, without trailing white space. A name that ends at any other character gets
 * an empty value: MY_VAR=1 sets MY. So no name with an underscore can be set, VRPLATFORM_ names
 * included. A line is cut at 255 bytes, and its rest read as a further line. An empty value stays
 * empty.
 *
 * Registry values stand under HKEY_LOCAL_MACHINE, Software\Veldane\PRODUCT\SECTION, the
 * value's name being the key. An empty value is found, and hides the file's. The type is
 * ignored and the bytes are read as a text up to the first zero: dword:00000007 is the text of
 * the one byte 7 for IniGetString, and 0 for IniGetInt. Texts of 256 bytes or more count as
 * absent, and so does a key path of 260 bytes or more. In the ENVIRONMENT key a value may
 * have any name; a name or a text of 260 bytes or more ends the reading. */
#ifndef VR_SETTINGS_H
#define VR_SETTINGS_H

#include "vr/abi.h"

/* Bytes of ini_path. */
enum { kVrIniPathSize = 256 };

VR_BEGIN

/* The path of the file that was read, or of the last place that was tried. Of a path in the
 * start-up record the first 255 bytes count. */
extern VR_API char ini_path[kVrIniPathSize];

/* The file's whole text, zero-terminated; null without a file. Not to be changed. */
extern VR_API char* ini_buf;

/* The value as a decimal number: white space, a sign and digits, up to the first other
 * byte; 0 without digits. `defaultValue` when there is no such setting. */
VR_API int32_t IniGetInt(const char* section, const char* key, int32_t defaultValue);

/* The value, or a copy of `defaultValue`, as a zero-terminated text that the caller
 * frees with free_mem. A null default gives the shared empty text, which free_mem
 * ignores. */
VR_API VR_OWNED char* IniGetString(const char* section, const char* key, const char* defaultValue);

/* The section's text up to the next [, without comments (from a ; to the end of its
 * line) and without line ends and the indentation after them; nothing is put
 * between the lines. A block that the caller frees with free_mem; null when there is
 * no such section. A section of nearly kVrRefusedSize bytes (20 MB) or more ends the run
 * (vr/memory.h). */
VR_API VR_OWNED char* IniGetSection(const char* section);

/* The variable's value in a static buffer that the next call overwrites and the caller
 * may change. Null when the variable is not set or empty, and for a null name; an empty text
 * when the value has 8192 bytes or more. */
VR_API char* DLLGetEnv(const char* name);

/* Sets the variable for this process and those it starts; a null value removes it. 0, or
 * -1 on failure. */
VR_API int32_t DLLPutEnv(const char* name, const char* value);

VR_END

#endif
