// The memory pool's reuse and limits, trace lines and the hex dump.
#include <cstring>
#include <string>
#include <vector>

#include "access_fixture.h"
#include "pm_pool.h"

namespace {

using PoolTest = AccessTest;

TEST_F(PoolTest, FreedSlotIsReusedWithItsTokenAndLength) {
    initLayer();
    uint32_t t1 = 0, t2 = 0, t3 = 0;
    void* a = pmGetMem(100, &t1, 1);
    ASSERT_NE(a, nullptr);
    ASSERT_NE(pmGetMem(100, &t2, 1), nullptr);
    pmFreeMem(t1);
    EXPECT_EQ(pmGetMemA(t1), nullptr);
    void* c = pmGetMem(60, &t3, 1);
    EXPECT_EQ(t3, t1);
    EXPECT_EQ(c, a);
    // The slot kept its 100 bytes, so another 100 fits it after a free.
    pmFreeMem(t3);
    uint32_t t4 = 0;
    EXPECT_EQ(pmGetMem(100, &t4, 0), a);
    EXPECT_EQ(t4, t1);
}

TEST_F(PoolTest, BestFitPicksTheSmallestFreeSlotThatFits) {
    initLayer();
    uint32_t big = 0, small = 0, other = 0, got = 0;
    pmGetMem(200, &big, 0);
    pmGetMem(64, &small, 0);
    pmGetMem(8, &other, 0);
    pmFreeMem(big);
    pmFreeMem(small);
    pmGetMem(60, &got, 0);
    EXPECT_EQ(got, small);
}

TEST_F(PoolTest, SegmentSizesFollowTheDefaultBlock) {
    initLayer();
    uint32_t t = 0;
    ASSERT_NE(pmGetMem(65512, &t, 0), nullptr);
    EXPECT_EQ(pm::poolSegmentSizeOfNewest(), 65536u);
    ASSERT_NE(pmGetMem(65513, &t, 0), nullptr);
    EXPECT_EQ(pm::poolSegmentSizeOfNewest(), 65537u);
}

TEST_F(PoolTest, ZeroedAllocationIsZeroEvenWhenReused) {
    initLayer();
    uint32_t t = 0;
    auto* p = static_cast<uint8_t*>(pmGetMem(32, &t, 1));
    std::memset(p, 0xAB, 32);
    pmFreeMem(t);
    auto* q = static_cast<uint8_t*>(pmGetMem(32, &t, 1));
    ASSERT_EQ(p, q);
    for (int i = 0; i < 32; ++i) EXPECT_EQ(q[i], 0) << i;
}

TEST_F(PoolTest, BadTokensAreHarmless) {
    initLayer();
    uint32_t t = 0;
    pmGetMem(16, &t, 0);
    pmFreeMem(t + 5);
    pmFreeMem(0);
    EXPECT_NE(pmGetMemA(t), nullptr);
    EXPECT_EQ(pmGetMemA(t + 1), nullptr);
    EXPECT_EQ(pmGetMemA(0), nullptr);
}

TEST_F(PoolTest, TableHoldsNineHundredNinetyNineEntries) {
    initLayer();
    uint32_t t = 0;
    for (int i = 0; i < 999; ++i) ASSERT_NE(pmGetMem(1, &t, 0), nullptr) << i;
    EXPECT_EQ(pmGetMem(1, &t, 0), nullptr);
    EXPECT_TRUE(trace_.contains("!ERROR! Number of memory segments >1000"));
    // A freed entry is still found before the table's limit is looked at.
    pmFreeMem(500);
    uint32_t again = 0;
    EXPECT_NE(pmGetMem(1, &again, 0), nullptr);
    EXPECT_EQ(again, 500u);
}

TEST_F(PoolTest, SixteenLevelsAtMost) {
    initLayer();  // the layer's own level is the first
    for (int i = 2; i <= 16; ++i) EXPECT_EQ(pmMMNewPool(), 0) << i;
    EXPECT_EQ(pmMMNewPool(), -1);
    uint32_t t = 0;
    EXPECT_EQ(pmGetMem(8, &t, 0), nullptr);  // no usable level
    for (int i = 2; i <= 16; ++i) pmMMFreePool();
    EXPECT_NE(pmGetMem(8, &t, 0), nullptr);
}

using TraceTest = AccessTest;

TEST_F(TraceTest, LinesGoOutAsMessage19004WithPrefixAndTwoTexts) {
    bDisplayFuncName = 0;  // blanks stand in for the name
    trceprnt("fn", "first", "second");
    ASSERT_EQ(trace_.messages().size(), 1u);
    const auto& m = trace_.messages()[0];
    EXPECT_EQ(m.number, 19004);
    EXPECT_EQ(m.args, (std::vector<std::string>{"    ", "first", "second"}));
    bDisplayFuncName = 1;
    trceprnt("a_rather_long_function_name", "x", "");
    EXPECT_EQ(trace_.messages().back().args[0], "a_rather_long_functi");
}

TEST_F(TraceTest, ValueFormats) {
    TRCECMTX("f", "x=", 42);
    TRCECMTC("f", "c=", 'q');
    TRCECMTLL("f", "ll=", 1ull << 40);
    TRCECMTI("f", "i=", -3);
    EXPECT_EQ(trace_.messages()[0].args[2], "x'0000002a'");
    EXPECT_EQ(trace_.messages()[1].args[2], "'q'");
    EXPECT_EQ(trace_.messages()[2].args[2], "1099511627776");
    EXPECT_EQ(trace_.messages()[3].args[2], "-3");
}

TEST_F(TraceTest, NullOrWrongKindHandleWritesNothing) {
    trceSetFp(nullptr);
    trceprnt("f", "lost", "");
    LogHandle wrong{};
    wrong.kind = PX_KIND_OPERATOR;
    trceSetFp(&wrong);
    trceprnt("f", "lost", "");
    pmHexDmp(19005, 4096, "abc", 3, "hex:", 1);
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
    std::vector<std::string> lines() {
        std::vector<std::string> out;
        for (const auto& m : trace_.messages()) {
            EXPECT_EQ(m.number, 19005);
            out.push_back(m.joined());
        }
        return out;
    }
};

TEST_F(HexDumpTest, LineLayout) {
    pmHexDmp(19005, 4096, "ABCDEFGHIJKLMNOP", 16, "hex:", 0);
    ASSERT_EQ(lines().size(), 1u);
    EXPECT_EQ(lines()[0],
              "hex:  0000  41 42 43 44.45 46 47 48.49 4A 4B 4C.4D 4E 4F 50  *ABCDEFGHIJKLMNOP* ");
}

TEST_F(HexDumpTest, ShortLastLineIsPaddedAndNonPrintingBytesAreDots) {
    const uint8_t bytes[] = {0x00, 0x41, 0x0A};
    pmHexDmp(19005, 4096, bytes, 3, "hex:", 0);
    ASSERT_EQ(lines().size(), 1u);
    std::string expected = " 0000  00 41 0A";
    expected.resize(56, ' ');
    expected += "*.A.";
    expected.resize(73, ' ');
    expected += "* ";
    EXPECT_EQ(lines()[0], "hex: " + expected);
}

TEST_F(HexDumpTest, RepeatedLinesFoldIntoOneMarker) {
    std::string bytes(48, 'z');
    pmHexDmp(19005, 4096, bytes.data(), 48, "hex:", 0);
    auto l = lines();
    ASSERT_EQ(l.size(), 3u);
    EXPECT_EQ(l[0].substr(0, 10), "hex:  0000");
    EXPECT_EQ(l[1], "hex:  ....");
    EXPECT_EQ(l[2].substr(0, 10), "hex:  0020");
}

TEST_F(HexDumpTest, MarkerIsRearmedByADifferentLine) {
    std::string bytes = std::string(48, 'a') + std::string(16, 'b') + std::string(48, 'a');
    pmHexDmp(19005, 4096, bytes.data(), static_cast<uint32_t>(bytes.size()), "hex:", 0);
    auto l = lines();
    ASSERT_EQ(l.size(), 6u);
    EXPECT_EQ(l[0].substr(0, 10), "hex:  0000");
    EXPECT_EQ(l[1], "hex:  ....");
    EXPECT_EQ(l[2].substr(0, 10), "hex:  0030");
    EXPECT_EQ(l[3].substr(0, 10), "hex:  0040");
    EXPECT_EQ(l[4], "hex:  ....");
    EXPECT_EQ(l[5].substr(0, 10), "hex:  0060");
}

TEST_F(HexDumpTest, HeaderTruncationAndNullAddress) {
    std::vector<uint8_t> bytes(5000);
    for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<uint8_t>(i * 7);
    pmHexDmp(19005, 4096, bytes.data(), 5000, "hex:", 1);
    auto l = lines();
    EXPECT_NE(l[0].find("Hexadecimal formatted display from address"), std::string::npos);
    EXPECT_NE(l[0].find("for 5000 bytes."), std::string::npos);
    EXPECT_EQ(l[1], "hex: HexDump truncated buffer from 5000 bytes to 4096 bytes.");
    EXPECT_EQ(l.back().substr(0, 10), "hex:  0FF0");
    trace_.clear();
    pmHexDmp(19005, 4096, nullptr, 10, "hex:", 1);
    EXPECT_EQ(lines(), (std::vector<std::string>{"Address provided is null, no data to display."}));
}

}  // namespace

namespace {

TEST_F(TraceTest, EntryAndExitLinesOnlyAtTheHighestLevel) {
    initLayer(4);
    pmHandle h = attachDefault();
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
