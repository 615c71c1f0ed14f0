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
    void columns(std::initializer_list<FakeColumn> list) { host.columns = list; }
    void delimited() {
        FileFormat = FMT_TEXT;
        TextDelimiter.Length = 1;
        TextDelimiter.Bytes[0] = '|';
    }
};

TEST_F(Schema, ArraysAndSizesOfAConsumerSchema) {
    columns({{"id", 1, 4}, {"name", 7, 20}, {"code", 5, 3}, {"text", 40, 100}});
    ASSERT_EQ(establish(), 0);
    EXPECT_EQ(SG_ColCount, 4);
    EXPECT_EQ(SchemaColCount, 4);
    EXPECT_STREQ(SG_ColNames[1], "name");
    EXPECT_EQ(SG_ColTypes[2], 5);
    EXPECT_EQ(SG_ColLensBase[1], 20u);
    EXPECT_EQ(SG_ColOffs[2], 24u);
    EXPECT_EQ(SG_IsVarType[1], 1);
    EXPECT_EQ(SG_IsVarType[0], 0);
    EXPECT_EQ(SG_VARtypesFlag, 1);
    EXPECT_EQ(NumIndBytes, 1u);
    EXPECT_EQ(BufferFixedLength, 127u + 1u);
    // Prefixes (2 bytes, 8 for an inline LOB) count outside format 1;
    // indicator bytes only with IndicatorMode.
    EXPECT_EQ(TotalFixedLength, 127u + 2u + 8u);
    EXPECT_EQ(bUsingUDDI, 1);
}

TEST_F(Schema, IndicatorBytesPerEightColumns) {
    std::vector<FakeColumn> eight(8, FakeColumn{"c", 5, 1});
    host.columns = eight;
    ASSERT_EQ(establish(), 0);
    EXPECT_EQ(NumIndBytes, 1u);
    host.columns.push_back({"c9", 5, 1});
    ASSERT_EQ(establish(), 0);
    EXPECT_EQ(NumIndBytes, 2u);
    SG_IndicatorData = 1;
    ASSERT_EQ(establish(), 0);
    EXPECT_EQ(TotalFixedLength, 9u + 2u);
}

TEST_F(Schema, TextFormatNeedsCharacterColumns) {
    FileFormat = FMT_TEXT;
    columns({{"v", 7, 10}});
    EXPECT_EQ(establish(), PXSTC_FatalError);
    const auto* m = host.message(19108);
    ASSERT_NE(m, nullptr);
    EXPECT_EQ(m->text(1), "TEXT");
    EXPECT_EQ(m->text(2), "CHAR/ANSIDATE");
    EXPECT_EQ(CurrentExitCode, 12);

    columns({{"c", 5, 10}, {"d", 15, 10}});
    EXPECT_EQ(establish(), 0);
}

TEST_F(Schema, DelimitedRefusesByteColumns) {
    delimited();
    columns({{"b", 9, 4}});
    EXPECT_EQ(establish(), PXSTC_FatalError);
    EXPECT_TRUE(host.hasMessage(19133));
}

TEST_F(Schema, DelimitedConvertsNumbersToText) {
    delimited();
    columns({{"c", 5, 8}, {"i", 1, 4}, {"d", 4, 8, 10, 2}});
    ASSERT_EQ(establish(), 0);
    EXPECT_EQ(ConvertDelimitedData, 1);
    EXPECT_EQ(ConvertedExtraBytes, (11 - 4) + (12 - 8));
    EXPECT_EQ(TotalFixedLength, 20u);  // no prefixes counted in format 1
}

TEST_F(Schema, WithoutDelimiterNothingIsConverted) {
    FileFormat = FMT_TEXT;
    columns({{"c", 5, 8}, {"i", 1, 4}});
    // Not all CHAR: refused as TEXT, but the sizes were worked out first.
    EXPECT_EQ(establish(), PXSTC_FatalError);
    EXPECT_EQ(ConvertDelimitedData, 0);
    EXPECT_EQ(ConvertedExtraBytes, 7);
}

TEST_F(Schema, UnformattedConsumerGrowsTheBuffer) {
    FileFormat = FMT_UNFORMATTED;
    BufferSize = 10;
    columns({{"c", 5, 40}});
    ASSERT_EQ(establish(), 0);
    EXPECT_EQ(BufferSize, 40u);
}

TEST_F(Schema, UnformattedProducerRefusesAShortBuffer) {
    OperatorType = PX_OPERATOR_TYPE_PRODUCER;
    Reading = 1;
    FileFormat = FMT_UNFORMATTED;
    BufferSize = 10;
    columns({{"c", 5, 40}});
    EXPECT_EQ(establish(), PXSTC_FatalError);
    const auto* m = host.message(19107);
    ASSERT_NE(m, nullptr);
    EXPECT_EQ(m->integer(1), 40);
    EXPECT_EQ(m->integer(2), 10);
}

TEST_F(Schema, MetadataKindIsIgnoredByAConsumer) {
    columns({{"file", 7, 30, 0, 0, 1}, {"v", 5, 4}});
    ASSERT_EQ(establish(), 0);
    EXPECT_EQ(SG_ColCount, 2);
    EXPECT_EQ(MetadataCount, 0);
}

TEST_F(Schema, ProducerMetadataColumnsShiftTheOffsetsBehindThem) {
    OperatorType = PX_OPERATOR_TYPE_PRODUCER;
    Reading = 1;
    columns({{"a", 5, 4}, {"file", 7, 30, 0, 0, 1}, {"rec", 1, 4, 0, 0, 2}, {"b", 5, 6}});
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

TEST_F(Schema, ProducerMetadataFaults) {
    OperatorType = PX_OPERATOR_TYPE_PRODUCER;
    Reading = 1;
    columns({{"f1", 7, 30, 0, 0, 1}, {"f2", 5, 30, 0, 0, 1}});
    EXPECT_EQ(establish(), PXSTC_NotSupported);
    const auto* m = host.message(19476);
    ASSERT_NE(m, nullptr);
    EXPECT_EQ(m->integer(1), 1);
    EXPECT_EQ(m->text(2), "f1");
    EXPECT_EQ(m->integer(3), 2);
    EXPECT_EQ(m->text(4), "f2");
    EXPECT_EQ(m->text(5), "FileName");
    EXPECT_EQ(CurrentExitCode, 8);

    columns({{"rec", 5, 4, 0, 0, 2}});
    EXPECT_EQ(establish(), PXSTC_NotSupported);
    ASSERT_TRUE(host.hasMessage(19477));
    EXPECT_EQ(host.message(19477)->text(3), "INTEGER or BIGINT");
}

TEST_F(Schema, ProducerDateColumnsHaveTheirPicturesEncoded) {
    OperatorType = PX_OPERATOR_TYPE_PRODUCER;
    Reading = 1;
    FakeColumn date{"sold", 7, 10};
    date.inputFormat = "yyyy-mm-dd";
    date.outputFormat = "dd/mm/yyyy";
    FakeColumn plain{"note", 7, 10};
    plain.inputFormat = "yyyy";  // one picture alone makes no date column
    columns({plain, date});
    ASSERT_EQ(establish(), 0);
    EXPECT_EQ(VarDatePresent, 1);
    EXPECT_EQ(dtEncodedFormatStrsIn[0], nullptr);
    ASSERT_NE(dtEncodedFormatStrsIn[1], nullptr);
    EXPECT_STREQ(dtEncodedFormatStrsIn[1], "%Y-%m-%d");
    EXPECT_STREQ(dtEncodedFormatStrsOut[1], "%d/%m/%Y");
    EXPECT_NE(dtOutputRow, nullptr);

    // A consumer doesn't look at pictures.
    OperatorType = PX_OPERATOR_TYPE_CONSUMER;
    Reading = 0;
    ASSERT_EQ(establish(), 0);
    EXPECT_EQ(VarDatePresent, 0);
    EXPECT_EQ(dtEncodedFormatStrsIn, nullptr);
}

TEST_F(Schema, LongestPicturesWithMeridiemAndZoneFitTheirEncoding) {
    // "T" and "Z" each encode one byte longer, so a picture of the longest
    // length the host hands over grows by two past it.
    OperatorType = PX_OPERATOR_TYPE_PRODUCER;
    Reading = 1;
    const std::string picture = "HH T Z" + std::string(PX_FORMAT_TEXT_SIZE - 1 - 6, ' ');
    ASSERT_EQ(picture.size(), 255u);
    FakeColumn date{"stamp", 7, 10};
    date.inputFormat = picture;
    date.outputFormat = picture;
    columns({date});
    ASSERT_EQ(establish(), 0);
    ASSERT_NE(dtEncodedFormatStrsIn[0], nullptr);
    const std::string encoded = "%I %p %z" + std::string(249, ' ');
    EXPECT_EQ(std::string(dtEncodedFormatStrsIn[0]), encoded);
    EXPECT_EQ(std::string(dtEncodedFormatStrsOut[0]), encoded);
}

TEST_F(Schema, BadDatePictureIsItsNumberedMessage) {
    OperatorType = PX_OPERATOR_TYPE_PRODUCER;
    Reading = 1;
    FakeColumn date{"sold", 7, 10};
    date.inputFormat = "yyyy-qq";
    date.outputFormat = "dd";
    columns({date});
    EXPECT_EQ(establish(), PXSTC_FatalError);
    EXPECT_TRUE(host.hasMessage(10660 + 11));
    EXPECT_EQ(CurrentExitCode, 12);
    // Codes outside 1 to 29 have no message; flag 0 only names it.
    const size_t issued = host.publicMessages.size();
    EXPECT_EQ(ThrowDateTimeError(0, 1), 0);
    EXPECT_EQ(ThrowDateTimeError(30, 1), 0);
    EXPECT_EQ(ThrowDateTimeError(1, 0), 10661);
    EXPECT_EQ(ThrowDateTimeError(29, 0), 10689);
    EXPECT_EQ(host.publicMessages.size(), issued);
    EXPECT_EQ(ThrowDateTimeError(29, 1), 10689);
    EXPECT_TRUE(host.hasMessage(10689));
}

TEST_F(Schema, RefusalsOfTheSchemaList) {
    host.schemaCount = 2;
    EXPECT_EQ(establish(), PXSTC_FatalError);
    EXPECT_TRUE(host.hasMessage(19105));
    host.schemaCount = 1;
    host.columns.clear();
    EXPECT_EQ(establish(), PXSTC_FatalError);
    ASSERT_TRUE(host.hasMessage(19106));
    EXPECT_EQ(host.message(19106)->integer(1), 0);
    host.schemaListStatus = PXSTC_SystemError;
    EXPECT_EQ(establish(), PXSTC_FatalError);
    EXPECT_TRUE(host.traced("PX_GetTableSchemaList returned code 8 ('System Error')"));
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
    EXPECT_STREQ(DataTypeNames[62], "PERIOD(TIMESTAMP WITH TIME ZONE)");
}

TEST_F(Schema, FreeingTwiceFreesNothingTwice) {
    columns({{"c", 5, 4}});
    ASSERT_EQ(establish(), 0);
    bu::dc::freeSchema();
    EXPECT_EQ(SG_ColNames, nullptr);
    EXPECT_EQ(SG_IsVarType, nullptr);
    bu::dc::freeSchema();
}

}  // namespace
