// DC_ReadRow in row mode: the end of the stream, the checks against the
// schema with their deliberate message arguments, the indicator strip, and
// rows written straight to the file.
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "layer_fixture.h"
#include "layer_hooks.h"
#include "pmdcomt.h"
#include "special_chars.h"

namespace {

using bu::test::LayerTest;

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
    // The layer writes the rows itself, into a fresh file of this format.
    void writeRowsTo(pmFormat format) {
        ::close(mkstemp(path_));
        attachDisk();
        ASSERT_EQ(pmOpen(2, 0, format, nullptr, 0, 0, path_, DC_pmHandle, nullptr, &pmfp), 0u);
        BulkUnloadOutMod = 0;
    }
    // What reached the file, once the access layer is down.
    std::string written() {
        pmShutDown(2);
        std::ifstream in(path_, std::ios::binary);
        std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
        std::remove(path_);
        return bytes;
    }
    char path_[32] = "/tmp/bu_row_tail_XXXXXX";
};

TEST_F(RowIntake, EmptyStreamEndsAtOnce) {
    EXPECT_EQ(read(), PXSTC_EndMethod);
    EXPECT_EQ(read(), PXSTC_EndMethod);
    EXPECT_TRUE(host.publicMessages.empty());
}

TEST_F(RowIntake, IndicatorBytesAreStrippedByDefault) {
    host.addRow({"0001", "abc"});
    ASSERT_EQ(read(), 0);
    // 1 indicator byte, "0001", 2-byte length, "abc".
    EXPECT_EQ(pmBuffer.Length, 9u);
    EXPECT_EQ(buffered(), std::string("0001\x03\x00"
                                      "abc",
                                      9));
}

TEST_F(RowIntake, IndicatorModeKeepsThem) {
    SG_IndicatorData = 1;
    host.addRow({"0001", "abc"}, {false, true});
    ASSERT_EQ(read(), 0);
    ASSERT_EQ(pmBuffer.Length, 10u);
    EXPECT_EQ(static_cast<const uint8_t*>(pmBuffer.Data)[0], 0x40);
}

TEST_F(RowIntake, LengthIsWhereTheLastColumnEnds) {
    auto row = host.makeRow({"0001", "ab"});
    row.data.resize(row.data.size() + 50, 'x');  // the host's length counts trailing bytes
    host.rows.push_back(row);
    ASSERT_EQ(read(), 0);
    EXPECT_EQ(pmBuffer.Length, 8u);
}

TEST_F(RowIntake, ColumnCountMismatchIsFatal) {
    auto row = host.makeRow({"0001", "ab"});
    row.columnCount = 3;
    row.lengths.push_back(0);
    row.offsets.push_back(0);
    host.rows.push_back(row);
    EXPECT_EQ(read(), PXSTC_FatalError);
    const auto* m = host.message(19109);
    ASSERT_NE(m, nullptr);
    // Both numbers are the schema's: the received count isn't passed.
    EXPECT_EQ(m->integer(1), 2);
    EXPECT_EQ(m->integer(2), 2);
    EXPECT_EQ(m->integer(3), 1);
    EXPECT_EQ(CurrentExitCode, 12);
}

TEST_F(RowIntake, RowsThatCannotBeMeasuredAreRefused) {
    // Before any schema a row of no columns matches the count of 0; a row
    // with a count but no arrays matches the schema's. Neither has a last
    // column to end at.
    SchemaColCount = 0;
    host.rows.push_back(bu::test::FakeRow{0, {}, {}, {}, {}});
    EXPECT_EQ(read(), PXSTC_FatalError);
    EXPECT_TRUE(host.hasMessage(19109));

    SchemaColCount = 2;
    auto row = host.makeRow({"0001", "ab"});
    row.offsets = std::vector<uint32_t>{};  // no storage: the host gives null arrays
    row.lengths = std::vector<uint32_t>{};
    host.rows.push_back(row);
    EXPECT_EQ(read(), PXSTC_FatalError);
    EXPECT_EQ(CurrentExitCode, 12);
}

TEST_F(RowIntake, OverlongColumnIsALengthErrorThatKeepsTheExitCode) {
    host.addRow({"0001", "0123456789"});  // equal to the schema: good
    ASSERT_EQ(read(), 0);
    host.addRow({"0001", "0123456789A"});
    EXPECT_EQ(read(), PXSTC_LengthError);
    const auto* m = host.message(19110);
    ASSERT_NE(m, nullptr);
    EXPECT_EQ(m->integer(1), 2);
    EXPECT_EQ(m->text(2), "name");
    EXPECT_EQ(m->integer(3), 10);
    EXPECT_EQ(m->integer(4), 10);  // SG_ColLens, not what arrived
    EXPECT_EQ(m->integer(5), 1);
    EXPECT_EQ(CurrentExitCode, 0);
}

TEST_F(RowIntake, RowEndingInsideItsIndicatorBytesIsTooShort) {
    // Offsets that leave out the indicator byte: the row "ends" at 0.
    auto row = host.makeRow({"0001", ""});
    row.offsets = {0, 0};
    row.lengths = {0, 0};
    host.rows.push_back(row);
    EXPECT_EQ(read(), PXSTC_LengthError);
    const auto* m = host.message(19111);
    ASSERT_NE(m, nullptr);
    EXPECT_EQ(m->integer(1), 1);
    EXPECT_EQ(CurrentExitCode, 0);
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
    writeRowsTo(pmFmtBinary);
    host.addRow({"0001", "abc"});
    host.addRow({"0002", "d"});
    host.addRow({"0003", "e"});
    EXPECT_EQ(read(), PXSTC_SamePhase);
    EXPECT_EQ(read(), PXSTC_SamePhase);
    EXPECT_EQ(FileRecordCount, 2u);
    ASSERT_EQ(pmClose(pmfp), 0u);
    EXPECT_EQ(read(), PXSTC_FatalError);  // the file is gone
    EXPECT_EQ(FileRecordCount, 2u);
    const auto* failed = host.message(19407);
    ASSERT_NE(failed, nullptr);
    EXPECT_EQ(failed->text(1), "pmWrite");
    EXPECT_NE(host.message(19306), nullptr);
    EXPECT_EQ(CurrentExitCode, 12);
    // The indicator byte goes; each record has its 2-byte length.
    EXPECT_EQ(written(), std::string("\x09\x00"
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
    writeRowsTo(pmFmtText);
    host.addRow({"0001", "abc"});
    auto cut = host.makeRow({"0002", "de"});
    cut.data[5] = 9;  // the name's prefix claims more than the row holds
    host.rows.push_back(cut);
    EXPECT_EQ(read(), PXSTC_SamePhase);
    EXPECT_EQ(read(), PXSTC_LengthError);
    const auto* m = host.message(19111);
    ASSERT_NE(m, nullptr);
    EXPECT_EQ(m->integer(1), 2);
    EXPECT_EQ(FileRecordCount, 1u);
    ASSERT_EQ(pmClose(pmfp), 0u);
    EXPECT_EQ(written(), "0001|abc\n");
}

}  // namespace
