// A producer's rows into the data stream: ExtractDelimitedText splits a
// record read from the file into the row DC_CheckPutRow hands on, one at a
// time or placed in buffers; a refused record is reported, in the record
// error file when one is open. Delimited rows rebuilt in buffers are proven
// end to end (tests/e2e/producer_round_trip_test.cpp).
#include <cstring>
#include <string>
#include <vector>

#include "buffer_mode.h"
#include "delimited_export.h"
#include "delimited_parse.h"
#include "layer_fixture.h"
#include "record_error_file.h"
#include "record_error_settings.h"
#include "row_output.h"
#include "schema.h"

extern "C" void dcSetUDDIParsingCase(void) noexcept;

namespace {

using Bytes = std::vector<uint8_t>;

constexpr int32_t kVarchar = 7;

class RowOutput : public bu::test::LayerTest {
  protected:
    void SetUp() override {
        LayerTest::SetUp();
        openLogs(1);
        OperatorType = PX_OPERATOR_TYPE_PRODUCER;
        FileFormat = FMT_TEXT;
        TextDelimiter = {};
        TextDelimiter.Length = 1;
        TextDelimiter.Bytes[0] = '|';
        bUsingSingleByteDelimiter = 1;
        cDelimiter = '|';
        dcSetUDDIParsingCase();
        host.columns = {{"code", kVarchar, 3}, {"name", kVarchar, 8}};
        ASSERT_EQ(DC_EstablishSchema(host.handle()), 0);
        ASSERT_NE(static_cast<void*>(pmBufferTarget.Data), nullptr);  // packed: no reference
    }
    void TearDown() override {
        if (SG_pmFpErrors != 0) pmClose(SG_pmFpErrors);
        SG_pmFpErrors = 0;
        delete BufferInfo;
        BufferInfo = nullptr;
        LayerTest::TearDown();
    }
    // The record as a reader leaves it in pmBuffer, parsed.
    int32_t extract(const std::string& text) {
        record_.assign(text.begin(), text.end());
        record_.push_back(0);
        pmBuffer = {static_cast<uint32_t>(text.size()), record_.data()};
        return ExtractDelimitedText();
    }
    std::string row() const { return {static_cast<const char*>(pmBuffer.Data), pmBuffer.Length}; }
    // Buffer mode on, with a buffer of `size` bytes to fill.
    void buffers(uint32_t size) {
        BufferInfo = new dcBufferInfo_t{};
        BufferInfo->HeaderSize = 4;
        BufferInfo->LengthSize = 4;
        BufferInfo->HeaderTrailerBytes = 4;
        BufferInfo->RowIndBytes = 1;
        BufferInfo->MaxSize = size;
        buffer_.assign(size, 0xEE);
        BufferInfo->Buffer = BufferInfo->CurrentPos = buffer_.data();
    }
    Bytes used() const { return Bytes(buffer_.begin(), buffer_.begin() + BufferInfo->UsedOffset); }

    std::vector<char> record_;
    Bytes buffer_;
};

TEST_F(RowOutput, ARecordBecomesTheRowThatIsHandedOn) {
    ASSERT_EQ(extract("abc|xyz"), 0);
    EXPECT_EQ(ActualColumnCount, 2);
    EXPECT_EQ(row(), "abcxyz");
    EXPECT_EQ(DC_CheckPutRow(pmBuffer.Data, pmBuffer.Length, pmBuffer.Length), PXSTC_SamePhase);
    ASSERT_EQ(host.putRows.size(), 1u);
    EXPECT_EQ(host.putRows[0].columnCount, 2);
    EXPECT_EQ(std::string(host.putRows[0].bytes.begin(), host.putRows[0].bytes.end()), "abcxyz");

    // Rows that carry their indicators go without the column arrays.
    SG_IndicatorData = 1;
    EXPECT_EQ(DC_CheckPutRow("r", 1, 1), PXSTC_SamePhase);
    EXPECT_EQ(host.putRows[1].columnCount, 0);
}

TEST_F(RowOutput, RefusedRowsAndServicesAreReported) {
    EXPECT_EQ(DC_CheckPutRow("abc", 3, 4), PXSTC_LengthError);
    EXPECT_EQ(host.numbers(), std::vector<int32_t>{19113});
    EXPECT_TRUE(host.putRows.empty());
    EXPECT_TRUE(host.exitCodes.empty());

    host.putStatus = PXSTC_DataStreamError;
    EXPECT_EQ(DC_CheckPutRow("abc", 3, 3), PXSTC_FatalError);
    EXPECT_EQ(CurrentExitCode, 12);

    // Buffer mode with no buffer left to fill: refused, nothing written.
    host.putStatus = 0;
    buffers(64);
    BufferInfo->Buffer = BufferInfo->CurrentPos = nullptr;
    EXPECT_EQ(DC_CheckPutRow("abc", 3, 3), PXSTC_FatalError);
}

// The ledger's texts are the parse cases' (golden/parse_cases.txt).
TEST_F(RowOutput, RefusedRecordsAreKeptInTheErrorFileUnlessAcceptedWithoutALine) {
    attachDisk();
    bu::test::TempFile file;
    openOnDisk(file, &SG_pmFpErrors, pmFmtText);
    SG_ContinueOnRowError = 1;
    EXPECT_EQ(extract("abcd|toolongname"), 3);
    SG_AcceptExcessColumns = 3;  // accepted without a line
    EXPECT_EQ(extract("a|b|c"), 1);
    ASSERT_EQ(pmClose(SG_pmFpErrors), 0u);
    SG_pmFpErrors = 0;
    // The record as it was read, before the parse altered it.
    EXPECT_EQ(file.bytes(), "abcd|toolongname\n");

    UDDI_FeatureName[0] = 'u';  // the text names the feature as it stands
    bUsingUDDI = 0;
    EXPECT_EQ(extract("a|b"), 6);
    EXPECT_STREQ(ExtractErrMsg, "'uDDI' feature not initialized.");
}

TEST_F(RowOutput, BuffersFillToTheirLastByteAndThenGoOn) {
    SG_IndicatorData = 0;
    TextDelimiter.Length = 0;
    // Header 4, the indicator byte the row lacks, the row's 3 bytes: a
    // buffer of 8 is full.
    buffers(8);
    ASSERT_EQ(DC_CheckPutRow("abc", 3, 3), 0);
    EXPECT_EQ(used(), (Bytes{4, 0, 0, 0, 0, 'a', 'b', 'c'}));
    // The next row doesn't fit: the buffer goes on and the row waits.
    EXPECT_EQ(DC_CheckPutRow("d", 1, 1), PXSTC_SamePhase);
    ASSERT_EQ(host.putBuffers.size(), 1u);
    EXPECT_EQ(host.putBuffers[0].size(), 8u);  // no trailer
    EXPECT_EQ(BufferInfo->Buffer, nullptr);
    EXPECT_EQ(BufferInfo->BufferEmpty, 1);
}

TEST_F(RowOutput, DatesAreRewrittenAndLaterColumnsMove) {
    bu::dc::freeSchema();
    host.columns = {{"d", kVarchar, 12, 0, 0, 0, "YYYY-MM-DD", "DD.MM.YY"}, {"n", kVarchar, 4}};
    ASSERT_EQ(DC_EstablishSchema(host.handle()), 0);
    ASSERT_EQ(extract("2026-11-24|ab"), 0);
    ASSERT_EQ(FormatVarDateColsInRow(), 0);
    EXPECT_EQ(row(), "24.11.26ab");
    EXPECT_EQ(SG_ColLens[0], 8u);
    EXPECT_EQ(SG_ColOffs[1], 8u);

    // A refused date leaves the row as it was.
    ASSERT_EQ(extract("2026-13-24|ab"), 0);
    EXPECT_NE(FormatVarDateColsInRow(), 0);
    EXPECT_EQ(row(), "2026-13-24ab");
}

}  // namespace
