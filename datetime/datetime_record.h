// datetime_record.h - the broken-down date and time record the parser fills
// and the printer reads.
#pragma once

#include <cstdint>

namespace bu::datetime {

// Every numeric field uses -1 for "not given". Year counts from 1900, so the
// year 1899 is indistinguishable from a missing year.
inline constexpr int32_t kMissing = -1;

struct DateTimeRec {
    int32_t Microsecond = kMissing;
    int32_t Second = kMissing;
    int32_t Minute = kMissing;
    int32_t Hour = kMissing;
    int32_t Day = kMissing;      // day of the month
    int32_t Month = kMissing;    // 1 to 12
    int32_t Year = kMissing;     // year minus 1900
    int32_t Weekday = kMissing;  // 0 Sunday to 6 Saturday
    int32_t YearDay = kMissing;
    int32_t IsDst = kMissing;
    char TimeZone[7] = {'+', '0', '0', ':', '0', '0', '\0'};
};

inline constexpr int32_t kYearBase = 1900;

}  // namespace bu::datetime
