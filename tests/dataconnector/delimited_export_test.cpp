// Delimited data in the data connector layer: the set-up at schema time and
// the columns of a row found from its own bytes. Rows becoming records are
// shown end to end by the jobs of tests/e2e/delimited_output_test.cpp.
#include <cstring>
#include <string>
#include <vector>

#include "delimited_export.h"
#include "delimited_writer.h"
#include "layer_fixture.h"
#include "special_chars.h"
#include "var_fields.h"

namespace {

using bu::test::LayerTest;

class DelimitedExport : public LayerTest {
  protected:
    void SetUp() override {
        LayerTest::SetUp();
        openLogs(2);
        OperatorType = PX_OPERATOR_TYPE_CONSUMER;
        ConvertDelimitedData = 0;
        FileFormat = FMT_TEXT;
        TextDelimiter.Length = 1;
        TextDelimiter.Bytes[0] = '|';
        bQuotedData = 0;
        bUDDIcaseSetUp = 0;
    }
    void TearDown() override {
        dcfini();
        TextDelimiter.Length = 0;
        OperatorType = 0;
        LayerTest::TearDown();
    }
    int32_t establish() { return DC_EstablishSchema(host.handle()); }
};

TEST_F(DelimitedExport, ParsingCasesWithoutALoopAreRefused) {
    struct {
        int32_t parsingCase;
        int32_t result;
    } const cases[] = {{1100000, 0}, {2222222, 0}, {1212129, 0}, {0, 7},       {1000000, 7},
                       {3100000, 7}, {1300000, 7}, {1130000, 7}, {1100300, 7}, {1100030, 7}};
    for (const auto& c : cases) {
        UDDI_ParsingCase = c.parsingCase;
        EXPECT_EQ(ValidateUDDIcase(), c.result) << c.parsingCase;
    }
    EXPECT_TRUE(host.traced(" Unsupported parsing case."));
}

// Once the parsing case is formed, the schema checks it and makes the
// conversion table for the columns that are rendered.
TEST_F(DelimitedExport, SchemaSetsUpTheConversionOfItsColumns) {
    dcSetUDDIParsingCase();
    host.columns = {{"id", 1, 4}, {"name", 7, 10}, {"day", 15, 10}};
    ASSERT_EQ(establish(), 0);
    const ConvertRecord* table = bu::rf::convertTable();
    ASSERT_NE(table, nullptr);
    EXPECT_EQ(table[0].bConvert, 1);
    EXPECT_EQ(table[1].bConvert, 0);
    EXPECT_EQ(table[2].bConvert, 0);

    UDDI_ParsingCase = 3100000;
    EXPECT_EQ(establish(), PXSTC_FatalError);
    EXPECT_TRUE(host.traced("Invalid UDDI parsing case."));
    EXPECT_EQ(host.numbers(), std::vector<int32_t>{19160});
    EXPECT_EQ(CurrentExitCode, 12);
}

// A row of a NULLable INTEGER, a VARCHAR(10), a NUMBER(20) and a CLOB(100):
// indicator byte, then the columns behind their prefixes.
class VarFields : public DelimitedExport {
  protected:
    void SetUp() override {
        DelimitedExport::SetUp();
        host.columns = {{"i", 1, 4}, {"v", 7, 10}, {"n", 63, 20}, {"c", 40, 100}};
        ASSERT_EQ(establish(), 0);
    }
    static std::string row(uint8_t indicators, const std::string& varchar, uint64_t lobPrefix) {
        std::string r(1, static_cast<char>(indicators));
        r += std::string("\x07\0\0\0", 4);
        r += std::string{static_cast<char>(varchar.size()), '\0'} + varchar;
        r += std::string("\x03\x01\0\x7b", 4);
        r += std::string(reinterpret_cast<const char*>(&lobPrefix), 8) + "xy";
        return r;
    }
    int32_t setVarFields(std::string bytes) {
        bytes_ = std::move(bytes);
        pmBuffer.Data = bytes_.data();
        pmBuffer.Length = static_cast<uint32_t>(bytes_.size());
        total_ = 0;
        return DC_SetVarFields(&total_);
    }
    std::string bytes_;
    uint32_t total_ = 0;
};

TEST_F(VarFields, OffsetsLengthsAndIndicatorsFromTheRowsBytes) {
    // The LOB's prefix counts by its low half.
    ASSERT_EQ(setVarFields(row(0x40, "abc", 0x500000002ull)), 0);
    EXPECT_EQ(total_, 1u + 4 + 2 + 3 + 1 + 3 + 8 + 2);
    EXPECT_EQ(std::vector<uint32_t>(SG_ColOffs, SG_ColOffs + 4),
              (std::vector<uint32_t>{1, 7, 11, 22}));
    EXPECT_EQ(std::vector<uint32_t>(SG_ColLens, SG_ColLens + 4),
              (std::vector<uint32_t>{4, 3, 3, 2}));
    EXPECT_EQ(std::vector<uint8_t>(SG_IndBytes, SG_IndBytes + 4),
              (std::vector<uint8_t>{0, 1, 0, 0}));

    // A buffer's rows without indicator bytes start with their first column
    // and have no NULLs.
    NumIndBytes = 0;
    ASSERT_EQ(setVarFields(row(0x40, "abc", 2).substr(1)), 0);
    EXPECT_EQ(SG_ColOffs[1], 6u);
    EXPECT_EQ(SG_IndBytes[1], 0);
}

// Ending where a further column would start, inside a prefix, or inside a
// column's bytes, a row is too short, and nothing behind it is read; a
// column longer than the schema's is fatal.
TEST_F(VarFields, RowsThatDisagreeWithTheSchema) {
    const std::string good = row(0, "abc", 2);
    for (size_t cut : {size_t{5}, size_t{6}, size_t{9}, good.size() - 1}) {
        host.publicMessages.clear();
        EXPECT_EQ(setVarFields(good.substr(0, cut)), PXSTC_LengthError) << cut;
        EXPECT_EQ(host.numbers(), std::vector<int32_t>{19111}) << cut;
    }
    EXPECT_EQ(CurrentExitCode, 0);
    host.publicMessages.clear();
    EXPECT_EQ(setVarFields(row(0, "0123456789A", 2)), PXSTC_FatalError);
    EXPECT_EQ(host.arguments(19112), "1 2 'v' 10 11");
    EXPECT_TRUE(host.traced("VAR field length error in record 1, field 2, 'v'."));
    EXPECT_EQ(CurrentExitCode, 12);
}

}  // namespace
