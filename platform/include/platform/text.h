/* Text services: formatting, comparing, copying and measuring zero-terminated byte strings. They do
 * not depend on the locale. */
#ifndef PLATFORM_TEXT_H
#define PLATFORM_TEXT_H

#include "platform/base.h"

enum {
    kFormattedTextSize = 1024 /* bytes that wsprintfA writes at most, the zero included */
};

PLATFORM_BEGIN

/* Formats as the standard library does, without floating point. Output stops at
 * kFormattedTextSize bytes. Returns the number of characters before the zero. */
PLATFORM_API int32_t wsprintfA(char* out, const char* format, ...) PLATFORM_SYMBOL(wsprintfA)
    __attribute__((format(printf, 2, 3)));

/* Below 0, 0 or above 0 as `a` comes before, equals or follows `b`, by unsigned bytes. lstrcmpiA
 * treats the letters A to Z as a to z. */
PLATFORM_API int32_t lstrcmpA(const char* a, const char* b) PLATFORM_SYMBOL(lstrcmpA);
PLATFORM_API int32_t lstrcmpiA(const char* a, const char* b) PLATFORM_SYMBOL(lstrcmpiA);

/* Copies `from` with its zero, and returns `to`, which must have the room. */
PLATFORM_API char* lstrcpyA(char* to, const char* from) PLATFORM_SYMBOL(lstrcpyA);

/* The number of bytes before the zero; 0 for null. */
PLATFORM_API int32_t lstrlenA(const char* text) PLATFORM_SYMBOL(lstrlenA);

/* Replaces by dots, in place, what would control a terminal: the bytes 0 to 31 except those in
 * `kept`, 127, and 128 to 159, alone or as the UTF-8 characters C2 80 to C2 9F. In a UTF-8 locale
 * the bytes of all other characters stay; elsewhere no byte from 128 to 159 does. */
PLATFORM_API void MaskControls(char* text, uint32_t length, const char* kept)
    PLATFORM_SYMBOL(MaskControls);

PLATFORM_END

#endif
