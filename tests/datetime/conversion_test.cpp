// The exported calls beyond what the golden files show: the last-error state
// they leave, pictures changed in place, the system time record, and the
// UTF-16 entry point in both byte orders.
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

// The text of a failure goes with the next conversion; its code stays.
TEST_F(Conversion, FailuresLeaveCodeAndText) {
    std::string in = "%H", out = "%H", value = "24";
    std::array<char, PX_DATETIME_OUTPUT_SIZE> output{};
    uint32_t code = 0;
    EXPECT_EQ(PX_ConvertDateTime(in.data(), out.data(), value.data(), output.data(), &code), 48);
    EXPECT_NE(LastErrorText(), nullptr);
    value = "ab";
    EXPECT_EQ(PX_ConvertDateTime(in.data(), out.data(), value.data(), output.data(), &code), 48);
    EXPECT_EQ(code, 12u);
    EXPECT_EQ(LastErrorText(), nullptr);
    value = "07";
    EXPECT_EQ(PX_ConvertDateTime(in.data(), out.data(), value.data(), output.data(), &code), 0);
    EXPECT_EQ(LastErrorCode(), 12);
    EXPECT_EQ(PX_ConvertDateTime(in.data(), out.data(), nullptr, output.data(), &code), 48);
    EXPECT_EQ(code, 26u);
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

// The value is narrowed in its own buffer to the low byte of each unit, and
// the text printed (up to an element that can't be printed) is widened in
// the caller's byte order, terminator included.
TEST_F(Conversion, Utf16EntryNarrowsTheValueAndWidensTheText) {
    const std::vector<char> high_bytes = {'1', 0x01, '2', 0x7f, '3', 0x00, '0', 0x00};
    const struct {
        const char* in;
        const char* out;
        std::vector<char> value;
        int32_t byte_order;
        uint32_t code, bytes;
        std::vector<char> text;
        std::string narrowed;
    } cases[] = {
        {"%Y-%m-%d", "%d/%m/%Y", Utf16("2024-01-31", false), 1, 0, 20,
         Utf16(std::string("31/01/2024\0", 11), false), "2024-01-31"},
        {"%H%M", "%H:%M", high_bytes, 2, 0, 10, Utf16(std::string("12:30\0", 6), true), "1230"},
        {"%Y", "%Y-%Q", Utf16("1999", true), 2, 0, 10, Utf16(std::string("1999-\0", 6), true),
         "1999"},
        // No bytes: an empty value, which the packed-digit rule refuses; the
        // buffer is not touched.
        {"%H%M", "%H:%M", {}, 2, 27, 0, {}, "z"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.in) + " to " + c.out + " order " + std::to_string(c.byte_order));
        std::string in = c.in, out = c.out;
        std::vector<char> value = c.value;
        value.push_back('z');
        std::vector<char> output(PX_DATETIME_OUTPUT_SIZE_UTF16, '#');
        uint32_t bytes = 99, code = 99;
        EXPECT_EQ(PX_ConvertDateTime_utf16(in.data(), out.data(), value.data(),
                                           static_cast<uint32_t>(c.value.size()), output.data(),
                                           &bytes, c.byte_order, &code),
                  c.code == 0 ? 0 : 48);
        EXPECT_EQ(code, c.code);
        EXPECT_EQ(bytes, c.bytes);
        EXPECT_EQ(std::vector<char>(output.begin(), output.begin() + c.text.size()), c.text);
        EXPECT_EQ(std::string(value.data(), c.narrowed.size()), c.narrowed);
    }
    std::string in = "%H", out = "%H";
    char value[] = "07";
    std::vector<char> output(PX_DATETIME_OUTPUT_SIZE_UTF16);
    uint32_t code = 0;
    EXPECT_EQ(
        PX_ConvertDateTime_utf16(in.data(), out.data(), value, 2, output.data(), nullptr, 2, &code),
        48);
    EXPECT_EQ(code, 26u);
}

using PictureEncoding = DateTimeTest;

// The picture is upper-cased in place; the encoding is terminated even in
// a buffer that was not zero-filled.
TEST_F(PictureEncoding, PictureIsUpperCasedInPlaceAndTheOutputTerminated) {
    char picture[] = "dd.mm.yy-";
    char encoded[16];
    std::memset(encoded, 'x', sizeof encoded);
    EXPECT_EQ(_parse(picture, encoded), 0);
    EXPECT_STREQ(picture, "DD.MM.YY-");
    EXPECT_STREQ(encoded, "%d.%m.%y-");
}

// The code of a failure is not cleared by the next encoding: it stops at once
// and reports the same code again.
TEST_F(PictureEncoding, EarlierFailureStopsTheNextEncoding) {
    ASSERT_EQ(Encode("DD DD").rc, kDuplicateDay);
    const Encoded stale = Encode("YYYY");
    EXPECT_EQ(stale.rc, kDuplicateDay);
    EXPECT_EQ(stale.format, "");
    EXPECT_EQ(LastErrorText(), nullptr);
    ClearLastError();
    EXPECT_EQ(Encode("YYYY").format, "%Y");
}

TEST_F(PictureEncoding, ExportedEncoderReportsThroughItsErrorCode) {
    char in[] = "yyyy-mm-dd";
    char out[] = "dd/mm/yyyy";
    char enc_in[sizeof in + 2] = {};
    char enc_out[sizeof out + 2] = {};
    uint32_t code = 99;
    EXPECT_EQ(PX_EncodeFormatStrings(in, out, enc_in, enc_out, &code), 0);
    EXPECT_EQ(code, 0u);
    EXPECT_STREQ(enc_in, "%Y-%m-%d");
    EXPECT_STREQ(enc_out, "%d/%m/%Y");

    char bad_in[] = "yyyy-qq";
    char untouched_out[] = "dd";
    EXPECT_EQ(PX_EncodeFormatStrings(bad_in, untouched_out, enc_in, enc_out, &code), 48);
    EXPECT_EQ(code, 11u);
    EXPECT_STREQ(untouched_out, "dd");

    ClearLastError();
    EXPECT_EQ(PX_EncodeFormatStrings(nullptr, out, enc_in, enc_out, &code), 48);
    EXPECT_EQ(code, 26u);
    EXPECT_STREQ(LastErrorText(), "26: Empty values or formatting strings");
    EXPECT_EQ(PX_EncodeFormatStrings(in, out, enc_in, nullptr, nullptr), 48);
}

}  // namespace
}  // namespace bu::datetime::testing
