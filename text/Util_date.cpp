// Dates. Calendar dates and day numbers are converted into one another in double
// precision, by way of the running day number of the internal calendar, which is the
// Julian Day Number less 1. Whole numbers are kept in 64 bits, so that any input stays
// in range until its result is known.

#include <cstdint>

#include "platform/clock.h"
#include "vr/date.h"

namespace {

constexpr int64_t kDayNumberOfDay0 = 2439855;
constexpr int64_t kFirstGregorianDate = 15821015;  // year, month, day
constexpr int64_t kFirstGregorianDay = 2299161;    // as a Julian Day Number
constexpr int64_t kSecondsOf1968And1969 = 63158400;
constexpr int32_t kSecondsPerDay = 86400;
constexpr int32_t kFebruary = 2;
constexpr int32_t kMonthLengths[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};

int64_t Trunc(double number) {
    return static_cast<int64_t>(number);
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

// January and February count as months 13 and 14 of the year before.
int64_t DateToDayNumber(int32_t month, int32_t day, int64_t year) {
    const double yearZero = year > 0 ? 0 : 0.75;
    int64_t m = month;
    if (m <= kFebruary) {
        year -= 1;
        m += 12;
    }
    int64_t gregorian = 0;
    if (year * 10000 + m * 100 + day >= kFirstGregorianDate) {
        const int64_t century = year / 100;
        gregorian = 2 - century + century / 4;
    }
    return Trunc(static_cast<double>(year) * 365.25 - yearZero) +
           Trunc(static_cast<double>(m + 1) * 30.6001 + day + 1720994.0 +
                 static_cast<double>(gregorian));
}

bool DayNumber(int32_t month, int32_t day, int32_t year, int64_t& number) {
    if (month > 11 || !IsDate(month + 1, day, year)) return false;
    number = DateToDayNumber(month + 1, day, year);
    return number - kDayNumberOfDay0 <= INT32_MAX;
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
    const int64_t z = days + kDayNumberOfDay0 + 1;
    int64_t a = z;
    if (z >= kFirstGregorianDay) {
        const int64_t alpha = Trunc((static_cast<double>(z) - 1867216.25) / 36524.25);
        a = z + alpha + 1 - alpha / 4;
    }
    const int64_t b = a + 1524;
    const int64_t k = Trunc((static_cast<double>(b) - 122.1) / 365.25);
    const int64_t d = Trunc(static_cast<double>(k) * 365.25);
    const int64_t e = Trunc(static_cast<double>(b - d) / 30.6001);
    *day = static_cast<int32_t>(b - d - Trunc(static_cast<double>(e) * 30.6001));
    *month = static_cast<int32_t>(e < 14 ? e - 2 : e - 14);
    *year = static_cast<int32_t>(*month < 2 ? k - 4715 : k - 4716);
}

int32_t MoDaYrToDaysSince67(int32_t month, int32_t day, int32_t year, int32_t* days) {
    int64_t number = 0;
    if (!DayNumber(month, day, year, number)) return 0;
    *days = static_cast<int32_t>(number - kDayNumberOfDay0);
    return 1;
}

int32_t MoDaYrToDayOfWeek(int32_t month, int32_t day, int32_t year, int32_t* dayOfWeek) {
    int64_t number = 0;
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
