/* Character conversion: the bytes of a string changed one by one, by an input table or a
 * display table.
 *
 * The tables come from a conversion file with the sections [input] and [display]. A line
 * 0x84=0xE4 changes byte 132 to 228; numbers are decimal, octal with a 0 in front or
 * hexadecimal with 0x, and count with their low 8 bits. No byte is changed to 0. UtilInit
 * loads the file that the setting CVTFILE of the section "Environment" names, if any. */
#ifndef VR_CONVERT_H
#define VR_CONVERT_H

#include "vr/abi.h"
#include "vr/string.h"

VR_BEGIN

/* Lines of both sections together, as of the last file that was named; 0 at the start. */
extern VR_API int32_t CvtFlag;

/* Replaces both tables by those of the file; of that which the setting names when `file`
 * is null or empty. Without a file the tables are cleared, and CvtFlag stays when none was
 * named. A file without a directory is looked for in the Windows directory. The name must
 * not stand in MemBuf1. */
VR_API void CvtInit(const char* file);

/* The string with its bytes changed, by the input table for direction 0 and the display
 * table for any other: a new string, which the caller frees, or `string` itself when there
 * was nothing to change. It must not be null. */
VR_API VrString CvtConvert(VrString string, int32_t direction);

VR_END

#endif
