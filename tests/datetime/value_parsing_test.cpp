// Reading values by an encoded format: field ranges at both edges, the
// 12-hour clock, two-digit years, packed digits, values cut short, names,
// fractions and time zones.
#include <gtest/gtest.h>

#include <string>

#include "datetime_parser.h"
#include "datetime_test_support.h"

namespace bu::datetime::testing {
namespace {

using ValueParsing = DateTimeTest;

struct Parsed {
    int rc;
    DateTimeRec rec;
};

Parsed Parse(const char* value, const char* format) {
    ClearLastError();
    Parsed p{};
    p.rec = DateTimeRec{};
    p.rc = _strptime(value, format, &p.rec);
    return p;
}

// A trailing literal keeps single digits clear of the packed-digit rule.
TEST_F(ValueParsing, NumberFieldsAcceptTheirRangeAndRefuseItsNeighbours) {
    const struct {
        const char* format;
        const char* low;
        const char* high;
        const char* below;
        const char* above;
        int code;
    } cases[] = {
        {"%H.", "0", "23", nullptr, "24", kBadHour24},
        {"%I.", "1", "12", "0", "13", kBadHour12},
        {"%M.", "0", "59", nullptr, "60", kBadMinute},
        {"%S.", "0", "59", nullptr, "60", kBadSecond},
        {"%d.", "1", "31", "0", "32", kBadDay},
        {"%m.", "1", "12", "0", "13", kBadMonth},
        {"%Y.", "0", "9999", nullptr, nullptr, 0},
        {"%y.", "0", "99", nullptr, nullptr, 0},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(Parse(c.low, c.format).rc, 0) << c.format << " " << c.low;
        EXPECT_EQ(Parse(c.high, c.format).rc, 0) << c.format << " " << c.high;
        for (const char* bad : {c.below, c.above}) {
            if (bad == nullptr) continue;
            EXPECT_EQ(Parse(bad, c.format).rc, c.code) << c.format << " " << bad;
            EXPECT_STREQ(LastErrorText(), ErrorText(c.code));
        }
    }
    EXPECT_STREQ(ErrorText(kBadSecond), "21: Wrong SECOND value [0,61]");
    EXPECT_STREQ(ErrorText(kBadHour12), "17: Wrong 12-HOUR value representation [0,23]");
}

TEST_F(ValueParsing, FieldsLandInTheRecord) {
    const Parsed p = Parse("2024-03-05 07:08:09", "%Y-%m-%d %H:%M:%S");
    ASSERT_EQ(p.rc, 0);
    EXPECT_EQ(p.rec.Year, 124);
    EXPECT_EQ(p.rec.Month, 3);
    EXPECT_EQ(p.rec.Day, 5);
    EXPECT_EQ(p.rec.Hour, 7);
    EXPECT_EQ(p.rec.Minute, 8);
    EXPECT_EQ(p.rec.Second, 9);
    EXPECT_EQ(p.rec.Microsecond, kMissing);
    EXPECT_EQ(p.rec.Weekday, kMissing);
    EXPECT_EQ(Parse("0000", "%Y").rec.Year, -1900);
}

TEST_F(ValueParsing, NonDigitWhereANumberBeginsIsCodeTwelveWithoutText) {
    const Parsed p = Parse("2024-x1-01", "%Y-%m-%d");
    EXPECT_EQ(p.rc, kUnmatchedSeparator);
    EXPECT_EQ(LastErrorText(), nullptr);
    EXPECT_EQ(Parse("2024/01", "%Y-%m").rc, kUnmatchedSeparator);
    EXPECT_STREQ(LastErrorText(), "12: Unmatched separator with formatting string");
}

TEST_F(ValueParsing, TwelveHourClockFollowsTheMeridiem) {
    EXPECT_EQ(Parse("12:30 AM", "%I:%M %p").rec.Hour, 0);
    EXPECT_EQ(Parse("12:30 PM", "%I:%M %p").rec.Hour, 12);
    EXPECT_EQ(Parse("01:30 pm", "%I:%M %p").rec.Hour, 13);
    EXPECT_EQ(Parse("pm 11:00", "%p %I:%M").rec.Hour, 23);
    EXPECT_EQ(Parse("12:30 XM", "%I:%M %p").rc, kBadMeridiem);
    // A value that ends before the meridiem keeps the hour as read.
    EXPECT_EQ(Parse("09:15", "%I:%M %p").rec.Hour, 9);
    // Without an hour field the missing hour (-1) still goes through the
    // 12-hour adjustment.
    EXPECT_EQ(Parse("PM", "%p").rec.Hour, 11);
    EXPECT_EQ(Parse("AM", "%p").rec.Hour, -1);
}

TEST_F(ValueParsing, TwoDigitYearsPivotBetween68And69) {
    EXPECT_EQ(Parse("68", "%y").rec.Year, 168);
    EXPECT_EQ(Parse("69", "%y").rec.Year, 69);
    EXPECT_EQ(Parse("00", "%y").rec.Year, 100);
    EXPECT_EQ(Parse("99", "%y").rec.Year, 99);
}

TEST_F(ValueParsing, PackedDigitsMustFillTheFormatExactly) {
    const Parsed p = Parse("20240131", "%Y%m%d");
    EXPECT_EQ(p.rc, 0);
    EXPECT_EQ(p.rec.Day, 31);
    EXPECT_EQ(Parse("2024013", "%Y%m%d").rc, kAmbiguousInput);
    EXPECT_EQ(LastErrorText(), nullptr);
    EXPECT_EQ(Parse("202401311", "%Y%m%d").rc, kAmbiguousInput);
    EXPECT_EQ(Parse("1230", "%H%M%S").rc, kAmbiguousInput);
    // Any other element or a literal drops the rule.
    EXPECT_EQ(Parse("1230", "%H%M%p").rc, 0);
    EXPECT_EQ(Parse("7", "%d.").rc, 0);
    EXPECT_EQ(Parse("", "%Y").rc, kAmbiguousInput);
    EXPECT_EQ(Parse("", "").rc, 0);
    EXPECT_EQ(Parse("123", "").rc, kAmbiguousInput);
    EXPECT_EQ(Parse("abc", "").rc, 0);
}

TEST_F(ValueParsing, ValueCutShortTakesDefaultsWhereFieldsHaveThem) {
    Parsed p = Parse("12", "%H:%M:%S");
    ASSERT_EQ(p.rc, 0);
    EXPECT_EQ(p.rec.Hour, 12);
    EXPECT_EQ(p.rec.Minute, 0);
    EXPECT_EQ(p.rec.Second, 0);
    p = Parse("x", "x%y %f3 %z");
    ASSERT_EQ(p.rc, 0);
    EXPECT_EQ(p.rec.Year, 100);
    EXPECT_EQ(p.rec.Microsecond, 0);
    EXPECT_STREQ(p.rec.TimeZone, "+00:00");
    // The zone's default replaces what an earlier zone field of the format read.
    EXPECT_STREQ(Parse("+05:30", "%z %z").rec.TimeZone, "+00:00");
    // Year, month and day have no default.
    EXPECT_EQ(Parse("2024-01", "%Y-%m-%d").rc, kUnmatchedSeparator);
    EXPECT_EQ(Parse("2024-", "%Y-%m").rc, kUnmatchedSeparator);
    EXPECT_EQ(Parse("x", "x%Y").rc, kUnmatchedSeparator);
}

TEST_F(ValueParsing, TextBehindTheFormatIsIgnored) {
    const Parsed p = Parse("2024-01-31T10:00 and more", "%Y-%m-%d");
    EXPECT_EQ(p.rc, 0);
    EXPECT_EQ(p.rec.Day, 31);
}

TEST_F(ValueParsing, LiteralsMatchIgnoringCase) {
    EXPECT_EQ(Parse("D05", "d%d").rc, 0);
    EXPECT_EQ(Parse("05%", "%d%%").rc, 0);
    EXPECT_EQ(Parse("05#", "%d%%").rc, kUnmatchedSeparator);
}

TEST_F(ValueParsing, NamesOfWeekdaysAndMonths) {
    EXPECT_EQ(Parse("wednesday", "%A").rec.Weekday, 3);
    EXPECT_EQ(Parse("WED", "%A").rec.Weekday, 3);
    EXPECT_EQ(Parse("Saturday", "%a").rec.Weekday, 6);
    EXPECT_EQ(Parse("Sunday!", "%a!").rc, 0);
    EXPECT_EQ(Parse("Wendsday", "%A").rc, kBadWeekdayName);
    EXPECT_EQ(Parse("", "x%A").rc, kBadWeekdayName);
    EXPECT_EQ(Parse("SEPTEMBER", "%B").rec.Month, 9);
    EXPECT_EQ(Parse("Sep", "%B").rc, kBadMonthName);
    EXPECT_STREQ(LastErrorText(), "14: Unrecognized MONTH name");
    EXPECT_EQ(Parse("dec", "%b").rec.Month, 12);
    // The short form matches the head of a full name; the rest is left over.
    EXPECT_EQ(Parse("March 3", "%b %d").rc, kUnmatchedSeparator);
    EXPECT_EQ(Parse("March", "%b").rec.Month, 3);
}

TEST_F(ValueParsing, FractionsOfASecond) {
    EXPECT_EQ(Parse("12.5", "%S%f3").rec.Microsecond, 500000);
    EXPECT_EQ(Parse("12.123456", "%S%f6").rec.Microsecond, 123456);
    EXPECT_EQ(Parse("12.1234567", "%S%f6").rec.Microsecond, 123456);
    EXPECT_EQ(Parse("12.05", "%S%f2").rec.Microsecond, 50000);
    EXPECT_EQ(Parse("12", "%S%f3").rec.Microsecond, 0);
    EXPECT_EQ(Parse("12.", "%S%f3").rec.Microsecond, 0);
    EXPECT_EQ(Parse("12,5", "%S%f3").rc, kUnmatchedSeparator);
    EXPECT_EQ(Parse("12.x", "%S%f3").rc, kUnmatchedSeparator);
    EXPECT_EQ(LastErrorText(), nullptr);
    // Formats given directly may ask for more than six digits.
    EXPECT_EQ(Parse("12.1234567", "%S%f9").rc, kBadSecond);
    EXPECT_EQ(Parse("12.0123456", "%S%f9").rec.Microsecond, 12345);
    EXPECT_EQ(Parse("12.5", "%S%f0").rec.Microsecond, 0);
    EXPECT_EQ(Parse("12.5", "%S%fx").rc, kUnknownFormatElement);
}

TEST_F(ValueParsing, TimeZonesAreNormalised) {
    EXPECT_STREQ(Parse("+5:3", "%z").rec.TimeZone, "+05:03");
    EXPECT_STREQ(Parse("-14:00", "%z").rec.TimeZone, "-14:00");
    EXPECT_STREQ(Parse("+00:59 x", "%z").rec.TimeZone, "+00:59");
    for (const char* bad : {"+15:00", "+0530", "05:30", "+1:", "+12:60", "+:30", "+12:x"}) {
        EXPECT_EQ(Parse(bad, "%z").rc, kBadTimeZone) << bad;
    }
    EXPECT_STREQ(LastErrorText(), "24: Wrong TIMEZONE value representation ([+|-]HH:MI)");
}

TEST_F(ValueParsing, UnknownElementsOfTheFormat) {
    EXPECT_EQ(Parse("1", "%Q").rc, kUnknownFormatElement);
    EXPECT_EQ(Parse("x", "x%").rc, kUnknownFormatElement);
    EXPECT_STREQ(LastErrorText(), "25: Unknown internal formatting character");
}

}  // namespace
}  // namespace bu::datetime::testing
