// DC_ReadRow in row mode: the end of the stream, the checks against the
// schema with their deliberate message arguments, the indicator strip, and
// rows written straight to the file; and in buffer mode.
#include <cstdlib>
#include <string>
#include <tuple>
#include <vector>

#include "buffer_mode.h"
#include "layer_fixture.h"
#include "pmdcomt.h"
#include "special_chars.h"

namespace {

using bu::test::FakeBuffer;
using bu::test::FakeColumn;
using bu::test::FakeRow;
using bu::test::LayerTest;
using bu::test::TempFile;
using Bytes = std::vector<uint8_t>;

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

TEST_F(RowIntake, RowsTracedAboveLevelThree) {
    DC_TraceLvl = 4;
    host.addRow({"0001", "ab"});
    ASSERT_EQ(read(), 0);
    EXPECT_TRUE(host.traced("Data from PX_GetRow: SH=0, ColCount=2"));
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

// Buffer mode: whole buffers walked and every row written to the file (the
// OUTMOD or not), whatever the buffer holds; the consumer's layout; the row
// length field of a buffer being filled.
class BufferMode : public RowIntake {
  protected:
    void SetUp() override {
        RowIntake::SetUp();
        host.setText("SYSTEM_BUFFERMODE", "Y");
        host.setInt("BUFFERTRAILERSIZE", 0);
    }
    // A row as the host's row form has it, indicator byte first.
    Bytes row(const std::string& id, const std::string& name) const {
        return host.makeRow({id, name}).data;
    }
};

// Rows behind their 4-byte lengths, then the trailer.
Bytes buffer(const std::vector<Bytes>& rows, const Bytes& trailer = {}) {
    Bytes out;
    for (const Bytes& r : rows) {
        const auto length = static_cast<uint32_t>(r.size());
        const auto* l = reinterpret_cast<const uint8_t*>(&length);
        out.insert(out.end(), l, l + 4);
        out.insert(out.end(), r.begin(), r.end());
    }
    out.insert(out.end(), trailer.begin(), trailer.end());
    return out;
}

Bytes withoutIndicators(const Bytes& row) {
    return Bytes(row.begin() + 1, row.end());
}

// A record as BINARY lays it in the file: the INTEGER's 4 bytes, the
// VARCHAR behind its length, all behind the record's length.
std::string binary(const std::string& id, const std::string& name, bool indicator = false) {
    const std::string data =
        (indicator ? std::string(1, '\0') : "") + id + static_cast<char>(name.size()) + '\0' + name;
    return std::string{static_cast<char>(data.size()), '\0'} + data;
}

TEST_F(BufferMode, EveryRowOfEveryBufferReachesTheFile) {
    const Bytes r1 = row("0001", "abc"), r2 = row("0002", ""), r3 = row("0003", "0123456789");
    const std::string f1 = binary("0001", "abc"), f2 = binary("0002", ""),
                      f3 = binary("0003", "0123456789");
    // Walks the buffers to the end of data and checks the statuses of each
    // call, the file, and the message of a refusal.
    auto walk = [&](const char* name, const std::vector<FakeBuffer>& buffers,
                    const std::vector<int32_t>& expected, const std::string& bytes,
                    int16_t exitCode = 0, int32_t message = 0, const char* arguments = "",
                    int32_t trailer = 0, int32_t indicatorMode = 0) {
        SCOPED_TRACE(name);
        TearDown();
        SetUp();
        TempFile file;
        attachDisk();
        openOnDisk(file, &pmfp);
        host.setInt("BUFFERTRAILERSIZE", trailer);
        SG_IndicatorData = indicatorMode;
        host.buffers.assign(buffers.begin(), buffers.end());
        std::vector<int32_t> statuses;
        do {
            statuses.push_back(DC_ReadRow(host.handle()));
        } while (statuses.back() == PXSTC_SamePhase);
        EXPECT_EQ(statuses, expected);
        pmClose(pmfp);
        EXPECT_EQ(file.bytes(), bytes);
        EXPECT_EQ(CurrentExitCode, exitCode);
        if (message != 0) {
            EXPECT_EQ(host.arguments(message), arguments);
        }
    };
    // The last row of a buffer ends where the buffer does.
    walk("rows, one-row buffer", {{buffer({r1, r2}), 1}, {buffer({r3}), 1}}, {43, 43, 42},
         f1 + f2 + f3);
    walk("trailer", {{buffer({r1, r2}, {0xEE, 0xEE, 0xEE}), 1}}, {43, 42}, f1 + f2, 0, 0, "", 3);
    walk("no indicator bytes", {{buffer({withoutIndicators(r1), withoutIndicators(r3)}), 0}},
         {43, 42}, f1 + f3);
    walk("IndicatorMode keeps them", {{buffer({r1}), 1}}, {43, 42}, binary("0001", "abc", true), 0,
         0, "", 0, 1);
    walk("IndicatorMode without them", {{buffer({r1}), 0}}, {48}, "", 12, 19250, "'IndicatorMode'",
         0, 1);
    // After a row of length 0 the rest of its buffer is dropped.
    walk("row of length 0", {{buffer({r1, {}, r2}), 1}, {buffer({r3}), 1}}, {43, 43, 42}, f1 + f3,
         4);
    // 17 bytes is the longest row of the schema; what came before stays.
    walk("row longer than the schema", {{buffer({r1, Bytes(18, 'x')}), 1}}, {48}, f1, 12, 19156,
         "'18' '17'");
    walk("row past the buffer's end", {{buffer({r1}, {9, 0, 0, 0, 'x', 'x', 'x', 'x', 'x'}), 1}},
         {48}, f1, 12, 19156, "'9' '5'");
    walk("row header cut by the end", {{buffer({r1}, {1, 0}), 1}}, {48}, f1, 12, 19156, "'4' '2'");
    walk("trailer longer than the buffer", {{buffer({r1}), 1}}, {43, 42}, "", 0, 0, "", 100);
}

// What a failing PX_GetBuffer left is dumped before the failure is reported.
TEST_F(BufferMode, AFailingPX_GetBufferIsShownThenReported) {
    DC_TraceLvl = 4;
    host.schema_.PX_GetBuffer = [](SchemaHandle*, uint8_t*, void**, uint32_t* used) -> int32_t {
        *used = 0;
        return PXSTC_SystemError;
    };
    EXPECT_EQ(DC_ReadRow(host.handle()), PXSTC_FatalError);
    EXPECT_EQ(CurrentExitCode, 12);
    auto at = [&](const std::string& fragment) {
        size_t i = 0;
        while (i < host.traceLines.size() && host.traceLines[i].find(fragment) == std::string::npos)
            ++i;
        return i;
    };
    const size_t reported = at("PX_GetBuffer returned code 8");
    ASSERT_LT(reported, host.traceLines.size());
    EXPECT_LT(at("Data from PX_GetBuffer:"), reported);
}

TEST_F(BufferMode, ModeAndLayoutAreSettledOnTheFirstCall) {
    // "N" leaves the rows to PX_GetRow.
    host.setText("SYSTEM_BUFFERMODE", "N");
    host.addRow({"0001", "abc"});
    EXPECT_EQ(DC_ReadRow(host.handle()), 0);
    EXPECT_EQ(BufferInfo, nullptr);
    // A value of two bytes is refused on the first call only.
    TearDown();
    SetUp();
    host.setText("SYSTEM_BUFFERMODE", "YY");
    EXPECT_EQ(DC_ReadRow(host.handle()), PXSTC_FatalError);
    EXPECT_EQ(host.numbers(), std::vector<int32_t>{19202});
    EXPECT_EQ(CurrentExitCode, 12);
    EXPECT_EQ(DC_ReadRow(host.handle()), PXSTC_EndMethod);

    // The buffer's size is the next step of 1,024,000 bytes above the row:
    // a row of exactly one step gets two.
    uint32_t layout[4] = {};
    for (auto [length, maxSize] : {std::pair{1023994u, 1024000u}, {1023995u, 2048000u}}) {
        SCOPED_TRACE(length);
        host.columns = {{"wide", 5, length}};
        ASSERT_EQ(DC_EstablishSchema(host.handle()), 0);
        ASSERT_EQ(DC_GetBufferLayout(layout), 0);
        EXPECT_EQ(layout[0], maxSize);
        EXPECT_EQ(MaxBufferRowLen, length + 1);
    }
    EXPECT_EQ(std::vector<uint32_t>(layout + 1, layout + 4), (std::vector<uint32_t>{4, 4, 0}));
}

// A producer checks the consumer's layout: a row of its schema must fit the
// consumer's buffers, which rows with a variable column only may well do.
// The least row counts the indicator byte once, each VARCHAR's length
// prefix, the header and the trailer.
TEST_F(BufferMode, AProducerChecksThatItsRowsFitTheConsumersBuffers) {
    const std::vector<FakeColumn> variable = {{"id", 5, 4}, {"name", 7, 10}};
    const std::vector<FakeColumn> fixed = {{"a", 5, 4}, {"b", 5, 6}};
    const struct {
        const char* name;
        std::vector<FakeColumn> columns;
        int32_t header, trailer, maxSize, rc;
        int16_t exitCode;
        int32_t message;  // 0: none
        const char* arguments;
    } cases[] = {
        {"a row of 21 bytes fits 21", variable, 4, 0, 21, 0, 0, 0, ""},
        {"a variable row may fit less", variable, 4, 0, 20, 0, 0, 19135, "20 21"},
        {"a fixed row of 17 bytes fits 17", fixed, 4, 2, 17, 0, 0, 0, ""},
        {"a fixed row never fits less", fixed, 4, 2, 16, PXSTC_FatalError, 12, 19136, "16 17"},
        {"header shorter than the length", fixed, 2, 0, 1000, PXSTC_FatalError, 12, 19153,
         "'2' '4'"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        TearDown();
        SetUp();
        OperatorType = PX_OPERATOR_TYPE_PRODUCER;
        Reading = 1;
        host.columns = c.columns;
        ASSERT_EQ(DC_EstablishSchema(host.handle()), 0);
        host.setInt("BUFFERLENGTHSIZE", 4);
        host.setInt("BUFFERHEADERSIZE", c.header);
        host.setInt("BUFFERTRAILERSIZE", c.trailer);
        host.setInt("BUFFERMAXSIZE", c.maxSize);
        host.publicMessages.clear();
        EXPECT_EQ(DC_GetBufferModeInfo(), c.rc);
        EXPECT_EQ(CurrentExitCode, c.exitCode);
        EXPECT_EQ(host.numbers(),
                  c.message == 0 ? std::vector<int32_t>{} : std::vector<int32_t>{c.message});
        if (c.message != 0) {
            EXPECT_EQ(host.arguments(c.message), c.arguments);
        }
    }
}

// A producer's row length field: a narrow one must hold the length, a wide
// one keeps its upper bytes zero.
TEST_F(BufferMode, RowLengthFieldsOfEveryWidth) {
    BufferInfo = static_cast<dcBufferInfo_t*>(std::calloc(1, sizeof(dcBufferInfo_t)));
    const std::tuple<int32_t, uint32_t, int32_t, Bytes> cases[] = {
        {2, 65535, 0, {0xFF, 0xFF, 0xAA, 0xAA, 0xAA, 0xAA, 0xAA, 0xAA}},
        {2, 70000, PXSTC_FatalError, Bytes(8, 0xAA)},
        {8, 70000, 0, {0x70, 0x11, 0x01, 0, 0, 0, 0, 0}},
        {0, 7, 0, Bytes(8, 0xAA)},
    };
    for (const auto& [size, length, rc, field] : cases) {
        SCOPED_TRACE(size);
        Bytes bytes(8, 0xAA);
        BufferInfo->CurrentPos = bytes.data();
        BufferInfo->LengthSize = size;
        EXPECT_EQ(SetRowLength(length), rc);
        EXPECT_EQ(bytes, field);
    }
    EXPECT_EQ(host.message(19152)->text(2), "70000");
}

}  // namespace
