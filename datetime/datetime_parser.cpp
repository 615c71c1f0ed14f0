// datetime_parser.cpp - the parser of date and time values.
#include "datetime_parser.h"

#include <array>
#include <cstring>
#include <string_view>

#include "datetime_errors.h"
#include "datetime_names.h"

namespace bu::datetime {

namespace {

constexpr std::array<int32_t, 10> kPowersOfTen = {1,      10,      100,      1000,      10000,
                                                  100000, 1000000, 10000000, 100000000, 1000000000};
constexpr int32_t kMaxMicrosecond = 999999;
constexpr int kMicrosecondDigits = 6;

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

char FoldCase(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool StartsWithIgnoringCase(std::string_view text, std::string_view prefix) {
    if (text.size() < prefix.size()) return false;
    for (size_t i = 0; i < prefix.size(); ++i) {
        if (FoldCase(text[i]) != FoldCase(prefix[i])) return false;
    }
    return true;
}

bool ContainsIgnoringCase(std::string_view text, std::string_view needle) {
    for (size_t i = 0; i + needle.size() <= text.size(); ++i) {
        if (StartsWithIgnoringCase(text.substr(i), needle)) return true;
    }
    return false;
}

bool AllDigits(std::string_view text) {
    for (char c : text) {
        if (!IsDigit(c)) return false;
    }
    return true;
}

// A value of digits alone has no separators to tell its fields apart, so it
// must fill the numeric fields of the format exactly.
int CheckPackedDigits(std::string_view value, std::string_view format) {
    if (!AllDigits(value)) return kNoError;
    if (format.empty()) return value.empty() ? kNoError : FailWithoutText(kAmbiguousInput);
    if (format.front() != '%') return kNoError;
    size_t digits = 0;
    for (size_t i = 0; i < format.size(); i += 2) {
        if (format[i] != '%' || i + 1 == format.size()) return kNoError;
        switch (format[i + 1]) {
            case 'H':
            case 'I':
            case 'M':
            case 'S':
            case 'd':
            case 'm':
            case 'y':
                digits += 2;
                break;
            case 'Y':
                digits += 4;
                break;
            default:
                return kNoError;
        }
    }
    return digits != value.size() ? FailWithoutText(kAmbiguousInput) : kNoError;
}

class ValueParser {
  public:
    ValueParser(std::string_view value, DateTimeRec* rec) : rest_(value), rec_(rec) {}

    int Run(const char* format) {
        for (const char* f = format; *f != '\0';) {
            if (*f != '%') {
                if (int rc = MatchLiteral(*f)) return rc;
                ++f;
                continue;
            }
            const char element = f[1];
            if (element == '\0') return Fail(kUnknownFormatElement);
            f += 2;
            int rc;
            if (element == 'f') {
                if (!IsDigit(*f)) return Fail(kUnknownFormatElement);
                rc = ReadFraction(*f - '0');
                ++f;
            } else {
                rc = ReadElement(element);
            }
            if (rc != kNoError) return rc;
        }
        return kNoError;
    }

  private:
    int MatchLiteral(char literal) {
        if (rest_.empty()) return kNoError;
        if (FoldCase(rest_.front()) != FoldCase(literal)) return Fail(kUnmatchedSeparator);
        rest_.remove_prefix(1);
        return kNoError;
    }

    int ReadElement(char element) {
        switch (element) {
            case '%':
                return MatchLiteral('%');
            case 'A':
            case 'a':
                return ReadWeekdayName();
            case 'B':
                return ReadMonthName(kMonthNames);
            case 'b':
                return ReadMonthName(kMonthShortNames);
            case 'H':
                return ReadDefaulted(&rec_->Hour, 2, 0, 23, kBadHour24);
            case 'I':
                return ReadDefaulted(&rec_->Hour, 2, 1, 12, kBadHour12);
            case 'M':
                return ReadDefaulted(&rec_->Minute, 2, 0, 59, kBadMinute);
            case 'S':
                return ReadDefaulted(&rec_->Second, 2, 0, 59, kBadSecond);
            case 'd':
                return ReadNumber(&rec_->Day, 2, 1, 31, kBadDay);
            case 'm':
                return ReadNumber(&rec_->Month, 2, 1, 12, kBadMonth);
            case 'Y':
                if (int rc = ReadNumber(&rec_->Year, 4, 0, 9999, kBadYear4)) return rc;
                rec_->Year -= kYearBase;
                return kNoError;
            case 'y':
                return ReadTwoDigitYear();
            case 'p':
                return ReadMeridiem();
            case 'z':
                return ReadTimeZone();
            default:
                return Fail(kUnknownFormatElement);
        }
    }

    // Up to `width` digits, at least one; returns how many were read.
    size_t TakeDigits(size_t width, int32_t* number) {
        size_t count = 0;
        int32_t n = 0;
        while (count < width && count < rest_.size() && IsDigit(rest_[count])) {
            n = n * 10 + (rest_[count] - '0');
            ++count;
        }
        rest_.remove_prefix(count);
        *number = n;
        return count;
    }

    int ReadNumber(int32_t* field, size_t width, int32_t low, int32_t high, int range_error) {
        int32_t n;
        if (TakeDigits(width, &n) == 0) return FailWithoutText(kUnmatchedSeparator);
        if (n < low || n > high) return Fail(range_error);
        *field = n;
        return kNoError;
    }

    // Fields that take 0 when the value has ended before them.
    int ReadDefaulted(int32_t* field, size_t width, int32_t low, int32_t high, int range_error) {
        if (rest_.empty()) {
            *field = 0;
            return kNoError;
        }
        return ReadNumber(field, width, low, high, range_error);
    }

    int ReadTwoDigitYear() {
        if (rest_.empty()) {
            rec_->Year = 100;
            return kNoError;
        }
        // As for four digits, the field is read in place and only then moved
        // to its century: 69 to 99 are 1969 to 1999, 00 to 68 are 2000 to 2068.
        if (int rc = ReadNumber(&rec_->Year, 2, 0, 99, kBadYear2)) return rc;
        if (rec_->Year < 69) rec_->Year += 100;
        return kNoError;
    }

    int ReadFraction(int max_digits) {
        if (rest_.empty()) {
            rec_->Microsecond = 0;
            return kNoError;
        }
        if (rest_.front() != '.') return Fail(kUnmatchedSeparator);
        rest_.remove_prefix(1);
        if (rest_.empty() || max_digits == 0) {
            rec_->Microsecond = 0;
            return kNoError;
        }
        int32_t n;
        const size_t digits = TakeDigits(static_cast<size_t>(max_digits), &n);
        if (digits == 0) return FailWithoutText(kUnmatchedSeparator);
        if (n > kMaxMicrosecond) return Fail(kBadSecond);
        // Scale the digits read to millionths: ".5" is half a second.
        const int shift = kMicrosecondDigits - static_cast<int>(digits);
        rec_->Microsecond = shift >= 0 ? n * kPowersOfTen[static_cast<size_t>(shift)]
                                       : n / kPowersOfTen[static_cast<size_t>(-shift)];
        return kNoError;
    }

    int ReadWeekdayName() {
        for (size_t day = 0; day < kWeekdayNames.size(); ++day) {
            for (std::string_view name : {kWeekdayNames[day], kWeekdayShortNames[day]}) {
                if (StartsWithIgnoringCase(rest_, name)) {
                    rec_->Weekday = static_cast<int32_t>(day);
                    rest_.remove_prefix(name.size());
                    return kNoError;
                }
            }
        }
        return Fail(kBadWeekdayName);
    }

    int ReadMonthName(const std::array<std::string_view, 12>& names) {
        for (size_t month = 0; month < names.size(); ++month) {
            if (StartsWithIgnoringCase(rest_, names[month])) {
                rec_->Month = static_cast<int32_t>(month + 1);
                rest_.remove_prefix(names[month].size());
                return kNoError;
            }
        }
        return Fail(kBadMonthName);
    }

    // The meridiem is only checked here; the hour is adjusted after the walk.
    int ReadMeridiem() {
        if (rest_.empty()) return kNoError;
        if (!StartsWithIgnoringCase(rest_, kAnteMeridiem) &&
            !StartsWithIgnoringCase(rest_, kPostMeridiem)) {
            return Fail(kBadMeridiem);
        }
        rest_.remove_prefix(2);
        return kNoError;
    }

    // "+H:M" to "+HH:MM", hours 0 to 14, minutes 0 to 59. A value that has
    // ended gives the zone "+00:00", whatever an earlier field set.
    int ReadTimeZone() {
        if (rest_.empty()) {
            std::memcpy(rec_->TimeZone, DateTimeRec{}.TimeZone, sizeof rec_->TimeZone);
            return kNoError;
        }
        if (rest_.size() < 4 || (rest_.front() != '+' && rest_.front() != '-')) {
            return Fail(kBadTimeZone);
        }
        const char sign = rest_.front();
        rest_.remove_prefix(1);
        int32_t hours;
        int32_t minutes;
        if (TakeDigits(2, &hours) == 0 || hours > 14) return Fail(kBadTimeZone);
        if (rest_.empty() || rest_.front() != ':') return Fail(kBadTimeZone);
        rest_.remove_prefix(1);
        if (TakeDigits(2, &minutes) == 0 || minutes > 59) return Fail(kBadTimeZone);
        char* tz = rec_->TimeZone;
        tz[0] = sign;
        tz[1] = static_cast<char>('0' + hours / 10);
        tz[2] = static_cast<char>('0' + hours % 10);
        tz[3] = ':';
        tz[4] = static_cast<char>('0' + minutes / 10);
        tz[5] = static_cast<char>('0' + minutes % 10);
        tz[6] = '\0';
        return kNoError;
    }

    std::string_view rest_;
    DateTimeRec* rec_;
};

}  // namespace

int _strptime(const char* value, const char* format, DateTimeRec* rec) {
    const std::string_view whole_value(value);
    if (int rc = CheckPackedDigits(whole_value, format)) return rc;
    if (int rc = ValueParser(whole_value, rec).Run(format)) return rc;
    // With a meridiem in the format the hour was read on the 12-hour clock.
    if (std::strchr(format, 'p') != nullptr) {
        rec->Hour = rec->Hour % 12 + (ContainsIgnoringCase(whole_value, kPostMeridiem) ? 12 : 0);
    }
    return kNoError;
}

}  // namespace bu::datetime
