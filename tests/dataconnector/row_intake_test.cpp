// DC_ReadRow in row mode: the end of the stream, the checks against the
// schema with their deliberate message arguments, the indicator strip, and
// rows written straight to the file.
#include <string>
#include <vector>

#include "layer_fixture.h"
#include "pmdcomt.h"
#include "special_chars.h"

namespace {

using bu::test::FakeRow;
using bu::test::LayerTest;
using bu::test::TempFile;

class RowIntake : public LayerTest {
  protected:
    void SetUp() override {
        LayerTest::SetUp();
        openLogs(1);
        OperatorType = PX_OPERATOR_TYPE_CONSUMER;
        BulkUnloadOutMod = 1;
        host.columns = {{"id", 5, 4}, {"name", 7, 10}};
        ASSERT_EQ(DC_EstablishSchema(host.handle()), 0);
        host.publicMessages.clear();
    }
    int32_t read() { return DC_ReadRow(host.handle()); }
    std::string buffered() const {
        return std::string(static_cast<const char*>(pmBuffer.Data), pmBuffer.Length);
    }
    // The layer writes the rows itself, into this file.
    void writeRowsTo(const TempFile& file, pmFormat format) {
        attachDisk();
        openOnDisk(file, &pmfp, format);
        BulkUnloadOutMod = 0;
    }
};

TEST_F(RowIntake, EmptyStreamEndsAtOnce) {
    EXPECT_EQ(read(), PXSTC_EndMethod);
    EXPECT_EQ(read(), PXSTC_EndMethod);
    EXPECT_TRUE(host.publicMessages.empty());
}

// The row handed on ends where its last column does, however long the
// host says it is; its indicator bytes go unless IndicatorMode keeps them.
TEST_F(RowIntake, TheRowHandedOnIsItsColumns) {
    auto row = host.makeRow({"0001", "abc"});
    row.data.resize(row.data.size() + 50, 'x');
    host.rows.push_back(row);
    ASSERT_EQ(read(), 0);
    EXPECT_EQ(buffered(), std::string("0001\x03\x00"
                                      "abc",
                                      9));
    host.addRow({"0002", "0123456789"});  // as long as the schema allows
    ASSERT_EQ(read(), 0);
    EXPECT_EQ(pmBuffer.Length, 16u);

    SG_IndicatorData = 1;
    host.addRow({"0001", "abc"}, {false, true});
    ASSERT_EQ(read(), 0);
    ASSERT_EQ(pmBuffer.Length, 10u);
    EXPECT_EQ(static_cast<const uint8_t*>(pmBuffer.Data)[0], 0x40);
    EXPECT_TRUE(host.publicMessages.empty());
}

// Rows that disagree with the schema. 19109 carries the schema's count
// twice, not the count received; 19110 carries SG_ColLens, not the length
// received. A row of no columns (before a schema that matches its count of
// 0) or without its arrays has no last column to end at.
TEST_F(RowIntake, RowsThatDisagreeWithTheSchema) {
    auto refused = [&](const char* name, FakeRow row, int32_t rc, int32_t message,
                       const char* arguments, int16_t exitCode, int32_t schemaColumns = 2) {
        SCOPED_TRACE(name);
        SetUp();
        SchemaColCount = schemaColumns;
        host.rows.push_back(std::move(row));
        EXPECT_EQ(read(), rc);
        EXPECT_EQ(host.numbers(), std::vector<int32_t>{message});
        EXPECT_EQ(host.arguments(message), arguments);
        EXPECT_EQ(CurrentExitCode, exitCode);
    };
    auto row = host.makeRow({"0001", "ab"});
    FakeRow more = row;
    more.columnCount = 3;
    more.lengths.push_back(0);
    more.offsets.push_back(0);
    refused("a column more", more, PXSTC_FatalError, 19109, "2 2 1", 12);
    refused("no columns", FakeRow{0, {}, {}, {}, {}}, PXSTC_FatalError, 19109, "0 2 1", 12, 0);
    FakeRow noArrays = row;
    noArrays.offsets = noArrays.lengths = std::vector<uint32_t>{};  // null arrays
    refused("no arrays", noArrays, PXSTC_FatalError, 19109, "2 2 1", 12);
    refused("column too long", host.makeRow({"0001", "0123456789A"}), PXSTC_LengthError, 19110,
            "2 'name' 10 10 1", 0);
    // Offsets that leave out the indicator byte: the row "ends" at 0.
    FakeRow inIndicators = host.makeRow({"0001", ""});
    inIndicators.offsets = inIndicators.lengths = {0, 0};
    refused("ends in its indicator bytes", inIndicators, PXSTC_LengthError, 19111, "1", 0);
}

TEST_F(RowIntake, FailedServiceIsReportedWithItsName) {
    DC_TraceLvl = 0;
    host.getRowStatus = PXSTC_DataStreamError;
    EXPECT_EQ(read(), PXSTC_FatalError);
    EXPECT_TRUE(host.traced("PX_GetRow returned code 40 ('DataStream Error')"));
    EXPECT_TRUE(host.traced("returning 48 (PXSTC_FatalError)"));
    EXPECT_EQ(CurrentExitCode, 12);
}

TEST_F(RowIntake, RowsTracedAboveLevelThree) {
    DC_TraceLvl = 4;
    host.addRow({"0001", "ab"});
    ASSERT_EQ(read(), 0);
    EXPECT_TRUE(host.traced("Data from PX_GetRow: SH=0, ColCount=2"));
    EXPECT_TRUE(host.traced("Schema: col=1, Ind=0, Len=2, off=7"));
    EXPECT_TRUE(host.traced("PX_GetRow Hexadecimal formatted display"));
    host.traceLines.clear();
    DC_TraceLvl = 3;
    host.addRow({"0002", "cd"});
    ASSERT_EQ(read(), 0);
    EXPECT_TRUE(host.traceLines.empty());
}

// Without the OUTMOD the layer writes each row itself: counted when it
// went into the file, not counted when the write was refused.
TEST_F(RowIntake, WithoutTheOutmodRowsGoStraightToTheFile) {
    TempFile file;
    writeRowsTo(file, pmFmtBinary);
    host.addRow({"0001", "abc"});
    host.addRow({"0002", "d"});
    host.addRow({"0003", "e"});
    EXPECT_EQ(read(), PXSTC_SamePhase);
    EXPECT_EQ(read(), PXSTC_SamePhase);
    EXPECT_EQ(FileRecordCount, 2u);
    ASSERT_EQ(pmClose(pmfp), 0u);
    EXPECT_EQ(read(), PXSTC_FatalError);  // the file is gone
    EXPECT_EQ(FileRecordCount, 2u);
    EXPECT_EQ(host.numbers(), (std::vector<int32_t>{19407, 19306}));
    EXPECT_EQ(host.message(19407)->text(1), "pmWrite");
    EXPECT_EQ(CurrentExitCode, 12);
    pmShutDown(2);
    // The indicator byte goes; each record has its 2-byte length.
    EXPECT_EQ(file.bytes(), std::string("\x09\x00"
                                        "0001\x03\x00"
                                        "abc"
                                        "\x07\x00"
                                        "0002\x01\x00"
                                        "d",
                                        20));
}

// A delimited row written by the layer is measured from its own bytes
// first: a row too short for its columns is refused with 19111 and isn't
// counted; a good one becomes its delimited record.
TEST_F(RowIntake, DelimitedRowsWithoutTheOutmodAreCheckedThenWritten) {
    FileFormat = FMT_TEXT;
    TextDelimiter.Length = 1;
    TextDelimiter.Bytes[0] = '|';
    bUsingSingleByteDelimiter = 1;
    cDelimiter = '|';
    dcSetUDDIParsingCase();
    ASSERT_EQ(DC_EstablishSchema(host.handle()), 0);
    TempFile file;
    writeRowsTo(file, pmFmtText);
    host.addRow({"0001", "abc"});
    auto cut = host.makeRow({"0002", "de"});
    cut.data[5] = 9;  // the name's prefix claims more than the row holds
    host.rows.push_back(cut);
    EXPECT_EQ(read(), PXSTC_SamePhase);
    EXPECT_EQ(read(), PXSTC_LengthError);
    EXPECT_EQ(host.message(19111)->integer(1), 2);
    EXPECT_EQ(FileRecordCount, 1u);
    ASSERT_EQ(pmClose(pmfp), 0u);
    pmShutDown(2);
    EXPECT_EQ(file.bytes(), "0001|abc\n");
}

}  // namespace
