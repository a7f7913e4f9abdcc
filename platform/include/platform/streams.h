/* Buffered streams over the handles of platform/files.h, to read lines from. */
#ifndef PLATFORM_STREAMS_H
#define PLATFORM_STREAMS_H

#include "platform/base.h"

/* A stream. Opaque to callers. */
typedef struct PlatformStream PlatformStream;

PLATFORM_BEGIN

/* A buffered stream to read lines from, over a handle. `mode` is one of the C library's (r, w, a,
 * with +); a t or b in it sets the handle's mode first. Null for a bad mode or handle. The stream
 * owns the handle. */
PLATFORM_API PlatformStream* StreamAttach(int32_t handle, const char* mode)
    PLATFORM_SYMBOL(StreamAttach);

/* The next line, its LF included, of at most `size` - 1 bytes, terminated by a zero: the buffer, or
 * null at the end, on an error or for a size below 1. */
PLATFORM_API char* StreamReadLine(char* buffer, int32_t size, PlatformStream* stream)
    PLATFORM_SYMBOL(StreamReadLine);

/* Closes stream and handle: 0, or -1. */
PLATFORM_API int32_t StreamClose(PlatformStream* stream) PLATFORM_SYMBOL(StreamClose);

PLATFORM_END

#endif
