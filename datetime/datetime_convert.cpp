// datetime_convert.cpp - parse, check and print one date and time value.
#include "datetime_convert.h"

#include "calendar_rules.h"
#include "datetime_errors.h"
#include "datetime_parser.h"
#include "datetime_printer.h"

namespace bu::datetime {

namespace {

// Only a day and month that are both known can be checked; the month
// length then depends on the year where it is known.
int CheckDayInMonth(const DateTimeRec& rec) {
    if (rec.Month == kMissing || rec.Day == kMissing) return kNoError;
    const bool year_known = rec.Year != kMissing;
    if (rec.Day > DaysInMonth(rec.Month, year_known, rec.Year + kYearBase)) {
        return FailWithoutText(kDayNotInMonth);
    }
    return kNoError;
}

// A weekday name in the value is checked only against a complete date.
int CheckWeekday(const DateTimeRec& rec) {
    if (rec.Weekday == kMissing || rec.Year == kMissing || rec.Month == kMissing ||
        rec.Day == kMissing) {
        return kNoError;
    }
    return ComputeWeekday(rec) == rec.Weekday ? kNoError : FailWithoutText(kWeekdayMismatch);
}

void DefaultIfMissing(int32_t* field, int32_t value) {
    if (*field == kMissing) *field = value;
}

// Missing fields print as midnight of 1 January 1900; the weekday is left
// to be computed if the output asks for it.
void ApplyDefaults(DateTimeRec* rec) {
    DefaultIfMissing(&rec->Second, 0);
    DefaultIfMissing(&rec->Microsecond, 0);
    DefaultIfMissing(&rec->Minute, 0);
    DefaultIfMissing(&rec->Hour, 0);
    DefaultIfMissing(&rec->Day, 1);
    DefaultIfMissing(&rec->Month, 1);
    DefaultIfMissing(&rec->Year, 0);
    DefaultIfMissing(&rec->YearDay, 0);
}

}  // namespace

int _convert(const char* encoded_in, const char* encoded_out, const char* value, char* output) {
    ClearLastErrorText();
    DateTimeRec rec;
    if (int rc = _strptime(value, encoded_in, &rec)) return rc;
    if (int rc = CheckDayInMonth(rec)) return rc;
    if (int rc = CheckWeekday(rec)) return rc;
    ApplyDefaults(&rec);
    // An output format the record cannot fill ends the text early; the value
    // itself was valid, so that is not an error of the conversion.
    _strftime(output, kConvertOutputLimit, encoded_out, rec);
    return kNoError;
}

void _make_c_tm(const DateTimeRec& rec, std::tm* tm) {
    tm->tm_sec = rec.Second;
    tm->tm_min = rec.Minute;
    tm->tm_hour = rec.Hour;
    tm->tm_mday = rec.Day;
    tm->tm_mon = rec.Month - 1;
    tm->tm_year = rec.Year;
    tm->tm_wday = rec.Weekday;
    tm->tm_yday = rec.YearDay;
    tm->tm_isdst = rec.IsDst;
}

}  // namespace bu::datetime
