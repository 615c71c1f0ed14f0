// datetime_printer.cpp - the printer of date and time records.
#include "datetime_printer.h"

#include <array>
#include <cstring>
#include <optional>
#include <string_view>

#include "calendar_rules.h"
#include "datetime_names.h"

namespace bu::datetime {

namespace {

// Longest text one element produces: a point and nine fraction digits.
constexpr size_t kFieldTextSize = 10;
constexpr std::array<int32_t, 7> kPowersOfTen = {1, 10, 100, 1000, 10000, 100000, 1000000};
constexpr int32_t kMaxMicrosecond = 999999;

// The text of one element, or nothing when the record cannot be printed by it.
class FieldText {
  public:
    std::string_view view() const { return {text_.data(), size_}; }

    void Append(std::string_view text) {
        std::memcpy(text_.data() + size_, text.data(), text.size());
        size_ += text.size();
    }
    void AppendDigits(int64_t value, size_t width) {
        for (size_t i = width; i > 0; --i) {
            text_[size_ + i - 1] = static_cast<char>('0' + value % 10);
            value /= 10;
        }
        size_ += width;
    }

  private:
    std::array<char, kFieldTextSize> text_{};
    size_t size_ = 0;
};

std::optional<FieldText> Text(std::string_view text) {
    FieldText field;
    field.Append(text);
    return field;
}

std::optional<FieldText> Digits(int32_t value, size_t width, int32_t low, int32_t high) {
    if (value < low || value > high) return std::nullopt;
    FieldText field;
    field.AppendDigits(value, width);
    return field;
}

std::optional<FieldText> WeekdayName(const DateTimeRec& rec, bool full) {
    const int32_t weekday = rec.Weekday == kMissing ? ComputeWeekday(rec) : rec.Weekday;
    if (weekday < 0 || weekday > 6) return std::nullopt;
    const auto day = static_cast<size_t>(weekday);
    return Text(full ? kWeekdayNames[day] : kWeekdayShortNames[day]);
}

std::optional<FieldText> MonthName(const DateTimeRec& rec, bool full) {
    if (rec.Month < 1 || rec.Month > 12) return std::nullopt;
    const auto month = static_cast<size_t>(rec.Month - 1);
    return Text(full ? kMonthNames[month] : kMonthShortNames[month]);
}

std::optional<FieldText> TwelveHour(int32_t hour) {
    if (hour < 0 || hour > 23) return std::nullopt;
    return Digits(hour % 12 == 0 ? 12 : hour % 12, 2, 1, 12);
}

// A point and `digits` digits of the microseconds; more than six digits
// print the microseconds followed by zeros.
std::optional<FieldText> Fraction(int32_t microsecond, int digits) {
    if (microsecond < 0 || microsecond > kMaxMicrosecond) return std::nullopt;
    FieldText field;
    field.Append(".");
    const int64_t scaled =
        digits <= 6 ? microsecond / kPowersOfTen[static_cast<size_t>(6 - digits)]
                    : int64_t{microsecond} * kPowersOfTen[static_cast<size_t>(digits - 6)];
    field.AppendDigits(scaled, static_cast<size_t>(digits));
    return field;
}

std::optional<FieldText> TimeZone(const DateTimeRec& rec) {
    const std::string_view zone(rec.TimeZone, strnlen(rec.TimeZone, sizeof rec.TimeZone));
    if (zone.empty()) return std::nullopt;
    return Text(zone);
}

std::optional<FieldText> FormatElement(char element, const DateTimeRec& rec) {
    const int32_t year = rec.Year + kYearBase;
    switch (element) {
        case '%':
            return Text("%");
        case 'A':
        case 'a':
            return WeekdayName(rec, element == 'A');
        case 'B':
        case 'b':
            return MonthName(rec, element == 'B');
        case 'H':
            return Digits(rec.Hour, 2, 0, 23);
        case 'I':
            return TwelveHour(rec.Hour);
        case 'M':
            return Digits(rec.Minute, 2, 0, 99);
        case 'S':
            return Digits(rec.Second, 2, 0, 61);
        case 'd':
            return Digits(rec.Day, 2, 0, 99);
        case 'm':
            return Digits(rec.Month, 2, 1, 12);
        case 'Y':
            return Digits(year, 4, 0, 9999);
        case 'y':
            if (year < 0 || year > 9999) return std::nullopt;
            return Digits(year % 100, 2, 0, 99);
        case 'p':
            return Text(rec.Hour < 12 ? kAnteMeridiem : kPostMeridiem);
        case 'z':
            return TimeZone(rec);
        default:
            return std::nullopt;
    }
}

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

}  // namespace

size_t _strftime(char* output, size_t limit, const char* format, const DateTimeRec& rec) {
    if (limit == 0) return 0;
    const size_t room = limit - 1;
    // The point of a fraction is written but left out of the count returned.
    // The room is measured in bytes written, so that never lets the text
    // grow past the limit.
    size_t written = 0;
    size_t uncounted = 0;
    for (const char* f = format; *f != '\0';) {
        if (*f != '%') {
            if (written == room) break;
            output[written++] = *f++;
            continue;
        }
        std::optional<FieldText> field;
        const bool fraction = f[1] == 'f' && IsDigit(f[2]);
        if (fraction) {
            field = Fraction(rec.Microsecond, f[2] - '0');
            f += 3;
        } else if (f[1] != '\0') {
            field = FormatElement(f[1], rec);
            f += 2;
        }
        if (!field || field->view().size() > room - written) return written - uncounted;
        std::memcpy(output + written, field->view().data(), field->view().size());
        written += field->view().size();
        if (fraction) ++uncounted;
    }
    output[written] = '\0';
    return written - uncounted;
}

}  // namespace bu::datetime
