/* Dates as numbers of days, and the time of day.
 *
 * An internal date counts days from 31 December 1967, which is 0; days before are
 * negative. Months count from 0 (January) to 11, days from 1, years are full years from
 * 0 on. Dates from 15 October 1582 on are Gregorian, those before are Julian. The days
 * from 5 to 14 October 1582, which the change skipped, are taken as Julian, and so have
 * the numbers of the 15th to the 24th. 29 February follows the Gregorian rule in every
 * year.
 *
 * The conversions are those of J. Meeus, Astronomical Algorithms, chapter 7, in double
 * precision. */
#ifndef VR_DATE_H
#define VR_DATE_H

#include "vr/abi.h"

VR_BEGIN

/* Seconds since 00:00:00 local time on 1 January 1968, which is day 1. Valid until 19 January 2036.
 * */
VR_API int32_t SecondsSince67(void);

/* The internal date of today in local time. Valid as long as SecondsSince67. */
VR_API int32_t DaysSince67(void);

/* The calendar date of an internal date. Takes any number; before year -4712 month and day are not
 * real ones, and may lie outside 0 to 11 and 1 to 31. */
VR_API void DaysToDate(int32_t days, int32_t* month, int32_t* day, int32_t* year);

/* The internal date of a calendar date. 1, or 0 with *days untouched when there is no
 * such date, or its number is beyond 32 bits. */
VR_API int32_t MoDaYrToDaysSince67(int32_t month, int32_t day, int32_t year, int32_t* days);

/* The day of the week, 1 being Monday and 7 Sunday. Result as above. */
VR_API int32_t MoDaYrToDayOfWeek(int32_t month, int32_t day, int32_t year, int32_t* dayOfWeek);

/* Seconds, and milliseconds, since the last local midnight. */
VR_API int32_t SecondsSinceMidnight(void);
VR_API int32_t MillisecondsSinceMidnight(void);

VR_END

#endif
