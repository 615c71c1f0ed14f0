// The memory pool's reuse and limits, trace lines and the hex dump.
#include <cstring>
#include <string>
#include <vector>

#include "access_fixture.h"
#include "pm_pool.h"

namespace {

using PoolTest = AccessTest;

// A freed slot comes back with its token and its length, the smallest free
// one that fits first, zeroed when asked even after use; bad tokens are
// harmless.
TEST_F(PoolTest, FreedSlotsAreReusedBestFitFirst) {
    initLayer();
    uint32_t big = 0, small = 0, other = 0, got = 0;
    auto* a = static_cast<uint8_t*>(pmGetMem(200, &big, 0));
    void* b = pmGetMem(64, &small, 0);
    pmGetMem(8, &other, 0);
    std::memset(a, 0xAB, 200);
    pmFreeMem(big);
    pmFreeMem(small);
    EXPECT_EQ(pmGetMemA(big), nullptr);
    EXPECT_EQ(pmGetMem(60, &got, 1), b);
    EXPECT_EQ(got, small);
    EXPECT_EQ(pmGetMem(200, &got, 1), a);  // the slot kept its 200 bytes
    EXPECT_EQ(got, big);
    for (int i = 0; i < 200; ++i) ASSERT_EQ(a[i], 0) << i;
    pmFreeMem(other + 5);
    pmFreeMem(0);
    EXPECT_NE(pmGetMemA(other), nullptr);
    EXPECT_EQ(pmGetMemA(other + 1), nullptr);
    EXPECT_EQ(pmGetMemA(0), nullptr);
}

// Sixteen levels at most, the layer's own the first; a segment is the
// default block for what fits it and more for a bigger request; the table
// holds 999 entries, a freed one found before the limit is looked at.
TEST_F(PoolTest, LevelsSegmentsAndEntriesHaveTheirLimits) {
    initLayer();
    uint32_t t = 0;
    for (int i = 2; i <= 16; ++i) EXPECT_EQ(pmMMNewPool(), 0) << i;
    EXPECT_EQ(pmMMNewPool(), -1);
    EXPECT_EQ(pmGetMem(8, &t, 0), nullptr);  // no usable level
    for (int i = 2; i <= 16; ++i) pmMMFreePool();
    ASSERT_NE(pmGetMem(65512, &t, 0), nullptr);
    EXPECT_EQ(pm::poolSegmentSizeOfNewest(), 65536u);
    ASSERT_NE(pmGetMem(65513, &t, 0), nullptr);
    EXPECT_EQ(pm::poolSegmentSizeOfNewest(), 65537u);
    for (int i = 2; i < 999; ++i) ASSERT_NE(pmGetMem(1, &t, 0), nullptr) << i;
    EXPECT_EQ(pmGetMem(1, &t, 0), nullptr);
    EXPECT_TRUE(trace_.contains("!ERROR! Number of memory segments >1000"));
    pmFreeMem(500);
    EXPECT_NE(pmGetMem(1, &t, 0), nullptr);
    EXPECT_EQ(t, 500u);
}

using TraceTest = AccessTest;

// Message 19004: the function's name in a field of 20 (blanks when names
// are off), then the two texts; the value forms of the trace macros.
TEST_F(TraceTest, LinesGoOutAsMessage19004) {
    bDisplayFuncName = 0;
    trceprnt("fn", "first", "second");
    ASSERT_EQ(trace_.messages().size(), 1u);
    EXPECT_EQ(trace_.messages()[0].number, 19004);
    EXPECT_EQ(trace_.messages()[0].args, (std::vector<std::string>{"    ", "first", "second"}));
    bDisplayFuncName = 1;
    trceprnt("a_rather_long_function_name", "x", "");
    EXPECT_EQ(trace_.messages().back().args[0], "a_rather_long_functi");
    trace_.clear();
    TRCECMTX("f", "x=", 42);
    TRCECMTC("f", "c=", 'q');
    TRCECMTLL("f", "ll=", 1ull << 40);
    TRCECMTI("f", "i=", -3);
    std::vector<std::string> values;
    for (const auto& m : trace_.messages()) values.push_back(m.args[2]);
    EXPECT_EQ(values, (std::vector<std::string>{"x'0000002a'", "'q'", "1099511627776", "-3"}));
}

// A null handle, the capture's own handle marked as another kind (so that a
// missed kind check shows as a captured line) and one without services.
TEST_F(TraceTest, NullOrWrongKindHandleWritesNothing) {
    trceSetFp(nullptr);
    trceprnt("f", "lost", "");
    trace_.handle()->kind = PX_KIND_OPERATOR;
    trceSetFp(trace_.handle());
    trceprnt("f", "lost", "");
    pmHexDmp(19005, 4096, "abc", 3, "hex:", 1);
    trace_.handle()->kind = PX_KIND_LOG;
    LogHandle noServices{};
    noServices.kind = PX_KIND_LOG;
    trceSetFp(&noServices);
    trceprnt("f", "lost", "");
    trceSetFp(trace_.handle());
    EXPECT_TRUE(trace_.messages().empty());
}

TEST_F(TraceTest, LevelsGateTraceMessagesAndTheLevelCanBeSet) {
    initLayer(2);
    EXPECT_EQ(pmTraceMsg(3, "hidden"), 0u);
    EXPECT_FALSE(trace_.contains("hidden"));
    EXPECT_EQ(pmTraceMsg(2, "shown"), 0u);
    EXPECT_TRUE(trace_.contains("shown"));
    EXPECT_EQ(pmTrace(1, nullptr, 4), 0u);
    EXPECT_EQ(TLGlobalPtr->DefaultLevel, 4);
    EXPECT_EQ(TLGlobalPtr->CurrentLevel, 2);
    EXPECT_EQ(pmTrace(5, nullptr, 3), 2u);
    EXPECT_EQ(pmTrace(1, nullptr, 6), 27u);
    uint32_t bogus = 77;
    EXPECT_EQ(pmTrace(2, &bogus, 3), 1u);
    EXPECT_EQ(pmTrace(3, &bogus, 3), 7u);
}

class HexDumpTest : public AccessTest {
  protected:
    std::string lines() {
        std::string out;
        for (const auto& m : trace_.messages()) {
            EXPECT_EQ(m.number, 19005);
            out += m.joined() + "\n";
        }
        return out;
    }
};

// A dump of full lines, repeated lines folded into one marker until a
// different one comes, the last line shown whatever it repeats, and a
// short last line padded, non-printing bytes as dots.
TEST_F(HexDumpTest, LinesAsTheGoldenDumpShows) {
    std::string bytes = "ABCDEFGHIJKLMNOP" + std::string(48, 'a') + std::string(16, 'b') +
                        std::string(48, 'a') + std::string("\x00\x41\x0A", 3);
    pmHexDmp(19005, 4096, bytes.data(), static_cast<uint32_t>(bytes.size()), "hex:", 0);
    EXPECT_EQ(lines(), testsupport::readFile(std::string(BU_SOURCE_DIR) +
                                             "/tests/access/golden/hexdump.txt"));
}

TEST_F(HexDumpTest, HeaderTruncationAndNullAddress) {
    std::vector<uint8_t> bytes(5000);
    for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<uint8_t>(i * 7);
    pmHexDmp(19005, 4096, bytes.data(), 5000, "hex:", 1);
    const std::string l = lines();
    EXPECT_NE(l.find("Hexadecimal formatted display from address"), std::string::npos);
    EXPECT_NE(l.find("for 5000 bytes.\nhex: HexDump truncated buffer from 5000 bytes to 4096 "
                     "bytes.\n"),
              std::string::npos);
    EXPECT_NE(l.find("\nhex:  0FF0 "), std::string::npos);
    EXPECT_EQ(l.find("\nhex:  1000 "), std::string::npos);
    trace_.clear();
    pmHexDmp(19005, 4096, nullptr, 10, "hex:", 1);
    EXPECT_EQ(lines(), "Address provided is null, no data to display.\n");
}

TEST_F(TraceTest, EntryAndExitLinesOnlyAtTheHighestLevel) {
    initLayer(4);
    pmHandle h = attached();
    trace_.clear();
    pmRecord r{};
    pmRead(h, &r);
    EXPECT_FALSE(trace_.contains(" entry <<<<"));
    initLayer(5);
    trace_.clear();
    pmRead(h, &r);
    ASSERT_GE(trace_.messages().size(), 2u);
    EXPECT_EQ(trace_.messages().front().args[1], " entry <<<<");
    EXPECT_EQ(trace_.messages().back().args[1], " exit >>>>");
}

}  // namespace
