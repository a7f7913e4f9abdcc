/* Character conversion: the bytes of a string changed one by one, by an input table or a
 * display table.
 *
 * The tables come from a conversion file: a text of the sections [input] and [display], each
 * with lines KEY=VALUE as GetPrivateProfileStringA of platform/profile.h reads them. Key
 * and value are numbers, the byte to change and the byte that takes its place:
 *
 *     [input]
 *     0x84=0xE4     hexadecimal: byte 132 becomes 228
 *     132=228       decimal: the same
 *     0204=0344     octal, by the 0 in front: the same
 *
 * A character does not stand for itself: A=B is a line for byte 0. Reading a number ends at
 * the first character that does not fit, a text without a number is 0, and of either number
 * the low 8 bits count. No byte is changed to 0: such a line is counted and has no effect. Of
 * two lines with the same key text the first counts, of two that write one byte in different
 * ways the later one. The keys of a section, each with a zero, may fill kVrScratchSize - 1
 * bytes.
 *
 * UtilInit loads the file that the setting CVTFILE of the section "Environment" names, if
 * any. A file named without a directory is looked for in the Windows directory
 * (VRPLATFORM_WINDOWS_DIR, else C:\WINDOWS), and not in the current one: write .\NAME for
 * that. */
#ifndef VR_CONVERT_H
#define VR_CONVERT_H

#include "vr/abi.h"
#include "vr/string.h"

VR_BEGIN

/* The number of lines in both sections of the file loaded last; 0 at the start. */
extern VR_API int32_t CvtFlag;

/* Replaces both tables by those of the file; of the file that the setting names when `file`
 * is null or empty. A file that cannot be read has no lines: the tables are cleared and
 * CvtFlag is 0. Where no file is named at all the tables are cleared too, but CvtFlag keeps
 * its value. `file` must not be MemBuf1. */
VR_API void CvtInit(const char* file);

/* The string with its bytes changed, by the input table for direction 0 and by the display
 * table for any other: a new string, which the caller frees, or `string` itself when no byte
 * has an entry. `string` must not be null. */
VR_API VR_OWNED VrString CvtConvert(VrString string, int32_t direction);

VR_END

#endif
