// The weekday and leap-year rules against the standard library's calendar,
// and the deliberate differences for dates before the calendar change.
#include <gtest/gtest.h>

#include <chrono>
#include <string>

#include "calendar_rules.h"
#include "datetime_test_support.h"
#include "px_datetime.h"

namespace bu::datetime::testing {
namespace {

namespace chr = std::chrono;

DateTimeRec DateOf(const chr::year_month_day& ymd) {
    DateTimeRec rec;
    rec.Year = static_cast<int>(ymd.year()) - kYearBase;
    rec.Month = static_cast<int32_t>(static_cast<unsigned>(ymd.month()));
    rec.Day = static_cast<int32_t>(static_cast<unsigned>(ymd.day()));
    return rec;
}

int32_t OracleWeekday(chr::sys_days day) {
    return static_cast<int32_t>(chr::weekday(day).c_encoding());
}

// 1899 is the one year the record cannot hold; it is pinned apart.
TEST(CalendarOracle, EveryDayFrom1752To3000) {
    const chr::sys_days first = chr::year(1752) / 9 / 14;
    const chr::sys_days last = chr::year(3000) / 12 / 31;
    int checked = 0;
    for (chr::sys_days day = first; day <= last; day += chr::days(1)) {
        const chr::year_month_day ymd(day);
        if (ymd.year() == chr::year(1899)) continue;
        const DateTimeRec rec = DateOf(ymd);
        ASSERT_EQ(ComputeWeekday(rec), OracleWeekday(day))
            << rec.Year + kYearBase << "-" << rec.Month << "-" << rec.Day;
        if (ymd.month() == chr::February && ymd.day() == chr::day(1)) {
            const int year = static_cast<int>(ymd.year());
            ASSERT_EQ(IsLeapYear(year), ymd.year().is_leap()) << year;
        }
        ++checked;
    }
    EXPECT_GT(checked, 455000);
    for (unsigned m = 1; m <= 12; ++m) {
        for (int year : {1900, 2000, 2023, 2024}) {
            const chr::year_month_day_last end{chr::year(year), chr::month_day_last{chr::month(m)}};
            EXPECT_EQ(DaysInMonth(static_cast<int32_t>(m), true, year),
                      static_cast<int32_t>(static_cast<unsigned>(end.day())));
        }
    }
}

TEST(CalendarOracle, YearsUpTo3002AreComputedAndLaterOnesTakenAsGiven) {
    DateTimeRec rec = DateOf(chr::year(4902) / 6 / 1);
    EXPECT_EQ(ComputeWeekday(rec), OracleWeekday(chr::year(4902) / 6 / 1));
    rec = DateOf(chr::year(4903) / 6 / 1);
    EXPECT_EQ(ComputeWeekday(rec), 1);
    rec.Weekday = 5;
    EXPECT_EQ(ComputeWeekday(rec), 5);
    EXPECT_EQ(ComputeWeekday(DateTimeRec{}), 1);
}

// 1899 reads as a missing year, so its days get the weekdays of 1900.
TEST(CalendarOracle, Year1899TakesTheWeekdaysOf1900) {
    const DateTimeRec rec = DateOf(chr::year(1899) / 12 / 31);
    EXPECT_EQ(rec.Year, kMissing);
    EXPECT_EQ(ComputeWeekday(rec), OracleWeekday(chr::year(1900) / 12 / 31));
    EXPECT_NE(ComputeWeekday(rec), OracleWeekday(chr::year(1899) / 12 / 31));
}

// Before 1752 a fixed shift gives the old calendar's weekday for the same
// written date (11 days behind from 1700, 10 before), up to a multiple of 7:
// the single sign correction leaves some results below 0.
TEST(CalendarOracle, EarlierDatesFollowTheOldCalendarWithoutAFullModulo) {
    int negative = 0;
    for (chr::sys_days day = chr::year(1600) / 3 / 1; day < chr::year(1752) / 9 / 14;
         day += chr::days(1)) {
        const chr::year_month_day ymd(day);
        // Dates of January and February count with the year before.
        const bool early_months = ymd.month() <= chr::February;
        const int counted_year = static_cast<int>(ymd.year()) - (early_months ? 1 : 0);
        const DateTimeRec rec = DateOf(ymd);
        const int32_t weekday = ComputeWeekday(rec);
        ASSERT_GE(weekday, -3);
        ASSERT_LE(weekday, 6);
        negative += weekday < 0;
        int32_t expected = OracleWeekday(day);
        if (counted_year < 1700) {
            expected = OracleWeekday(day + chr::days(10));
        } else if (counted_year <= 1751) {
            expected = OracleWeekday(day + chr::days(11));
        }
        ASSERT_EQ((weekday + 7) % 7, expected)
            << rec.Year + kYearBase << "-" << rec.Month << "-" << rec.Day;
    }
    EXPECT_GT(negative, 0);
    // 1 March 1700: Friday in the old calendar, but the rule gives -2.
    EXPECT_EQ(ComputeWeekday(DateOf(chr::year(1700) / 3 / 1)), -2);
    // 2 September 1752 was a Wednesday; from March 1752 no shift applies.
    EXPECT_EQ(ComputeWeekday(DateOf(chr::year(1752) / 9 / 2)), 6);
}

}  // namespace
}  // namespace bu::datetime::testing
