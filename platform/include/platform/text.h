/* Text services: formatting, comparing, copying and measuring zero-terminated
 * byte strings. No locale has a say in them. */
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

/* Below 0, 0 or above 0 as `a` comes before, equals or follows `b`, by unsigned
 * bytes. lstrcmpiA takes the letters A to Z for a to z. */
PLATFORM_API int32_t lstrcmpA(const char* a, const char* b) PLATFORM_SYMBOL(lstrcmpA);
PLATFORM_API int32_t lstrcmpiA(const char* a, const char* b) PLATFORM_SYMBOL(lstrcmpiA);

/* Copies `from` with its zero, and returns `to`, which must have the room. */
PLATFORM_API char* lstrcpyA(char* to, const char* from) PLATFORM_SYMBOL(lstrcpyA);

/* The number of bytes before the zero; 0 for null. */
PLATFORM_API int32_t lstrlenA(const char* text) PLATFORM_SYMBOL(lstrlenA);

PLATFORM_END

#endif
