// DC_EstablishSchema: column arrays, indicator bytes and fixed lengths, the
// format rules, metadata columns of a producer, and the refusals.
#include <cstring>
#include <set>
#include <string>

#include "date_time_errors.h"
#include "layer_fixture.h"

namespace {

using bu::test::FakeColumn;
using bu::test::LayerTest;

class Schema : public LayerTest {
  protected:
    void SetUp() override {
        LayerTest::SetUp();
        openLogs();
        OperatorType = PX_OPERATOR_TYPE_CONSUMER;
    }
    int32_t establish() { return DC_EstablishSchema(host.handle()); }
    void producer() {
        OperatorType = PX_OPERATOR_TYPE_PRODUCER;
        Reading = 1;
    }
    void delimited() {
        FileFormat = FMT_TEXT;
        TextDelimiter.Length = 1;
        TextDelimiter.Bytes[0] = '|';
    }
    // A date column of a producer, with its pictures.
    static FakeColumn date(const char* name, const std::string& in, const std::string& out) {
        return {name, 7, 10, 0, 0, 0, in, out};
    }
};

TEST_F(Schema, ArraysAndSizesOfAConsumerSchema) {
    host.columns = {{"id", 1, 4}, {"name", 7, 20}, {"code", 5, 3}, {"text", 40, 100}};
    ASSERT_EQ(establish(), 0);
    EXPECT_EQ(SG_ColCount, 4);
    EXPECT_EQ(SchemaColCount, 4);
    EXPECT_STREQ(SG_ColNames[1], "name");
    EXPECT_EQ(SG_ColTypes[2], 5);
    EXPECT_EQ(SG_ColLensBase[1], 20u);
    EXPECT_EQ(SG_ColOffs[2], 24u);
    EXPECT_EQ(std::vector<int32_t>(SG_IsVarType, SG_IsVarType + 4), (std::vector{0, 1, 0, 1}));
    EXPECT_EQ(SG_VARtypesFlag, 1);
    EXPECT_EQ(NumIndBytes, 1u);
    EXPECT_EQ(BufferFixedLength, 127u + 1u);
    // Prefixes (2 bytes, 8 for an inline LOB) count outside format 1;
    // indicator bytes only with IndicatorMode.
    EXPECT_EQ(TotalFixedLength, 127u + 2u + 8u);
    EXPECT_EQ(bUsingUDDI, 1);
}

TEST_F(Schema, IndicatorBytesPerEightColumns) {
    host.columns.assign(8, FakeColumn{"c", 5, 1});
    ASSERT_EQ(establish(), 0);
    EXPECT_EQ(NumIndBytes, 1u);
    host.columns.push_back({"c9", 5, 1});
    ASSERT_EQ(establish(), 0);
    EXPECT_EQ(NumIndBytes, 2u);
    SG_IndicatorData = 1;
    ASSERT_EQ(establish(), 0);
    EXPECT_EQ(TotalFixedLength, 9u + 2u);
}

// Numbers in delimited records grow to their text's width; TEXT records
// take CHAR and ANSIDATE alone (the widths are worked out all the same, but
// nothing is converted); an UNFORMATTED consumer's block grows to the row.
TEST_F(Schema, WidthsOfEachFormat) {
    delimited();
    host.columns = {{"c", 5, 8}, {"i", 1, 4}, {"d", 4, 8, 10, 2}};
    ASSERT_EQ(establish(), 0);
    EXPECT_EQ(ConvertDelimitedData, 1);
    EXPECT_EQ(ConvertedExtraBytes, (11 - 4) + (12 - 8));
    EXPECT_EQ(TotalFixedLength, 20u);  // no prefixes counted in format 1

    TextDelimiter.Length = 0;
    ConvertDelimitedData = 0;
    host.columns = {{"c", 5, 10}, {"d", 15, 10}};
    EXPECT_EQ(establish(), 0);
    host.columns = {{"c", 5, 8}, {"i", 1, 4}};
    EXPECT_EQ(establish(), PXSTC_FatalError);
    EXPECT_EQ(ConvertDelimitedData, 0);
    EXPECT_EQ(ConvertedExtraBytes, 7);

    FileFormat = FMT_UNFORMATTED;
    BufferSize = 10;
    host.columns = {{"c", 5, 40}};
    ASSERT_EQ(establish(), 0);
    EXPECT_EQ(BufferSize, 40u);
}

TEST_F(Schema, RefusalsWithTheirMessages) {
    auto refused = [&](const char* name, int32_t rc, int32_t message, const char* arguments,
                       int16_t exitCode) {
        SCOPED_TRACE(name);
        EXPECT_EQ(establish(), rc);
        EXPECT_EQ(host.numbers(), std::vector<int32_t>{message});
        EXPECT_EQ(host.arguments(message), arguments);
        EXPECT_EQ(CurrentExitCode, exitCode);
        TearDown();
        SetUp();
        host.publicMessages.clear();
    };
    FileFormat = FMT_TEXT;
    host.columns = {{"v", 7, 10}};
    refused("TEXT of a VARCHAR", PXSTC_FatalError, 19108, "'TEXT' 'CHAR/ANSIDATE'", 12);
    delimited();
    host.columns = {{"b", 9, 4}};
    refused("delimited bytes", PXSTC_FatalError, 19133, "", 12);
    producer();
    FileFormat = FMT_UNFORMATTED;
    BufferSize = 10;
    host.columns = {{"c", 5, 40}};
    refused("UNFORMATTED row beyond the block", PXSTC_FatalError, 19107, "40 10", 12);
    producer();
    host.columns = {{"f1", 7, 30, 0, 0, 1}, {"f2", 5, 30, 0, 0, 1}};
    refused("two file name columns", PXSTC_NotSupported, 19476, "1 'f1' 2 'f2' 'FileName'", 8);
    producer();
    host.columns = {{"rec", 5, 4, 0, 0, 2}};
    refused("record number of CHAR", PXSTC_NotSupported, 19477, "1 'rec' 'INTEGER or BIGINT'", 8);
    producer();
    host.columns = {date("sold", "yyyy-qq", "dd")};
    refused("bad date picture", PXSTC_FatalError, 10660 + 11, "", 12);
    host.schemaCount = 2;
    refused("two schemas", PXSTC_FatalError, 19105, "", 12);
    host.schemaCount = 1;
    host.columns.clear();
    refused("no columns", PXSTC_FatalError, 19106, "0", 12);
    host.schemaListStatus = PXSTC_SystemError;
    EXPECT_EQ(establish(), PXSTC_FatalError);
    EXPECT_TRUE(host.traced("PX_GetTableSchemaList returned code 8 ('System Error')"));
}

// Date/time codes outside 1 to 29 have no message; flag 0 only names it.
TEST_F(Schema, DateTimeErrorsAreNumberedMessages) {
    EXPECT_EQ(ThrowDateTimeError(0, 1), 0);
    EXPECT_EQ(ThrowDateTimeError(30, 1), 0);
    EXPECT_EQ(ThrowDateTimeError(1, 0), 10661);
    EXPECT_EQ(ThrowDateTimeError(29, 0), 10689);
    EXPECT_TRUE(host.publicMessages.empty());
    EXPECT_EQ(ThrowDateTimeError(29, 1), 10689);
    EXPECT_EQ(host.numbers(), std::vector<int32_t>{10689});
}

// A consumer ignores the metadata kind; a producer's metadata columns leave
// the data columns and shift the offsets behind them.
TEST_F(Schema, MetadataColumnsAreAProducersOnly) {
    host.columns = {{"a", 5, 4}, {"file", 7, 30, 0, 0, 1}, {"rec", 1, 4, 0, 0, 2}, {"b", 5, 6}};
    ASSERT_EQ(establish(), 0);
    EXPECT_EQ(SG_ColCount, 4);
    EXPECT_EQ(MetadataCount, 0);

    producer();
    ASSERT_EQ(establish(), 0);
    EXPECT_EQ(MetadataCount, 2);
    EXPECT_EQ(SG_ColCount, 2);
    EXPECT_EQ(SchemaColCount, 2);
    EXPECT_EQ(FileNameColNum, 2);
    EXPECT_EQ(FileRecNumColNum, 3);
    EXPECT_STREQ(SG_ColNames[1], "b");
    EXPECT_EQ(SG_ColOffs[0], 0u);
    EXPECT_EQ(SG_ColOffs[1], 38u - 34u);
    EXPECT_EQ(MetadataColPrefix[0], 2);
}

// A producer's column with both pictures is a date column; "T" and "Z" each
// encode one byte longer, so a picture of the longest length the host hands
// over grows by two past it. A consumer doesn't look at pictures.
TEST_F(Schema, ProducerDateColumnsHaveTheirPicturesEncoded) {
    producer();
    const std::string longest = "HH T Z" + std::string(PX_FORMAT_TEXT_SIZE - 1 - 6, ' ');
    host.columns = {date("note", "yyyy", ""), date("sold", "yyyy-mm-dd", "dd/mm/yyyy"),
                    date("at", longest, longest)};
    ASSERT_EQ(establish(), 0);
    EXPECT_EQ(VarDatePresent, 1);
    EXPECT_EQ(dtEncodedFormatStrsIn[0], nullptr);
    ASSERT_NE(dtEncodedFormatStrsIn[1], nullptr);
    EXPECT_STREQ(dtEncodedFormatStrsIn[1], "%Y-%m-%d");
    EXPECT_STREQ(dtEncodedFormatStrsOut[1], "%d/%m/%Y");
    const std::string encoded = "%I %p %z" + std::string(249, ' ');
    EXPECT_EQ(std::string(dtEncodedFormatStrsIn[2]), encoded);
    EXPECT_EQ(std::string(dtEncodedFormatStrsOut[2]), encoded);
    EXPECT_NE(dtOutputRow, nullptr);

    OperatorType = PX_OPERATOR_TYPE_CONSUMER;
    Reading = 0;
    ASSERT_EQ(establish(), 0);
    EXPECT_EQ(VarDatePresent, 0);
    EXPECT_EQ(dtEncodedFormatStrsIn, nullptr);
}

// Every type code against the classification table: variable, inline LOB,
// character, fit for delimited data. The flags behind the pointers only
// ever move one way.
TEST_F(Schema, TypeClassification) {
    const std::set<int32_t> variable = {7,  8,  10, 13, 14, 39, 40, 41,
                                        42, 61, 62, 63, 65, 66, 67, 68};
    const std::set<int32_t> lob = {39, 40, 65, 67};
    const std::set<int32_t> character = {5, 15};
    const std::set<int32_t> delimitable = {7, 40, 41, 42, 65, 66, 67, 68};
    for (int32_t type = 0; type <= 68; ++type) {
        int32_t notAllChar = 0;
        int32_t fit = 1;
        dcCheckVarType(type, &notAllChar, &fit);
        EXPECT_EQ(ColTypeIsVar, variable.count(type)) << type;
        EXPECT_EQ(ColTypeIsLOB, lob.count(type)) << type;
        EXPECT_EQ(notAllChar, 1 - static_cast<int32_t>(character.count(type))) << type;
        EXPECT_EQ(fit, delimitable.count(type)) << type;
        notAllChar = 1;
        fit = 0;
        dcCheckVarType(type, &notAllChar, &fit);
        EXPECT_EQ(notAllChar + fit, 1) << type;
    }
    dcCheckVarType(58, nullptr, nullptr);
    EXPECT_EQ(ColTypeIsVar, 0);
}

}  // namespace
