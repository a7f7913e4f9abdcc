// Dates against a calendar that counts day by day in whole numbers, and the clock
// functions with the clock stopped in several zones.

#include "vr/date.h"

#include <gtest/gtest.h>

#include "tests/support/base.h"

namespace {

using Date = std::array<int32_t, 3>;   // month from 0, day, year
using Times = std::array<int32_t, 4>;  // seconds and days since 1967; in the day, s and ms

// The date's number, after a check of its day of the week; nothing for what is no date.
std::optional<int32_t> NumberOf(const Date& date) {
    int32_t days = -99, weekday = -99;
    const int32_t answer = MoDaYrToDaysSince67(date[0], date[1], date[2], &days);
    EXPECT_EQ(MoDaYrToDayOfWeek(date[0], date[1], date[2], &weekday), answer);
    // Day 1 was a Monday, and a refusal writes nothing.
    EXPECT_EQ(weekday, answer == 1 ? ((days - 1LL) % 7 + 7) % 7 + 1 : -99);
    if (answer != 1) {
        EXPECT_EQ(answer, 0);
        EXPECT_EQ(days, -99);
    }
    return answer == 1 ? std::optional(days) : std::nullopt;
}

// 29 February is no date in a year that only the Julian rule calls a leap year, but counts.
TEST(Dates, EveryDayToTheYear9999) {
    const int32_t lengths[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    int32_t number = -2439856;  // 1 January of the year -4712
    for (int32_t year = -4712; year <= 9999 && !HasFailure(); ++year) {
        const bool isGregorianLeap = year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
        const bool isLeap = year < 1582 ? year % 4 == 0 : isGregorianLeap;
        for (int32_t month = 0; month < 12; ++month) {
            const int32_t length = lengths[month] + (month == 1 && isLeap ? 1 : 0);
            for (int32_t day = 1; day <= length; ++day, ++number) {
                // The days that the change skipped have the numbers of those that follow it.
                for (; year == 1582 && month == 9 && day > 4 && day < 15; ++day)
                    ASSERT_EQ(NumberOf({month, day, year}), number + day - 5);
                const bool valid = year >= 0 && (month != 1 || day < 29 || isGregorianLeap);
                const Date date = {month, day, year};
                ASSERT_EQ(NumberOf(date), valid ? std::optional(number) : std::nullopt) << year;
                Date back = {};
                DaysToDate(number, &back[0], &back[1], &back[2]);
                ASSERT_EQ(back, date) << number;
            }
            ASSERT_EQ(NumberOf({month, length + 1, year}), std::nullopt) << year << " " << month;
        }
    }
}

TEST(Clock, StoppedInItsZone) {
    const std::pair<ClockReading, Times> cases[] = {
        {{-3601, 999, -60, 0}, {63158399, 731, 86399, 86399999}},  // Berlin, before midnight
        {{9000, 1, 210, 1}, {63158400, 732, 0, 1}},                // Newfoundland in summer
        {{2084274847, 999, -840, 0}, {INT32_MAX, 24856, 11647, 11647999}}};  // the last one
    for (const auto& [reading, times] : cases) {
        ControlFreezeClock(&reading);
        EXPECT_EQ((Times{SecondsSince67(), DaysSince67(), SecondsSinceMidnight(),
                         MillisecondsSinceMidnight()}),
                  times);
    }
}

// A zone in the place of another counts at once, and so does one that is changed in its place.
TEST(Clock, FollowsTheZone) {
    char variable[] = "TZ=ABC-5";
    putenv(variable);
    for (const auto& [digit, hours] : {std::pair('5', 5), {'7', 7}, {'5', 5}}) {
        variable[sizeof variable - 2] = digit;
        const int64_t late = SecondsSince67() - 63158400 - hours * 3600 - time(nullptr);
        EXPECT_TRUE(late == 0 || late == -1) << digit << " " << late;
    }
    setenv("TZ", "ABC0", 1);
    const auto late = SecondsSinceMidnight() - int32_t(time(nullptr) % 86400);
    EXPECT_TRUE(late == 0 || late == -1 || late == 86399) << late;
}

}  // namespace
