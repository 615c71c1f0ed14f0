// calendar_rules.h - weekday arithmetic, leap years and month lengths as the
// conversion applies them.
#pragma once

#include <cstdint>

#include "datetime_record.h"

namespace bu::datetime {

// Years (counted from 1900, as in DateTimeRec) above this are not computed.
inline constexpr int32_t kLastComputedYear = 3002;

// Weekday 0 (Sunday) to 6 of the record's date, missing parts taken as
// January, the 1st and 1900. The arithmetic is Gregorian with a fixed shift
// for years before 1752 and no other allowance for the calendar change, so
// for early dates it can also come out outside 0 to 6; callers treat such a
// value as unprintable.
int32_t ComputeWeekday(const DateTimeRec& rec);

// Leap year of a calendar year (not counted from 1900); year 0 and earlier
// are never leap years.
bool IsLeapYear(int32_t year);

// Number of days of a month (1 to 12). With year_known false February has 29.
int32_t DaysInMonth(int32_t month, bool year_known, int32_t year);

}  // namespace bu::datetime
