// Whole conversions: date checks, weekday checks, defaults, the last-error
// state, and the UTF-16 entry point in both byte orders.
#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <string>
#include <vector>

#include "datetime_convert.h"
#include "datetime_test_support.h"
#include "px_datetime.h"

namespace bu::datetime::testing {
namespace {

using Conversion = DateTimeTest;

struct Converted {
    int32_t status;
    uint32_t code;
    std::string text;
};

Converted Convert(const char* in, const char* out, const char* value) {
    ClearLastError();
    std::string enc_in(in), enc_out(out), val(value);
    std::array<char, PX_DATETIME_OUTPUT_SIZE> output{};
    uint32_t code = 99;
    const int32_t status =
        PX_ConvertDateTime(enc_in.data(), enc_out.data(), val.data(), output.data(), &code);
    return {status, code, output.data()};
}

TEST_F(Conversion, DaysMustExistInTheirMonth) {
    const char* ymd = "%Y-%m-%d";
    EXPECT_EQ(Convert(ymd, ymd, "2024-02-29").text, "2024-02-29");
    EXPECT_EQ(Convert(ymd, ymd, "2000-02-29").code, 0u);
    for (const char* bad : {"2024-02-30", "2023-02-29", "1900-02-29", "0000-02-29", "2024-04-31",
                            "2024-06-31", "2024-09-31", "2024-11-31"}) {
        const Converted c = Convert(ymd, ymd, bad);
        EXPECT_EQ(c.status, 48) << bad;
        EXPECT_EQ(c.code, 28u) << bad;
    }
    EXPECT_EQ(Convert(ymd, ymd, "2024-12-31").code, 0u);
    // Without a year February may have 29 days.
    EXPECT_EQ(Convert("%m-%d", "%m/%d", "02-29").text, "02/29");
    EXPECT_EQ(Convert("%m-%d", "%m/%d", "02-30").code, 28u);
}

// 1899 is stored as the "missing" year: its February 29th is accepted and it
// prints as 1900.
TEST_F(Conversion, Year1899ReadsAsAMissingYear) {
    EXPECT_EQ(Convert("%Y-%m-%d", "%Y-%m-%d", "1899-02-29").text, "1900-02-29");
    EXPECT_EQ(Convert("%Y-%m-%d", "%d %b %Y", "1899-12-31").text, "31 Dec 1900");
}

TEST_F(Conversion, WeekdayIsCheckedOnlyAgainstACompleteDate) {
    const char* in = "%A, %B %d, %Y";
    EXPECT_EQ(Convert(in, "%Y-%m-%d", "Sunday, November 22, 2026").code, 0u);
    const Converted wrong = Convert(in, "%Y-%m-%d", "Monday, November 22, 2026");
    EXPECT_EQ(wrong.status, 48);
    EXPECT_EQ(wrong.code, 29u);
    EXPECT_EQ(Convert("%A, %B %d", "%B %d %A", "Monday, November 22").text, "November 22 Monday");
    EXPECT_EQ(Convert("%a %Y-%m", "%Y", "Mon 2026-11").code, 0u);
}

TEST_F(Conversion, MissingFieldsPrintAsMidnightOfTheFirstOf1900) {
    EXPECT_EQ(Convert("%H:%M", "%Y-%m-%d %H:%M:%S%f3 %A", "10:30").text,
              "1900-01-01 10:30:00.000 Monday");
    EXPECT_EQ(Convert("%d", "%Y-%m-%d %a", "15").text, "1900-01-15 Mon");
    EXPECT_EQ(Convert("%Y-%m-%d", "%A %z", "2024-02-29").text, "Thursday +00:00");
}

TEST_F(Conversion, ReformatsAcrossPictures) {
    std::string in_picture = "dd.mm.yy hh:mi t";
    std::string out_picture = "yyyy-mm-dd hh:mi:ss.s(3) z";
    std::string enc_in(in_picture.size() + 3, '\0'), enc_out(out_picture.size() + 3, '\0');
    uint32_t code = 99;
    ASSERT_EQ(PX_EncodeFormatStrings(in_picture.data(), out_picture.data(), enc_in.data(),
                                     enc_out.data(), &code),
              0);
    EXPECT_EQ(Convert(enc_in.c_str(), enc_out.c_str(), "31.12.68 12:05 am").text,
              "2068-12-31 00:05:00.000 +00:00");
    EXPECT_EQ(Convert(enc_in.c_str(), enc_out.c_str(), "01.01.69 01:30 PM").text,
              "1969-01-01 13:30:00.000 +00:00");
    EXPECT_EQ(Convert("%H:%M:%S%f3", "%S%f3", "01:02:12.5").text, "12.500");
}

TEST_F(Conversion, FailuresLeaveCodeAndText) {
    Converted c = Convert("%H:%M", "%H", "24:00");
    EXPECT_EQ(c.status, 48);
    EXPECT_EQ(c.code, 16u);
    EXPECT_STREQ(LastErrorText(), "16: Wrong 24-HOUR value representation [0,23]");
    EXPECT_EQ(LastErrorCode(), 16);
    // The text is cleared by the next conversion; the code is not.
    std::string in = "%H", out = "%H", value = "ab";
    std::array<char, PX_DATETIME_OUTPUT_SIZE> output{};
    uint32_t code = 0;
    EXPECT_EQ(PX_ConvertDateTime(in.data(), out.data(), value.data(), output.data(), &code), 48);
    EXPECT_EQ(code, 12u);
    EXPECT_EQ(LastErrorText(), nullptr);
    value = "07";
    EXPECT_EQ(PX_ConvertDateTime(in.data(), out.data(), value.data(), output.data(), &code), 0);
    EXPECT_EQ(LastErrorCode(), 12);
    EXPECT_EQ(PX_ConvertDateTime(in.data(), out.data(), nullptr, output.data(), &code), 48);
    EXPECT_EQ(code, 26u);
}

// Output picture the record cannot fill: the conversion still succeeds, and
// the text stops there without a terminator.
TEST_F(Conversion, OutputStopsWithoutTerminatorOnAnUnprintableElement) {
    std::string in = "%Y", out = "%Y-%Q-%m", value = "2024";
    std::array<char, PX_DATETIME_OUTPUT_SIZE> output;
    output.fill('#');
    uint32_t code = 99;
    EXPECT_EQ(PX_ConvertDateTime(in.data(), out.data(), value.data(), output.data(), &code), 0);
    EXPECT_EQ(code, 0u);
    EXPECT_EQ(std::string(output.data(), 6), "2024-#");
}

TEST_F(Conversion, RecordToSystemTimeCountsMonthsFromZero) {
    DateTimeRec rec;
    rec.Year = 124;
    rec.Month = 1;
    rec.Day = 31;
    rec.Weekday = 3;
    std::tm tm{};
    _make_c_tm(rec, &tm);
    EXPECT_EQ(tm.tm_mon, 0);
    EXPECT_EQ(tm.tm_year, 124);
    EXPECT_EQ(tm.tm_mday, 31);
    EXPECT_EQ(tm.tm_wday, 3);
    EXPECT_EQ(tm.tm_isdst, -1);
}

std::vector<char> Utf16(const std::string& text, bool little_endian) {
    std::vector<char> units;
    for (char c : text) {
        units.push_back(little_endian ? c : '\0');
        units.push_back(little_endian ? '\0' : c);
    }
    return units;
}

TEST_F(Conversion, Utf16InBothByteOrders) {
    for (const bool little : {true, false}) {
        std::string in = "%Y-%m-%d", out = "%d/%m/%Y";
        std::vector<char> value = Utf16("2024-01-31", little);
        std::vector<char> output(PX_DATETIME_OUTPUT_SIZE_UTF16, '#');
        uint32_t bytes = 0;
        uint32_t code = 99;
        ASSERT_EQ(PX_ConvertDateTime_utf16(in.data(), out.data(), value.data(),
                                           static_cast<uint32_t>(value.size()), output.data(),
                                           &bytes, little ? 2 : 1, &code),
                  0);
        EXPECT_EQ(code, 0u);
        const std::vector<char> expected = Utf16(std::string("31/01/2024\0", 11), little);
        ASSERT_EQ(bytes, 20u);
        EXPECT_EQ(std::vector<char>(output.begin(), output.begin() + 22), expected);
        // The value was narrowed in its own buffer.
        EXPECT_STREQ(value.data(), "2024-01-31");
    }
}

TEST_F(Conversion, Utf16KeepsOnlyTheLowByteAndCopesWithShortValues) {
    std::string in = "%H%M", out = "%H:%M";
    std::vector<char> value = {'1', 0x01, '2', 0x7f, '3', 0x00, '0', 0x00};
    std::vector<char> output(PX_DATETIME_OUTPUT_SIZE_UTF16);
    uint32_t bytes = 0, code = 0;
    ASSERT_EQ(PX_ConvertDateTime_utf16(in.data(), out.data(), value.data(), 8, output.data(),
                                       &bytes, 2, &code),
              0);
    EXPECT_EQ(bytes, 10u);
    EXPECT_EQ(std::string(output.data(), 4), std::string("1\0002\000", 4));

    // No bytes: an empty value, which the packed-digit rule refuses.
    char untouched = 'z';
    EXPECT_EQ(PX_ConvertDateTime_utf16(in.data(), out.data(), &untouched, 0, output.data(), &bytes,
                                       2, &code),
              48);
    EXPECT_EQ(code, 27u);
    EXPECT_EQ(bytes, 0u);
    EXPECT_EQ(untouched, 'z');
    EXPECT_EQ(PX_ConvertDateTime_utf16(in.data(), out.data(), value.data(), 8, output.data(),
                                       nullptr, 2, &code),
              48);
    EXPECT_EQ(code, 26u);
}

TEST_F(Conversion, Utf16WidensTheTextPrintedBeforeAnUnprintableElement) {
    std::string in = "%Y", out = "%Y-%Q";
    std::vector<char> value = Utf16("1999", true);
    std::vector<char> output(PX_DATETIME_OUTPUT_SIZE_UTF16, '#');
    uint32_t bytes = 0, code = 0;
    ASSERT_EQ(PX_ConvertDateTime_utf16(in.data(), out.data(), value.data(), 8, output.data(),
                                       &bytes, 2, &code),
              0);
    EXPECT_EQ(bytes, 10u);
    EXPECT_EQ(std::vector<char>(output.begin(), output.begin() + 12),
              Utf16(std::string("1999-\0", 6), true));
}

}  // namespace
}  // namespace bu::datetime::testing
