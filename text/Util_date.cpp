// Dates. Calendar dates and day numbers are converted in double precision, through the running day
// number of the internal calendar, which is the Julian Day Number less 1. Whole numbers have 32
// bits, which the processor converts to and from double in one instruction; dates that would
// overflow them on the way are shifted or refused first.

#include <cstdint>

#include "platform/clock.h"
#include "vr/date.h"

namespace {

constexpr int32_t kDayNumberOfDay0 = 2439855;
constexpr int32_t kFirstGregorianDate = 15821015;  // year, month, day
constexpr int32_t kFirstGregorianDay = 2299161;    // as a Julian Day Number
constexpr uint32_t kLastDayNumber = uint32_t{INT32_MAX} + kDayNumberOfDay0;
constexpr int32_t kLateYear = 6000000;     // beyond the last day number
constexpr int32_t kLateDays = 2000000000;  // near the end of 32 bits
constexpr int32_t kDaysOf8000Years = 2921940;
constexpr int64_t kSecondsOf1968And1969 = 63158400;
constexpr int32_t kSecondsPerDay = 86400;
constexpr int32_t kFebruary = 2;
constexpr int32_t kMonthLengths[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};

int32_t Trunc(double number) {
    return static_cast<int32_t>(number);
}

bool IsLeapYear(int32_t year) {
    return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
}

// `month` from 1.
bool IsDate(int32_t month, int32_t day, int32_t year) {
    if (year < 0 || month < 1 || month > 12) return false;
    if (month == kFebruary && day == 29) return IsLeapYear(year);
    return day >= 1 && day <= kMonthLengths[month - 1];
}

// The days of whole years with a leap year in four, also for the year -1.
uint32_t DaysOfYears(int32_t years) {
    return static_cast<uint32_t>(years) * 365 + static_cast<uint32_t>(years >> 2);
}

// January and February count as months 13 and 14 of the year before.
uint32_t DateToDayNumber(int32_t month, int32_t day, int32_t year) {
    if (month <= kFebruary) {
        year -= 1;
        month += 12;
    }
    int32_t gregorian = 0;
    if (year >= 10000 || year * 10000 + month * 100 + day >= kFirstGregorianDate) {
        const int32_t century = year / 100;
        gregorian = 2 - century + century / 4;
    }
    return DaysOfYears(year) +
           static_cast<uint32_t>(Trunc((month + 1) * 30.6001 + day + 1720994.0 + gregorian));
}

bool DayNumber(int32_t month, int32_t day, int32_t year, uint32_t& number) {
    if (month > 11 || year > kLateYear || !IsDate(month + 1, day, year)) return false;
    number = DateToDayNumber(month + 1, day, year);
    return number <= kLastDayNumber;
}

ClockReading Clock() {
    ClockReading reading;
    ReadClock(&reading);
    return reading;
}

int32_t SecondOfDay(const ClockReading& reading) {
    ClockTime time;
    SplitLocalTime(reading.seconds, &time);
    return time.second + time.minute * 60 + time.hour * 3600;
}

}  // namespace

int32_t SecondsSince67() {
    const ClockReading reading = Clock();
    const int64_t west = int64_t{reading.minutesWest - reading.daylight * 60} * 60;
    return static_cast<int32_t>(reading.seconds - west + kSecondsOf1968And1969);
}

int32_t DaysSince67() {
    return SecondsSince67() / kSecondsPerDay + 1;
}

void DaysToDate(int32_t days, int32_t* month, int32_t* day, int32_t* year) {
    const bool isLate = days >= kLateDays;  // the calendar repeats itself every 400 years
    const int32_t z = (isLate ? days - kDaysOf8000Years : days) + kDayNumberOfDay0 + 1;
    int32_t a = z;
    if (z >= kFirstGregorianDay) {
        const int32_t alpha = Trunc((z - 1867216.25) / 36524.25);
        a = z + alpha + 1 - alpha / 4;
    }
    const int32_t b = a + 1524;
    const int32_t k = Trunc((b - 122.1) / 365.25);
    const int32_t d = Trunc(k * 365.25);
    const int32_t e = Trunc((b - d) / 30.6001);
    *day = b - d - Trunc(e * 30.6001);
    *month = e < 14 ? e - 2 : e - 14;
    *year = (*month < 2 ? k - 4715 : k - 4716) + (isLate ? 8000 : 0);
}

int32_t MoDaYrToDaysSince67(int32_t month, int32_t day, int32_t year, int32_t* days) {
    uint32_t number = 0;
    if (!DayNumber(month, day, year, number)) return 0;
    *days = static_cast<int32_t>(number - kDayNumberOfDay0);
    return 1;
}

int32_t MoDaYrToDayOfWeek(int32_t month, int32_t day, int32_t year, int32_t* dayOfWeek) {
    uint32_t number = 0;
    if (!DayNumber(month, day, year, number)) return 0;
    *dayOfWeek = static_cast<int32_t>((number + 1) % 7 + 1);
    return 1;
}

int32_t SecondsSinceMidnight() {
    return SecondOfDay(Clock());
}

int32_t MillisecondsSinceMidnight() {
    const ClockReading reading = Clock();
    return SecondOfDay(reading) * 1000 + reading.milliseconds;
}
