// DC_Terminate: what phase 2 gives back.
#include <malloc.h>

#include <cstring>
#include <vector>

#include "charsets.h"
#include "layer_fixture.h"
#include "termination.h"
#include "text_attr.h"

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define BU_TEST_ASAN 1
#endif
#endif
#if defined(__SANITIZE_ADDRESS__)
#define BU_TEST_ASAN 1
#endif
#ifdef BU_TEST_ASAN
// From the sanitizer runtime (its header isn't always installed).
extern "C" size_t __sanitizer_get_current_allocated_bytes();
#endif

namespace {

// Bytes of heap in use, from whichever allocator the test runs under.
size_t heapInUse() {
#ifdef BU_TEST_ASAN
    return __sanitizer_get_current_allocated_bytes();
#else
    return mallinfo2().uordblks;
#endif
}

using Termination = bu::test::LayerTest;

TEST_F(Termination, PhaseTwoReleasesTheLongHexText) {
    // A first phase 2 lets go of everything else the layer holds, so that
    // what the second one frees is the hexadecimal text alone.
    DC_Terminate(2);
    const std::vector<unsigned char> bytes(40000, 0xAB);
    const char* text = pHEXvalue(bytes.data(), static_cast<int32_t>(bytes.size()));
    ASSERT_EQ(std::string(text, 4), "x'AB");
    const size_t textSize = 2 * bytes.size() + 6;

    const size_t before = heapInUse();
    DC_Terminate(2);
    const size_t after = heapInUse();
    ASSERT_GE(before, after);
    EXPECT_GE(before - after, textSize);

    // The static buffer still serves short texts afterwards.
    const unsigned char two[] = {0x01, 0xFE};
    EXPECT_STREQ(pHEXvalue(two, 2), "x'01FE'");
}

TEST_F(Termination, UnknownPhaseKeepsEverythingForTheSecondPhase) {
    openLogs(2);
    OperatorType = PX_OPERATOR_TYPE_CONSUMER;
    host.columns = {{"id", 5, 4}, {"name", 7, 10}};
    ASSERT_EQ(DC_EstablishSchema(host.handle()), 0);

    DC_Terminate(1);  // no data file, no error file: the trace line alone
    DC_Terminate(3);
    EXPECT_EQ(host.arguments(19148), "'3'");
    EXPECT_NE(SG_ColLensBase, nullptr);
    EXPECT_EQ(host.logsClosed, 0);
    EXPECT_TRUE(host.traced("Enter DC_UTIL_Term Phase 1"));

    DC_Terminate(2);
    EXPECT_EQ(host.logsClosed, 2);
    EXPECT_TRUE(host.traced("Closing logs"));
    EXPECT_TRUE(SG_IndBytes == nullptr && SG_ColLens == nullptr && SG_ColLensBase == nullptr &&
                SG_ColNames == nullptr && SG_ColOffs == nullptr && SG_ColTypes == nullptr);
    // A second phase 2 finds nothing to free and no log to close.
    DC_Terminate(2);
    EXPECT_EQ(host.logsClosed, 2);
}

// Columns that ended in the escape character are told once, at the end,
// in two notices with the short leader.
TEST_F(Termination, PhaseTwoTellsOfColumnsEndingInTheEscape) {
    openLogs(2);
    SG_NumEscErrColumns = 3;
    EscapeTextCharacter.Length = 1;
    std::memcpy(EscapeTextCharacter.Bytes, "\\", 2);
    DC_Terminate(2);
    EXPECT_EQ(host.numbers(), (std::vector<int32_t>{19158, 19159}));
    EXPECT_EQ(host.arguments(19158), "'3' 'EscapeTextDelimiter'");
    EXPECT_EQ(host.arguments(19159), "'EscapeTextDelimiter' '\\' 'DELIMITED'");
    for (const auto& m : host.publicMessages) {
        EXPECT_EQ(m.text(0), "EXPORT_OP[1]:");
        EXPECT_EQ(std::pair(m.msgClass, m.severity), std::pair(3, 3));
    }
    EXPECT_TRUE(
        host.traced("3 occurances of EscapeTextDelimiter encountered as the last character"));
}

}  // namespace
