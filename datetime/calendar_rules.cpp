// calendar_rules.cpp - weekday arithmetic, leap years and month lengths.
#include "calendar_rules.h"

namespace bu::datetime {

int32_t ComputeWeekday(const DateTimeRec& rec) {
    if (rec.Year == kMissing && rec.Month == kMissing && rec.Day == kMissing) return 1;
    if (rec.Year > kLastComputedYear) return rec.Weekday != kMissing ? rec.Weekday : 1;

    const int32_t month = rec.Month == kMissing ? 1 : rec.Month;
    const int32_t day = rec.Day == kMissing ? 1 : rec.Day;
    int32_t year = rec.Year == kMissing ? kYearBase : rec.Year + kYearBase;

    // Months counted from March, so that February's leap day ends the year.
    const int32_t m = month <= 2 ? month + 10 : month - 2;
    if (m >= 11) --year;
    const int32_t century = year / 100;
    const int32_t year_of_century = year % 100;
    // (26m - 2) / 10 is trunc(2.6m - 0.2) without floating-point rounding.
    int32_t w = (day + year_of_century + year_of_century / 4 + (26 * m - 2) / 10 + century / 4 -
                 2 * century) %
                7;
    // One fixed shift per era before 1752; a single correction of the sign
    // follows, which is not a full modulo for the shifted years.
    if (year >= 1700 && year <= 1751) {
        w -= 3;
    } else if (year < 1700) {
        w -= 4;
    }
    if (w < 0) w += 7;
    return w;
}

bool IsLeapYear(int32_t year) {
    if (year < 1 || year % 4 != 0) return false;
    return year % 100 != 0 || year % 400 == 0;
}

int32_t DaysInMonth(int32_t month, bool year_known, int32_t year) {
    switch (month) {
        case 2:
            return !year_known || IsLeapYear(year) ? 29 : 28;
        case 4:
        case 6:
        case 9:
        case 11:
            return 30;
        default:
            return 31;
    }
}

}  // namespace bu::datetime
