/* The clock, in universal and in local time. */
#ifndef PLATFORM_CLOCK_H
#define PLATFORM_CLOCK_H

#include "platform/base.h"

/* What the clock shows. */
typedef struct ClockReading {
    int64_t seconds;      /* since 1 January 1970, universal time */
    int32_t milliseconds; /* 0 to 999 */
    int32_t minutesWest;  /* of universal time, without daylight saving */
    int32_t daylight;     /* 1 while daylight saving is in force, by an hour */
} ClockReading;

/* A time of day. */
typedef struct ClockTime {
    int32_t hour;   /* 0 to 23 */
    int32_t minute; /* 0 to 59 */
    int32_t second; /* 0 to 59 */
} ClockTime;

PLATFORM_BEGIN

/* Reads the clock, in the zone that TZ names at the time of the call, or else in the system's own;
 * when the system's zone is replaced, the new one counts from the next second on. Where daylight
 * saving is not an hour, minutesWest makes up for the difference. */
PLATFORM_API void ReadClock(ClockReading* reading) PLATFORM_SYMBOL(ReadClock);

/* Only the seconds that ReadClock returns, without looking up a zone. */
PLATFORM_API int64_t ClockSeconds(void) PLATFORM_SYMBOL(ClockSeconds);

/* The local time of day of such a number of seconds, in the same zone. */
PLATFORM_API void SplitLocalTime(int64_t seconds, ClockTime* time) PLATFORM_SYMBOL(SplitLocalTime);

PLATFORM_END

#endif
