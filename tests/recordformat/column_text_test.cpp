// Columns rendered as text: one row per type and edge value, the bytes
// exactly as records carry them (the deliberate oddities included), and the
// widening to UTF-16.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <string>

#include "column_text.h"

namespace {

using bu::rf::ColumnForm;
using bu::rf::TextWidth;

template <typename T>
std::string le(T value) {
    std::string s(sizeof value, '\0');
    std::memcpy(s.data(), &value, sizeof value);
    return s;
}

std::string le128(__int128 value) {
    return le(value);
}

__int128 nines(int count) {
    __int128 value = 0;
    while (count-- > 0) value = value * 10 + 9;
    return value;
}

// A NUMBER column: the scale in the exponent field, then the mantissa.
std::string number(int16_t scale, const std::string& mantissa) {
    return le(scale) + mantissa;
}

// A time element: seconds x 1000000, then hour and minute.
std::string time(uint32_t micro, uint8_t hour, uint8_t minute) {
    return le(micro) + std::string{static_cast<char>(hour), static_cast<char>(minute)};
}

std::string zoned(uint32_t micro, uint8_t hour, uint8_t minute, uint8_t zoneHour,
                  uint8_t zoneMinute) {
    return time(micro, hour, minute) +
           std::string{static_cast<char>(zoneHour), static_cast<char>(zoneMinute)};
}

std::string stamp(uint32_t micro, uint16_t year, uint8_t month, uint8_t day, uint8_t hour,
                  uint8_t minute) {
    return le(micro) + le(year) +
           std::string{static_cast<char>(month), static_cast<char>(day), static_cast<char>(hour),
                       static_cast<char>(minute)};
}

struct Rendering {
    const char* what;
    ColumnForm form;
    std::string column;
    std::string text;
};

const Rendering kRenderings[] = {
    {"INTEGER zero", {1, 0, 0}, le<int32_t>(0), "0"},
    {"INTEGER lowest", {1, 0, 0}, le<int32_t>(INT32_MIN), "-2147483648"},
    {"SMALLINT lowest", {2, 0, 0}, le<int16_t>(-32768), "-32768"},
    {"BYTEINT lowest", {6, 0, 0}, le<int8_t>(-128), "-128"},
    {"BIGINT lowest", {37, 0, 0}, le<int64_t>(INT64_MIN), "-9223372036854775808"},
    {"INTEGER of two bytes reads zeros behind", {1, 0, 0}, std::string("\x01\x02", 2), "513"},

    {"DECIMAL(5,2) zero has no point", {4, 5, 2}, le<int32_t>(0), "0"},
    {"DECIMAL(5,2)", {4, 5, 2}, le<int32_t>(12345), "123.45"},
    {"DECIMAL(5,2) one trailing zero goes", {4, 5, 2}, le<int32_t>(12350), "123.5"},
    {"DECIMAL(5,2) whole number", {4, 5, 2}, le<int32_t>(12300), "123"},
    {"DECIMAL(5,2) below one", {4, 5, 2}, le<int32_t>(5), "0.05"},
    {"DECIMAL(5,2) negative below one", {4, 5, 2}, le<int32_t>(-5), "-0.05"},
    {"DECIMAL(5,2) one", {4, 5, 2}, le<int32_t>(100), "1"},
    {"DECIMAL(2,1) one byte", {4, 2, 1}, le<int8_t>(-99), "-9.9"},
    {"DECIMAL(18,0) eight bytes",
     {4, 18, 0},
     le<int64_t>(-999999999999999999),
     "-999999999999999999"},
    {"DECIMAL(20,2) keeps trailing zeros", {4, 20, 2}, le128(100), "1.00"},
    {"DECIMAL(38,0) widest", {4, 38, 0}, le128(-nines(38)), "-" + std::string(38, '9')},
    {"DECIMAL(38,38) starts with the point",
     {4, 38, 38},
     le128(12345),
     "." + std::string(33, '0') + "12345"},
    {"DECIMAL(38,38) negative", {4, 38, 38}, le128(-5), "-." + std::string(37, '0') + "5"},
    {"DECIMAL scale beyond 38 is taken as 38",
     {4, 5, 60},
     le<int32_t>(5),
     "0." + std::string(37, '0') + "5"},

    {"FLOAT zero", {3, 0, 0}, le(0.0), "0"},
    {"FLOAT negative zero", {3, 0, 0}, le(-0.0), "0"},
    {"FLOAT exponent 0 trims", {3, 0, 0}, le(1.5), "1.5"},
    {"FLOAT one", {3, 0, 0}, le(-1.0), "-1"},
    {"FLOAT hundred", {3, 0, 0}, le(100.0), "100"},
    {"FLOAT negative keeps a zero", {3, 0, 0}, le(-100.0), "-100.0"},
    {"FLOAT fraction", {3, 0, 0}, le(1234.5), "1234.5"},
    {"FLOAT negative fraction keeps one more", {3, 0, 0}, le(-1234.5), "-1234.50"},
    {"FLOAT fifteenth digit", {3, 0, 0}, le(1000.00000000001), "1000.00000000001"},
    {"FLOAT negative loses the fifteenth digit behind a zero",
     {3, 0, 0},
     le(-1000.00000000001),
     "-1000.0"},
    {"FLOAT exponent 14", {3, 0, 0}, le(123456789012345.0), "123456789012345"},
    {"FLOAT exponent 15 is scientific", {3, 0, 0}, le(1e15), "1e+15"},
    {"FLOAT below one is scientific", {3, 0, 0}, le(0.5), "5e-01"},
    {"FLOAT small negative", {3, 0, 0}, le(-2.5e-5), "-2.5e-05"},
    {"FLOAT three-digit exponent", {3, 0, 0}, le(1e300), "1e+300"},
    {"FLOAT not a number", {3, 0, 0}, le(std::nan("")), "NaN"},
    {"FLOAT infinity", {3, 0, 0}, le(std::numeric_limits<double>::infinity()), "Infinity"},
    {"FLOAT negative infinity",
     {3, 0, 0},
     le(-std::numeric_limits<double>::infinity()),
     "-Infinity"},

    {"NUMBER of no bytes", {63, 0, 0}, "", "0"},
    {"NUMBER fraction", {63, 0, 0}, number(1, le<int8_t>(125)), "12.5"},
    {"NUMBER below one", {63, 0, 0}, number(1, le<int8_t>(5)), "5e-1"},
    {"NUMBER below one, more digits", {63, 0, 0}, number(2, le<int8_t>(25)), "2.5e-1"},
    {"NUMBER negative below one", {63, 0, 0}, number(3, le<int8_t>(-25)), "-2.5e-2"},
    {"NUMBER with zeros in the exponent", {63, 0, 0}, number(-2, le<int8_t>(12)), "1200"},
    {"NUMBER trailing zeros join the exponent", {63, 0, 0}, number(0, le<int16_t>(1200)), "1200"},
    {"NUMBER ten digits stay plain", {63, 0, 0}, number(-1, le<int32_t>(123456789)), "1234567890"},
    {"NUMBER eleven digits go scientific",
     {63, 0, 0},
     number(-2, le<int32_t>(123456789)),
     "123456789e+2"},
    {"NUMBER large exponent", {63, 0, 0}, number(-20, le<int8_t>(123)), "123e+20"},
    {"NUMBER longer than its form", {63, 0, 0}, number(0, std::string(18, '\x01')), ""},

    {"INTDATE", {11, 0, 0}, le<int32_t>(1010203), "2001/02/03"},
    {"INTDATE year 5 padded", {11, 0, 0}, le<int32_t>((5 - 1900) * 10000 + 101), "0005/01/01"},
    {"INTDATE year 0 is two zeros", {11, 0, 0}, le<int32_t>(-1900 * 10000 + 101), "00/01/01"},
    {"INTDATE month 0 has no digits", {11, 0, 0}, le<int32_t>(0), "1900//"},

    {"PERIOD(INTDATE)",
     {58, 0, 0},
     le<int32_t>(1010203) + le<int32_t>(991231),
     "('2001-02-03', '1999-12-31')"},
    {"PERIOD(TIME(0))",
     {59, 0, 0},
     time(6000000, 4, 5) + time(7000000, 0, 10),
     "('04:05:06', '00:10:07')"},
    {"PERIOD(TIME(3)) zero seconds",
     {59, 3, 0},
     time(0, 12, 0) + time(45500000, 12, 0),
     "('12:00:00.000', '12:00:45.500')"},
    {"PERIOD(TIME(6)) pad bytes of a small fraction",
     {59, 6, 0},
     time(500, 1, 2) + time(123456, 1, 2),
     "('01:02:00.0" + std::string(2, '\0') + "500', '01:02:00.123456')"},
    {"PERIOD(TIME(3)) one and two pad bytes",
     {59, 3, 0},
     time(12345, 1, 2) + time(1234, 1, 2),
     "('01:02:00.012', '01:02:00.0" + std::string(1, '\0') + "1')"},
    {"PERIOD(TIME(0)) fractions of a second show nothing",
     {59, 0, 0},
     time(999, 1, 2) + time(1, 1, 2),
     "('01:02:', '01:02:')"},
    {"PERIOD(TIME(3)) nine digits no valid time has",
     {59, 3, 0},
     time(123456789, 1, 2) + time(0, 1, 2),
     "('01:02:123.456', '01:02:00.000')"},
    {"PERIOD(TIME(7)) fraction beyond six shows no seconds",
     {59, 7, 0},
     time(6000000, 1, 2) + time(0, 1, 2),
     "('01:02:', '01:02:')"},
    {"PERIOD(TIME WITH TIME ZONE(0))",
     {60, 0, 0},
     zoned(6000000, 4, 5, 16, 0) + zoned(6000000, 4, 5, 3, 30),
     "('04:05:06+00:00', '04:05:06-03:30')"},
    {"PERIOD(TIME WITH TIME ZONE(0)) negative zone of hour 0",
     {60, 0, 0},
     zoned(0, 4, 5, 0, 0) + zoned(0, 4, 5, 26, 45),
     "('04:05:00-:00', '04:05:00+10:45')"},
    {"PERIOD(TIMESTAMP(0))",
     {61, 0, 0},
     stamp(6000000, 2001, 2, 3, 4, 5) + stamp(7000000, 2001, 2, 3, 4, 5),
     "('2001-02-03 04:05:06', '2001-02-03 04:05:07')"},
    {"PERIOD(TIMESTAMP(2)) month and day 0",
     {61, 2, 0},
     stamp(12340000, 99, 0, 0, 23, 59) + stamp(0, 2001, 12, 31, 0, 0),
     "('99-- 23:59:12.34', '2001-12-31 00:00:00.00')"},
    {"PERIOD(TIMESTAMP WITH TIME ZONE(0))",
     {62, 0, 0},
     stamp(6000000, 2001, 2, 3, 4, 5) + "\x15\x1e" + stamp(7000000, 2001, 2, 3, 4, 5) + "\x15\x1e",
     "('2001-02-03 04:05:06+05:30', '2001-02-03 04:05:07+05:30')"},

    {"BYTE has no rendering", {9, 0, 0}, "\x01\x02", ""},
    {"TIME has no rendering", {35, 0, 0}, time(0, 1, 2), ""},
};

class ColumnText : public ::testing::TestWithParam<Rendering> {};

TEST_P(ColumnText, RendersAsRecordsCarryIt) {
    const Rendering& r = GetParam();
    ConvertRecord record{};
    std::memset(record.Text, 'x', sizeof record.Text);
    bu::rf::BinaryToText(r.column.data(), static_cast<uint32_t>(r.column.size()), r.form,
                         TextWidth::Narrow, record);
    EXPECT_EQ(std::string(record.Text, static_cast<size_t>(record.TextLength)), r.text);
    EXPECT_EQ(record.Text[record.TextLength], '\0');
}

INSTANTIATE_TEST_SUITE_P(EveryType, ColumnText, ::testing::ValuesIn(kRenderings),
                         [](const auto& info) { return std::to_string(info.index); });

TEST(ColumnTextWidened, EveryCharacterTakesTwoBytesInThePlatformsOrder) {
    ConvertRecord record{};
    const std::string value = le<int32_t>(-10);
    bu::rf::BinaryToText(value.data(), 4, {1, 0, 0}, TextWidth::Utf16Little, record);
    EXPECT_EQ(std::string(record.Text, static_cast<size_t>(record.TextLength)), std::string("-\0"
                                                                                            "1\0"
                                                                                            "0\0",
                                                                                            6));
    bu::rf::BinaryToText(value.data(), 4, {1, 0, 0}, TextWidth::Utf16Big, record);
    EXPECT_EQ(std::string(record.Text, static_cast<size_t>(record.TextLength)), std::string("\0-\0"
                                                                                            "1\0"
                                                                                            "0",
                                                                                            6));
}

TEST(DoDtoA, DigitsWithLeadingZerosUpToTheScaleAndNoPoint) {
    char text[64] = {};
    const int32_t small = -5;
    ASSERT_EQ(Do_DtoA(text, 4, &small, 2), 4);
    EXPECT_EQ(std::string(text, 4), "-005");
    const __int128 wide = static_cast<__int128>(12345) * 1000000000000000000;
    ASSERT_EQ(Do_DtoA(text, 16, &wide, 0), 23);
    EXPECT_EQ(std::string(text, 23), "12345000000000000000000");
    const int64_t zero = 0;
    EXPECT_EQ(Do_DtoA(text, 8, &zero, 3), 0);
    EXPECT_EQ(Do_DtoA(text, 3, &small, 0), 0);
}

}  // namespace
