/* Text helpers: case, occurrences of a byte, hexadecimal text, and the split of a
 * command line. Text is zero-terminated unless a length is given. */
#ifndef VR_TEXT_H
#define VR_TEXT_H

#include "vr/abi.h"
#include "vr/string.h"

VR_BEGIN

/* Fold the letters A to Z, in place. All other bytes stay, including those of 128 and above. Null
 * is ignored. */
VR_API void ToLower(char* text);
VR_API void ToUpper(char* text);

/* The offset, from 0, of the given occurrence of `character`, counted from 1; -1
 * when there are fewer, or for occurrence 0, character 0 or a null text. */
VR_API int32_t findchar(const char* text, unsigned char character, uint32_t occurrence);

/* A new string of two upper-case hexadecimal digits for each of the `length`
 * bytes. NullVrStr's string for a length of 0 or less. The caller frees it. */
VR_API VrString HexString(const void* bytes, int32_t length);

/* The reverse: a new string of length / 2 bytes from `length` digits, of either case. An odd last
 * digit is dropped; any other character counts with its low four bits. NullVrStr's string for a
 * length of 1 or less. The caller frees it. */
VR_API VrString BinaryString(const char* digits, int32_t length);

/* The first word of a command line, up to the first blank or tab, and what follows that word and
 * the blanks and tabs after it. A text that begins with a blank has an empty verb. `text` must not
 * be null.
 *
 * Both results stand in one static area, which the next call of either
 * overwrites, and are cut at 255 characters. */
VR_API char* GetCommandVerb(const char* text);
VR_API char* GetCommandParams(const char* text);

VR_END

#endif
