// The row form: positions, prefixes and NULL bits of built rows, the check
// of rows taken as they stand, and the conversions of values to types.
#include <gtest/gtest.h>

#include <cstring>

#include "rows/row_form.h"
#include "test_columns.h"

namespace buhost {
namespace {

uint64_t readLE(const uint8_t* p, int width) {
    uint64_t v = 0;
    for (int i = width; i-- > 0;) v = v << 8 | p[i];
    return v;
}

// Eleven columns: two indicator bytes, every prefix width.
class RowFormTest : public ::testing::Test {
  protected:
    std::vector<ColumnDefinition> schema{
        testColumn("i", "INTEGER", 0),
        testColumn("s", "SMALLINT", 0, true),
        testColumn("b", "BYTEINT", 0),
        testColumn("big", "BIGINT", 0),
        testColumn("d", "DECIMAL", 0, false, 5, 2),
        testColumn("wide", "DECIMAL", 0, false, 20, 2),
        testColumn("c", "CHAR", 4),
        testColumn("v", "VARCHAR", 10, true),
        testColumn("n", "NUMBER", 20),
        testColumn("lob", "CLOB", 100, true),
        testColumn("f", "FLOAT", 0),
    };
    RowForm form{schema};
    RowBuffer row;
    void SetUp() override { form.prepare(row); }

    std::vector<CellValue> sample() {
        return {CellValue::ofInt(-2),        CellValue::ofInt(300),
                CellValue::ofInt(-128),      CellValue::ofInt(INT64_MIN),
                CellValue::ofText("-12.34"), CellValue::ofText("12345678901234567.89"),
                CellValue::ofText("ab"),     CellValue::ofText("x|y"),
                CellValue::ofText("1200"),   CellValue::ofText("lob text"),
                CellValue::ofReal(-1.5)};
    }
};

TEST_F(RowFormTest, ColumnsFollowTheIndicatorBytesWithTheirPrefixes) {
    ASSERT_EQ(form.indicatorBytes(), 2u);
    auto values = sample();
    form.build(values.data(), row);
    const uint8_t* d = row.data.data();
    // Fixed columns back to back from byte 2.
    EXPECT_EQ(row.offsets[0], 2u);
    EXPECT_EQ(static_cast<int32_t>(readLE(d + 2, 4)), -2);
    EXPECT_EQ(row.offsets[1], 6u);
    EXPECT_EQ(readLE(d + 6, 2), 300u);
    EXPECT_EQ(row.offsets[3], 9u);
    EXPECT_EQ(readLE(d + 9, 8), 0x8000000000000000ull);
    EXPECT_EQ(row.offsets[4], 17u);
    EXPECT_EQ(static_cast<int32_t>(readLE(d + 17, 4)), -1234);
    EXPECT_EQ(row.offsets[5], 21u);
    EXPECT_EQ(row.lengths[5], 16u);
    EXPECT_EQ(readLE(d + 21, 8), 1234567890123456789ull);
    EXPECT_EQ(readLE(d + 29, 8), 0u);
    // CHAR is blank-padded to its length.
    EXPECT_EQ(row.offsets[6], 37u);
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(d + 37), 4), "ab  ");
    // VARCHAR: 2-byte length at 41, data at 43.
    EXPECT_EQ(readLE(d + 41, 2), 3u);
    EXPECT_EQ(row.offsets[7], 43u);
    EXPECT_EQ(row.lengths[7], 3u);
    // NUMBER: 1-byte length, then scale -2 and mantissa 12.
    EXPECT_EQ(d[46], 3u);
    EXPECT_EQ(row.offsets[8], 47u);
    EXPECT_EQ(readLE(d + 47, 2), 0xfffeu);
    EXPECT_EQ(d[49], 12u);
    // CLOB: 8-byte length.
    EXPECT_EQ(readLE(d + 50, 8), 8u);
    EXPECT_EQ(row.offsets[9], 58u);
    EXPECT_EQ(row.offsets[10], 66u);
    double f = 0;
    std::memcpy(&f, d + 66, 8);
    EXPECT_EQ(f, -1.5);
    EXPECT_EQ(row.length, 74u);
    EXPECT_EQ(row.length, row.offsets[10] + row.lengths[10]);
}

TEST_F(RowFormTest, NullBitsRunHighBitFirstAcrossIndicatorBytes) {
    auto values = sample();
    values[1] = CellValue::null();
    values[7] = CellValue::null();
    values[9] = CellValue::null();
    form.build(values.data(), row);
    EXPECT_EQ(row.data[0], 0x40 | 0x01);  // columns 2 and 8
    EXPECT_EQ(row.data[1], 0x40);         // column 10
    EXPECT_EQ(row.indicators[1], 1);
    EXPECT_EQ(row.indicators[0], 0);
    EXPECT_EQ(row.indicators[9], 1);
    // A NULL fixed column keeps its width, a NULL variable one has length 0.
    EXPECT_EQ(row.lengths[1], 2u);
    EXPECT_EQ(readLE(row.data.data() + 6, 2), 0u);
    EXPECT_EQ(row.lengths[7], 0u);
    EXPECT_EQ(row.lengths[9], 0u);
}

TEST_F(RowFormTest, ValuesThatDoNotFitNameTheirColumn) {
    auto values = sample();
    values[7] = CellValue::ofText("eleven char");
    EXPECT_THROW(
        {
            try {
                form.build(values.data(), row);
            } catch (const JobError& e) {
                EXPECT_NE(std::string(e.what()).find("'v'"), std::string::npos) << e.what();
                throw;
            }
        },
        JobError);
    values = sample();
    values[0] = CellValue::null();  // not nullable
    EXPECT_THROW(form.build(values.data(), row), JobError);
    values = sample();
    values[2] = CellValue::ofInt(128);  // BYTEINT
    EXPECT_THROW(form.build(values.data(), row), JobError);
    values = sample();
    values[4] = CellValue::ofText("1000.00");  // DECIMAL(5,2)
    EXPECT_THROW(form.build(values.data(), row), JobError);
    values = sample();
    values[4] = CellValue::ofText("12x");
    EXPECT_THROW(form.build(values.data(), row), JobError);
}

TEST_F(RowFormTest, AdoptedRowsGetTheSameDescriptorAsBuiltOnes) {
    auto values = sample();
    values[7] = CellValue::null();
    form.build(values.data(), row);
    std::vector<uint8_t> bytes(row.data.begin(), row.data.begin() + row.length);
    RowBuffer again;
    form.prepare(again);
    form.adopt(bytes.data(), static_cast<uint32_t>(bytes.size()), again);
    EXPECT_EQ(again.offsets, row.offsets);
    EXPECT_EQ(again.lengths, row.lengths);
    EXPECT_EQ(again.indicators, row.indicators);
    EXPECT_EQ(again.length, row.length);
}

TEST_F(RowFormTest, AdoptRefusesRowsThatDisagreeWithTheSchema) {
    auto values = sample();
    form.build(values.data(), row);
    std::vector<uint8_t> bytes(row.data.begin(), row.data.begin() + row.length);
    RowBuffer other;
    form.prepare(other);
    // One byte too many, one too few.
    std::vector<uint8_t> longer = bytes;
    longer.push_back(0);
    EXPECT_THROW(form.adopt(longer.data(), static_cast<uint32_t>(longer.size()), other), JobError);
    EXPECT_THROW(form.adopt(bytes.data(), static_cast<uint32_t>(bytes.size() - 1), other),
                 JobError);
    // A VARCHAR prefix above the column's length.
    std::vector<uint8_t> tooLong = bytes;
    tooLong[41] = 11;
    EXPECT_THROW(form.adopt(tooLong.data(), static_cast<uint32_t>(tooLong.size()), other),
                 JobError);
}

TEST(ValueConversion, DecimalsRoundHalfAwayFromZero) {
    std::vector<ColumnDefinition> schema{testColumn("d", "DECIMAL", 0, false, 9, 2)};
    RowForm form(schema);
    RowBuffer row;
    form.prepare(row);
    auto scaled = [&](CellValue v) {
        form.build(&v, row);
        int32_t x = 0;
        std::memcpy(&x, row.data.data() + 1, 4);
        return x;
    };
    EXPECT_EQ(scaled(CellValue::ofText("12.345")), 1235);
    EXPECT_EQ(scaled(CellValue::ofText("12.344")), 1234);
    EXPECT_EQ(scaled(CellValue::ofText("-0.005")), -1);
    EXPECT_EQ(scaled(CellValue::ofText("7")), 700);
    EXPECT_EQ(scaled(CellValue::ofText(".5")), 50);
    EXPECT_EQ(scaled(CellValue::ofInt(-7)), -700);
    EXPECT_EQ(scaled(CellValue::ofReal(0.125)), 13);
    // Digits and scale, as the generator gives them, follow the same rules.
    EXPECT_EQ(scaled(CellValue::ofScaled(12345, 3)), 1235);
    EXPECT_EQ(scaled(CellValue::ofScaled(-5, 3)), -1);
    EXPECT_EQ(scaled(CellValue::ofScaled(7, 0)), 700);
}

TEST(ValueConversion, ADecimalTakesAllThirtyEightDigits) {
    std::vector<ColumnDefinition> schema{testColumn("d", "DECIMAL", 0, false, 38, 0)};
    RowForm form(schema);
    RowBuffer row;
    form.prepare(row);
    const std::string nines(38, '9'), tooWide = "1" + std::string(38, '0');
    CellValue v = CellValue::ofText(nines);
    form.build(&v, row);
    __int128 x = 0;
    std::memcpy(&x, row.data.data() + 1, 16);
    EXPECT_TRUE(x + 1 == static_cast<__int128>(10000000000000000000ull) * 10000000000000000000ull);
    v = CellValue::ofText(tooWide);
    EXPECT_THROW(form.build(&v, row), JobError);
}

TEST(ValueConversion, NumbersAreScaleAndMinimalMantissa) {
    EXPECT_EQ(encodeNumber("0"), "");
    EXPECT_EQ(encodeNumber("-0.00"), "");
    EXPECT_EQ(encodeNumber("1200"), std::string("\xfe\xff\x0c", 3));
    EXPECT_EQ(encodeNumber("-12.5"), std::string("\x01\x00\x83", 3));
    EXPECT_EQ(encodeNumber("128"), std::string("\x00\x00\x80\x00", 4));
    EXPECT_THROW(encodeNumber("1e5"), JobError);
    uint8_t bytes[kMaxNumberBytes];
    EXPECT_EQ(std::string(reinterpret_cast<char*>(bytes), encodeNumber(-125, 1, bytes)),
              encodeNumber("-12.5"));
}

TEST(ValueConversion, DatesBecomeIntDates) {
    std::vector<ColumnDefinition> schema{testColumn("d", "INTDATE", 0)};
    RowForm form(schema);
    RowBuffer row;
    form.prepare(row);
    CellValue v = CellValue::ofText("2024-02-29");
    form.build(&v, row);
    int32_t x = 0;
    std::memcpy(&x, row.data.data() + 1, 4);
    EXPECT_EQ(x, 1240229);
    v = CellValue::ofText("1899-12-31");
    form.build(&v, row);
    std::memcpy(&x, row.data.data() + 1, 4);
    EXPECT_EQ(x, -8769);  // (1899 - 1900) * 10000 + 1231
    v = CellValue::ofText("2024-13-01");
    EXPECT_THROW(form.build(&v, row), JobError);
}

}  // namespace
}  // namespace buhost
