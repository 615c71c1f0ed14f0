// DC_ReadRow in buffer mode: whole buffers walked and every row written to
// the file, whatever the buffer holds; the consumer's layout; the row length
// field of a buffer being filled.
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>
#include <tuple>
#include <vector>

#include "buffer_mode.h"
#include "layer_fixture.h"
#include "layer_hooks.h"

namespace {

using bu::test::FakeBuffer;
using bu::test::LayerTest;
using Bytes = std::vector<uint8_t>;

class BufferMode : public LayerTest {
  protected:
    void SetUp() override {
        LayerTest::SetUp();
        openLogs(1);
        OperatorType = PX_OPERATOR_TYPE_CONSUMER;
        BulkUnloadOutMod = 1;  // buffers go to the file all the same
        host.columns = {{"id", 5, 4}, {"name", 7, 10}};
        ASSERT_EQ(DC_EstablishSchema(host.handle()), 0);
        host.setByte("SYSTEM_BUFFERMODE", 'Y');
        host.setInt("BUFFERTRAILERSIZE", 0);
        host.publicMessages.clear();
        host.buffers.clear();
    }
    void TearDown() override {
        if (path_[0] != '\0') std::remove(path_);
        LayerTest::TearDown();
    }
    void openFile() {
        std::snprintf(path_, sizeof path_, "%s", "/tmp/bu_buffer_walk_XXXXXX");
        ::close(mkstemp(path_));
        attachDisk();
        ASSERT_EQ(pmOpen(2, 0, pmFmtBinary, nullptr, 0, 0, path_, DC_pmHandle, nullptr, &pmfp), 0u);
    }
    std::string closeAndRead() {
        pmClose(pmfp);
        std::ifstream in(path_, std::ios::binary);
        return std::string((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    }
    // A row as the host's row form has it, with or without its indicator byte.
    Bytes row(const std::string& id, const std::string& name, bool indicators = true) const {
        Bytes bytes = host.makeRow({id, name}).data;
        if (!indicators) bytes.erase(bytes.begin());
        return bytes;
    }
    char path_[32] = "";
};

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

Bytes withLength(uint32_t length, const Bytes& rest) {
    // Sized once and filled in place: GCC 12's -O3 misreads growing a
    // 4-byte vector by insert as an overrun (-Warray-bounds).
    Bytes out(4 + rest.size());
    std::memcpy(out.data(), &length, 4);
    std::copy(rest.begin(), rest.end(), out.begin() + 4);
    return out;
}

// A record as BINARY lays it in the file.
std::string binary(const std::string& data) {
    return std::string{static_cast<char>(data.size()), '\0'} + data;
}

struct WalkCase {
    const char* name;
    std::vector<FakeBuffer> buffers;
    int32_t trailer;
    int32_t indicatorMode;
    std::vector<int32_t> statuses;  // of each DC_ReadRow
    std::string file;
    std::vector<std::string> message;  // number, then its text arguments
    int16_t exitCode;
};

TEST_F(BufferMode, EveryRowOfEveryBufferReachesTheFile) {
    const Bytes r1 = row("0001", "abc"), r2 = row("0002", ""), r3 = row("0003", "0123456789");
    // The record of a row: the INTEGER's 4 bytes, the VARCHAR behind its length.
    auto data = [](const std::string& id, const std::string& name) {
        return id + static_cast<char>(name.size()) + '\0' + name;
    };
    const std::string f1 = binary(data("0001", "abc")), f2 = binary(data("0002", "")),
                      f3 = binary(data("0003", "0123456789"));
    const std::string kept1 = binary('\0' + data("0001", "abc"));
    const std::vector<WalkCase> cases = {
        // The last row of each buffer ends exactly where the buffer does; a
        // buffer may hold one row.
        {"rows and a one-row buffer",
         {{buffer({r1, r2}), 1}, {buffer({r3}), 1}},
         0,
         0,
         {43, 43, 42},
         f1 + f2 + f3,
         {},
         0},
        {"trailer", {{buffer({r1, r2}, {0xEE, 0xEE, 0xEE}), 1}}, 3, 0, {43, 42}, f1 + f2, {}, 0},
        {"rows without indicator bytes",
         {{buffer({row("0001", "abc", false), row("0003", "0123456789", false)}), 0}},
         0,
         0,
         {43, 42},
         f1 + f3,
         {},
         0},
        {"IndicatorMode keeps them", {{buffer({r1}), 1}}, 0, 1, {43, 42}, kept1, {}, 0},
        {"IndicatorMode and a buffer without them",
         {{buffer({r1}), 0}},
         0,
         1,
         {48},
         "",
         {"19250", "IndicatorMode"},
         12},
        // The rest of the buffer is dropped, the next buffer is walked.
        {"row of length 0",
         {{buffer({r1, {}, r2}), 1}, {buffer({r3}), 1}},
         0,
         0,
         {43, 43, 42},
         f1 + f3,
         {},
         4},
        // 17 bytes is the longest row of the schema; what came before stays.
        {"row longer than the schema",
         {{buffer({r1, Bytes(18, 'x')}), 1}},
         0,
         0,
         {48},
         f1,
         {"19156", "18", "17"},
         12},
        {"row running past the buffer's end",
         {{buffer({r1}, withLength(9, Bytes(5, 'x'))), 1}},
         0,
         0,
         {48},
         f1,
         {"19156", "9", "5"},
         12},
        {"row header cut by the buffer's end",
         {{buffer({r1}, {1, 0}), 1}},
         0,
         0,
         {48},
         f1,
         {"19156", "4", "2"},
         12},
        // A trailer longer than the buffer leaves no rows.
        {"trailer longer than the buffer", {{buffer({r1}), 1}}, 100, 0, {43, 42}, "", {}, 0},
    };
    for (const WalkCase& c : cases) {
        SCOPED_TRACE(c.name);
        TearDown();
        SetUp();
        openFile();
        host.setInt("BUFFERTRAILERSIZE", c.trailer);
        SG_IndicatorData = c.indicatorMode;
        for (const FakeBuffer& b : c.buffers) host.buffers.push_back(b);
        std::vector<int32_t> statuses;
        int32_t rc = 0;
        do {
            rc = DC_ReadRow(host.handle());
            statuses.push_back(rc);
        } while (rc == PXSTC_SamePhase);
        EXPECT_EQ(statuses, c.statuses);
        EXPECT_EQ(host.rowsDelivered, 0);  // no row came through PX_GetRow
        EXPECT_EQ(closeAndRead(), c.file);
        EXPECT_EQ(CurrentExitCode, c.exitCode);
        if (!c.message.empty()) {
            const auto* m = host.message(std::stoi(c.message[0]));
            ASSERT_NE(m, nullptr);
            for (size_t i = 1; i < c.message.size(); ++i) EXPECT_EQ(m->text(i), c.message[i]);
        }
    }
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
    const size_t shown = at("Data from PX_GetBuffer:");
    const size_t reported = at("PX_GetBuffer returned code 8");
    ASSERT_LT(reported, host.traceLines.size());
    EXPECT_LT(shown, reported);
}

TEST_F(BufferMode, ModeAndLayoutAreSettledOnTheFirstCall) {
    // "N" leaves the rows to PX_GetRow.
    host.setByte("SYSTEM_BUFFERMODE", 'N');
    host.addRow({"0001", "abc"});
    EXPECT_EQ(DC_ReadRow(host.handle()), 0);
    EXPECT_EQ(BufferInfo, nullptr);
    // A value of two bytes is refused on the first call only.
    TearDown();
    SetUp();
    host.setText("SYSTEM_BUFFERMODE", "YY");
    EXPECT_EQ(DC_ReadRow(host.handle()), PXSTC_FatalError);
    EXPECT_TRUE(host.hasMessage(19202));
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
    struct Case {
        const char* name;
        std::vector<bu::test::FakeColumn> columns;
        int32_t header, trailer, maxSize;
        int32_t rc;
        int32_t message;  // 0: none
        std::vector<std::string> arguments;
        int16_t exitCode;
    };
    const std::vector<bu::test::FakeColumn> variable = {{"id", 5, 4}, {"name", 7, 10}};
    const std::vector<bu::test::FakeColumn> fixed = {{"a", 5, 4}, {"b", 5, 6}};
    const Case cases[] = {
        {"a row of 21 bytes fits 21", variable, 4, 0, 21, 0, 0, {}, 0},
        {"a variable row may fit less", variable, 4, 0, 20, 0, 19135, {"20", "21"}, 0},
        {"a fixed row of 17 bytes fits 17", fixed, 4, 2, 17, 0, 0, {}, 0},
        {"a fixed row never fits less", fixed, 4, 2, 16, PXSTC_FatalError, 19136, {"16", "17"}, 12},
        {"a header shorter than the length",
         fixed,
         2,
         0,
         1000,
         PXSTC_FatalError,
         19153,
         {"2", "4"},
         12},
    };
    for (const Case& c : cases) {
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
        for (int32_t n : {19135, 19136, 19153}) EXPECT_EQ(host.hasMessage(n), n == c.message) << n;
        if (c.message == 0) continue;
        const auto* m = host.message(c.message);
        ASSERT_NE(m, nullptr);
        for (size_t i = 0; i < c.arguments.size(); ++i) {
            const std::string shown =
                c.message == 19153 ? m->text(i + 1) : std::to_string(m->integer(i + 1));
            EXPECT_EQ(shown, c.arguments[i]);
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
