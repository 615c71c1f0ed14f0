// The row form: positions, prefixes and NULL bits of built rows, the check
// of rows taken as they stand, the conversions of values to types, and the
// column a fault lengthens.
#include <gtest/gtest.h>

#include <cstring>

#include "rows/row_form.h"
#include "test_columns.h"

namespace buhost {
namespace {

using testsupport::hex;

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

// Fixed columns back to back behind the two indicator bytes, CHAR padded
// with blanks, each variable column behind its length: 2 bytes for VARCHAR,
// 1 for NUMBER (scale -2, mantissa 12), 8 for a LOB.
TEST_F(RowFormTest, ColumnsFollowTheIndicatorBytesWithTheirPrefixes) {
    ASSERT_EQ(form.indicatorBytes(), 2u);
    auto values = sample();
    form.build(values.data(), row);
    EXPECT_EQ(layoutOf(row), "2+4 6+2 8+1 9+8 17+4 21+16 37+4 43+3 47+3 58+8 66+8 of 74");
    EXPECT_EQ(rowHex(row),
              "0000"
              "feffffff"                          // INTEGER -2
              "2c01"                              // SMALLINT 300
              "80"                                // BYTEINT -128
              "0000000000000080"                  // BIGINT lowest
              "2efbffff"                          // DECIMAL(5,2) -12.34
              "1581e97df41022110000000000000000"  // DECIMAL(20,2)
              "61622020"                          // CHAR(4) "ab"
              "0300787c79"                        // VARCHAR "x|y"
              "03feff0c"                          // NUMBER 1200
              "08000000000000006c6f622074657874"  // CLOB "lob text"
              "000000000000f8bf");                // FLOAT -1.5
}

TEST_F(RowFormTest, NullBitsRunHighBitFirstAcrossIndicatorBytes) {
    auto values = sample();
    values[1] = CellValue::null();
    values[7] = CellValue::null();
    values[9] = CellValue::null();
    form.build(values.data(), row);
    EXPECT_EQ(rowHex(row).substr(0, 4), "4140");  // columns 2 and 8, then 10
    EXPECT_EQ(std::vector<uint8_t>(row.indicators.begin(), row.indicators.begin() + 11),
              (std::vector<uint8_t>{0, 1, 0, 0, 0, 0, 0, 1, 0, 1, 0}));
    // A NULL fixed column keeps its width (of zeros), a NULL variable one
    // has length 0.
    EXPECT_EQ(layoutOf(row), "2+4 6+2 8+1 9+8 17+4 21+16 37+4 43+0 44+3 55+0 55+8 of 63");
    EXPECT_EQ(rowHex(row).substr(12, 4), "0000");
}

// A value of each column's type; `wide` gives text its full length and
// numbers more digits, so that variable columns move the ones behind them.
CellValue valueFor(const ColumnDefinition& c, bool wide) {
    static const std::string text(100, 't');
    switch (c.type.kind) {
        case ValueKind::Text:
        case ValueKind::Bytes:
            return CellValue::ofText(std::string_view(text).substr(0, wide ? c.length : 1));
        case ValueKind::Number:
            return CellValue::ofText(wide ? "-123456.789" : "5");
        default:
            return CellValue::ofInt(wide ? 99 : 7);
    }
}

// Rows taken as they stand are measured by a plan made once from the
// schema. Whatever the order of fixed and variable columns, the NULLs and
// stray bits behind the last column's indicator, an adopted row gets the
// descriptor the row builder gave the same row.
TEST(RowAdopt, EveryLayoutGetsTheDescriptorOfTheBuiltRow) {
    const std::vector<std::vector<ColumnDefinition>> schemas{
        {testColumn("i", "INTEGER", 0, true), testColumn("c", "CHAR", 3),
         testColumn("b", "BIGINT", 0)},
        {testColumn("v", "VARCHAR", 6, true), testColumn("i", "INTEGER", 0),
         testColumn("c", "CHAR", 2, true)},
        {testColumn("s", "SMALLINT", 0), testColumn("v", "VARCHAR", 5, true),
         testColumn("n", "NUMBER", 20, true), testColumn("w", "VARBYTE", 4),
         testColumn("i", "INTEGER", 0)},
        {testColumn("i", "INTEGER", 0), testColumn("lob", "CLOB", 30, true)},
        {testColumn("a", "BYTEINT", 0, true), testColumn("b", "VARCHAR", 3, true),
         testColumn("c", "BYTEINT", 0, true), testColumn("d", "BYTEINT", 0, true),
         testColumn("e", "BYTEINT", 0, true), testColumn("f", "BYTEINT", 0, true),
         testColumn("g", "BYTEINT", 0, true), testColumn("h", "VARCHAR", 3, true),
         testColumn("i", "CHAR", 2, true), testColumn("j", "VARCHAR", 3, true)},
    };
    for (size_t s = 0; s < schemas.size(); ++s) {
        const RowForm form(schemas[s]);
        RowBuffer built, adopted;
        form.prepare(built);
        form.prepare(adopted);
        // Every third nullable column NULL from a different start in each
        // round, short and full values in turn.
        for (int round = 0; round < 6; ++round) {
            std::vector<CellValue> values;
            for (size_t i = 0; i < schemas[s].size(); ++i) {
                const bool null = schemas[s][i].nullable && (i + round) % 3 == 0;
                values.push_back(null ? CellValue::null() : valueFor(schemas[s][i], round % 2));
            }
            form.build(values.data(), built);
            std::vector<uint8_t> bytes(built.data.begin(), built.data.begin() + built.length);
            if (const size_t used = schemas[s].size() % 8; used != 0)
                bytes[form.indicatorBytes() - 1] |= static_cast<uint8_t>((1u << (8 - used)) - 1);
            form.adopt(bytes.data(), static_cast<uint32_t>(bytes.size()), adopted);
            const std::string what =
                "schema " + std::to_string(s) + " round " + std::to_string(round);
            EXPECT_EQ(layoutOf(adopted), layoutOf(built)) << what;
            EXPECT_EQ(adopted.indicators, built.indicators) << what;
        }
    }
}

// One byte too many or too few, or a VARCHAR prefix above the column's
// length: the row is refused.
TEST_F(RowFormTest, AdoptRefusesRowsThatDisagreeWithTheSchema) {
    auto values = sample();
    RowBuffer again;
    form.prepare(again);
    form.build(values.data(), row);
    std::vector<uint8_t> longer(row.data.begin(), row.data.begin() + row.length + 1);
    std::vector<uint8_t> shorter(row.data.begin(), row.data.begin() + row.length - 1);
    std::vector<uint8_t> prefixTooLong(row.data.begin(), row.data.begin() + row.length);
    prefixTooLong[41] = 11;
    for (const auto* refused : {&longer, &shorter, &prefixTooLong})
        EXPECT_THROW(form.adopt(refused->data(), static_cast<uint32_t>(refused->size()), again),
                     JobError);
}

// A value in a column of one type: its bytes, or the error that refused it.
std::string columnOf(const char* type, uint32_t length, int16_t precision, int16_t scale,
                     CellValue value) {
    std::vector<ColumnDefinition> schema{testColumn("c", type, length, false, precision, scale)};
    RowForm form(schema);
    RowBuffer row;
    form.prepare(row);
    try {
        form.build(&value, row);
    } catch (const JobError& e) {
        return e.what();
    }
    return hex(std::string_view(reinterpret_cast<const char*>(row.data.data() + row.offsets[0]),
                                row.lengths[0]));
}

// Decimals round half away from zero from text, integers, reals and digits
// with a scale, and take all 38 digits; NUMBERs are a scale and the fewest
// mantissa bytes; dates become integer dates. A value that doesn't fit is
// refused naming its column.
TEST(ValueConversion, ValuesBecomeTheBytesOfTheirType) {
    const struct {
        const char* type;
        uint32_t length;
        int16_t precision, scale;
        CellValue value;
        const char* bytes;
        const char* error = "";
    } cases[] = {
        {"DECIMAL", 0, 9, 2, CellValue::ofText("12.345"), "d3040000"},  // 1235
        {"DECIMAL", 0, 9, 2, CellValue::ofText("-0.005"), "ffffffff"},
        {"DECIMAL", 0, 9, 2, CellValue::ofText(".5"), "32000000"},
        {"DECIMAL", 0, 9, 2, CellValue::ofInt(-7), "44fdffff"},
        {"DECIMAL", 0, 9, 2, CellValue::ofReal(0.125), "0d000000"},
        {"DECIMAL", 0, 9, 2, CellValue::ofScaled(-5, 3), "ffffffff"},
        {"DECIMAL", 0, 38, 0, CellValue::ofText("99999999999999999999999999999999999999"),
         "ffffffff3f228a097ac4865aa84c3b4b"},
        {"DECIMAL", 0, 38, 0, CellValue::ofText("100000000000000000000000000000000000000"), "",
         "is not a decimal number"},
        {"DECIMAL", 0, 5, 2, CellValue::ofText("1000.00"), "",
         "column 'c': value exceeds DECIMAL precision"},
        {"DECIMAL", 0, 5, 2, CellValue::ofText("12x"), "", "column 'c': '12x' is not a decimal"},
        {"NUMBER", 20, 0, 0, CellValue::ofText("0"), ""},
        {"NUMBER", 20, 0, 0, CellValue::ofText("1200"), "feff0c"},
        {"NUMBER", 20, 0, 0, CellValue::ofText("-12.5"), "010083"},
        {"NUMBER", 20, 0, 0, CellValue::ofScaled(-125, 1), "010083"},
        {"NUMBER", 20, 0, 0, CellValue::ofText("128"), "00008000"},
        {"NUMBER", 20, 0, 0, CellValue::ofText("1e5"), "", "'1e5' is not a number"},
        {"INTDATE", 0, 0, 0, CellValue::ofText("2024-02-29"), "a5ec1200"},  // 1240229
        {"INTDATE", 0, 0, 0, CellValue::ofText("1899-12-31"), "bfddffff"},  // -8769
        {"INTDATE", 0, 0, 0, CellValue::ofText("2024-13-01"), "", "is not a date"},
        {"BYTEINT", 0, 0, 0, CellValue::ofInt(128), "", "column 'c': integer out of range"},
        {"VARCHAR", 10, 0, 0, CellValue::ofText("eleven char"), "", "column 'c'"},
        {"INTEGER", 0, 0, 0, CellValue::null(), "", "column 'c': NULL"},
    };
    for (const auto& c : cases) {
        const std::string got = columnOf(c.type, c.length, c.precision, c.scale, c.value);
        if (*c.error != '\0') {
            EXPECT_TRUE(testsupport::contains(got, c.error)) << got;
        } else {
            EXPECT_EQ(got, c.bytes) << c.value.text;
        }
    }
}

// A column is lengthened past its schema's length with X bytes; a variable
// one says so in its prefix, and the columns behind it move along whole (a
// fixed one lengthened is the families job's).
TEST(LengthenColumn, TheColumnGrowsAndWhatFollowsMoves) {
    const std::vector<ColumnDefinition> schema = {testColumn("v", "VARCHAR", 6),
                                                  testColumn("i", "INTEGER", 0)};
    const CellValue values[] = {CellValue::ofText("ab"), CellValue::ofInt(-7)};
    RowForm form(schema);
    RowBuffer row;
    form.prepare(row);
    row.data.resize(row.data.size() + 3);
    form.build(values, row);
    form.lengthenColumn(0, 2, row);
    EXPECT_EQ(layoutOf(row), "3+8 11+4 of 15");
    EXPECT_EQ(rowHex(row),
              "00"
              "0800"
              "6162585858585858"
              "f9ffffff");
}

}  // namespace
}  // namespace buhost
