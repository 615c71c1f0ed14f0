// Each family's checker on valid, truncated and invalid characters, with the
// lead and trail ranges at their edges.
#include <gtest/gtest.h>

#include <string>

#include "charset_fixture.h"

namespace {

using bu::test::bytes;

struct Verdict {
    int32_t result;
    int32_t length;
    int badmbcs;
};

Verdict check(IsMBC_t checker, const std::string& text, int32_t startLength = 77) {
    int32_t length = startLength;
    badmbcs = 7;  // a value no checker leaves behind
    int32_t result = checker(text.c_str(), &length);
    return {result, length, badmbcs};
}

#define EXPECT_VERDICT(v, r, l, b) \
    do {                           \
        Verdict got = (v);         \
        EXPECT_EQ(got.result, r);  \
        EXPECT_EQ(got.length, l);  \
        EXPECT_EQ(got.badmbcs, b); \
    } while (0)

TEST(EucChecker, SingleBytesAndPairs) {
    EXPECT_VERDICT(check(IsMBC__EUC, "A"), 0, 0, 0);
    EXPECT_VERDICT(check(IsMBC__EUC, bytes({0x7F})), 0, 0, 0);
    EXPECT_VERDICT(check(IsMBC__EUC, bytes({0xA1, 0xA1})), 1, 2, 0);
    EXPECT_VERDICT(check(IsMBC__EUC, bytes({0xFE, 0xFE})), 1, 2, 0);
    EXPECT_VERDICT(check(IsMBC__EUC, bytes({0x8E, 0x80})), 1, 2, 0);
    EXPECT_VERDICT(check(IsMBC__EUC, bytes({0x8F, 0x80, 0xFF})), 1, 3, 0);
}

TEST(EucChecker, InvalidLeadsAndTrails) {
    EXPECT_VERDICT(check(IsMBC__EUC, bytes({0x80, 0xA1})), 0, 0, 1);
    EXPECT_VERDICT(check(IsMBC__EUC, bytes({0xA0, 0xA1})), 0, 0, 1);
    EXPECT_VERDICT(check(IsMBC__EUC, bytes({0xFF, 0xA1})), 0, 0, 1);
    EXPECT_VERDICT(check(IsMBC__EUC, bytes({0xA1, 0xA0})), 0, 0, 1);
    EXPECT_VERDICT(check(IsMBC__EUC, bytes({0xA1, 0xFF})), 0, 0, 1);
    EXPECT_VERDICT(check(IsMBC__EUC, bytes({0x8E, 0x7F})), 0, 0, 1);
    EXPECT_VERDICT(check(IsMBC__EUC, bytes({0x8F, 0x80, 0x7F})), 0, 0, 1);
    // Text that ends inside the character.
    EXPECT_VERDICT(check(IsMBC__EUC, bytes({0xA1})), 0, 0, 1);
    EXPECT_VERDICT(check(IsMBC__EUC, bytes({0x8F, 0x80})), 0, 0, 1);
}

TEST(SjisChecker, LeadAndTrailEdges) {
    EXPECT_VERDICT(check(IsMBC__SJIS, bytes({0x80, 0x40})), 0, 0, 0);
    EXPECT_VERDICT(check(IsMBC__SJIS, bytes({0xA0, 0x40})), 0, 0, 0);  // half-width kana
    EXPECT_VERDICT(check(IsMBC__SJIS, bytes({0xFD, 0x40})), 0, 0, 0);
    EXPECT_VERDICT(check(IsMBC__SJIS, bytes({0x81, 0x40})), 1, 2, 0);
    EXPECT_VERDICT(check(IsMBC__SJIS, bytes({0x9F, 0x7E})), 1, 2, 0);
    EXPECT_VERDICT(check(IsMBC__SJIS, bytes({0xE0, 0x80})), 1, 2, 0);
    EXPECT_VERDICT(check(IsMBC__SJIS, bytes({0xFC, 0xFC})), 1, 2, 0);
    EXPECT_VERDICT(check(IsMBC__SJIS, bytes({0x81, 0x7F})), 0, 2, 1);
    EXPECT_VERDICT(check(IsMBC__SJIS, bytes({0x81, 0x3F})), 0, 2, 1);
    EXPECT_VERDICT(check(IsMBC__SJIS, bytes({0x81, 0xFD})), 0, 2, 1);
    EXPECT_VERDICT(check(IsMBC__SJIS, bytes({0x81})), 0, 1, 1);
}

TEST(Big5Checker, LeadAndTrailEdges) {
    EXPECT_VERDICT(check(IsMBC__BIG5, bytes({0x80, 0x40})), 0, 0, 0);
    EXPECT_VERDICT(check(IsMBC__BIG5, bytes({0xFF, 0x40})), 1, 2, 0);
    EXPECT_VERDICT(check(IsMBC__BIG5, bytes({0x81, 0xFE})), 1, 2, 0);
    EXPECT_VERDICT(check(IsMBC__BIG5, bytes({0x81, 0xFF})), 0, 2, 1);
    EXPECT_VERDICT(check(IsMBC__BIG5, bytes({0x81, 0x7F})), 0, 2, 1);
    EXPECT_VERDICT(check(IsMBC__BIG5, bytes({0xA4})), 0, 1, 1);
}

TEST(KscChecker, AnyTrailFrom40) {
    EXPECT_VERDICT(check(IsMBC__KSC, bytes({0x81, 0x40})), 1, 2, 0);
    EXPECT_VERDICT(check(IsMBC__KSC, bytes({0xB0, 0x7F})), 1, 2, 0);
    EXPECT_VERDICT(check(IsMBC__KSC, bytes({0xB0, 0xFF})), 1, 2, 0);
    EXPECT_VERDICT(check(IsMBC__KSC, bytes({0xB0, 0x3F})), 0, 2, 1);
    EXPECT_VERDICT(check(IsMBC__KSC, bytes({0xB0})), 0, 1, 1);
    EXPECT_VERDICT(check(IsMBC__KSC, bytes({0x80, 0x41})), 0, 0, 0);
}

TEST(GbkChecker, NeverLooksAtTheSecondByte) {
    EXPECT_VERDICT(check(IsMBC__GBK, bytes({0x80, 0x41})), 0, 1, 0);
    EXPECT_VERDICT(check(IsMBC__GBK, bytes({0x81, 0x20})), 1, 2, 0);
    EXPECT_VERDICT(check(IsMBC__GBK, bytes({0xFF})), 1, 2, 0);
}

TEST(Gb2312Checker, InvalidPairsAnswerMultiByteWithNoLength) {
    EXPECT_VERDICT(check(IsMBC__GB2312, bytes({0x80, 0xA1})), 0, 0, 0);
    EXPECT_VERDICT(check(IsMBC__GB2312, bytes({0xA1, 0xA1})), 1, 2, 0);
    EXPECT_VERDICT(check(IsMBC__GB2312, bytes({0xFE, 0xFE})), 1, 2, 0);
    EXPECT_VERDICT(check(IsMBC__GB2312, bytes({0x81, 0xA1})), 1, 0, 1);
    EXPECT_VERDICT(check(IsMBC__GB2312, bytes({0xA0, 0xA1})), 1, 0, 1);
    EXPECT_VERDICT(check(IsMBC__GB2312, bytes({0xFF, 0xA1})), 1, 0, 1);
    EXPECT_VERDICT(check(IsMBC__GB2312, bytes({0xB0, 0xA0})), 1, 0, 1);
    EXPECT_VERDICT(check(IsMBC__GB2312, bytes({0xB0, 0xFF})), 1, 0, 1);
    EXPECT_VERDICT(check(IsMBC__GB2312, bytes({0xB0})), 1, 0, 1);
}

TEST(Utf8Checker, WellFormedSequences) {
    EXPECT_VERDICT(check(IsMBC__UTF8, "a"), 0, 1, 7);
    EXPECT_VERDICT(check(IsMBC__UTF8, bytes({0xC2, 0x80})), 1, 2, 7);
    EXPECT_VERDICT(check(IsMBC__UTF8, bytes({0xDF, 0xBF})), 1, 2, 7);
    EXPECT_VERDICT(check(IsMBC__UTF8, bytes({0xE2, 0x96, 0xA1})), 1, 3, 7);
    EXPECT_VERDICT(check(IsMBC__UTF8, bytes({0xF0, 0x9F, 0x98, 0x80})), 1, 4, 7);
}

TEST(Utf8Checker, MalformedBytesAreSingleAndLeaveTheFlagAlone) {
    EXPECT_VERDICT(check(IsMBC__UTF8, bytes({0xC0, 0x80})), 0, 1, 7);
    EXPECT_VERDICT(check(IsMBC__UTF8, bytes({0xC1, 0xBF})), 0, 1, 7);
    EXPECT_VERDICT(check(IsMBC__UTF8, bytes({0xF8, 0x80, 0x80, 0x80})), 0, 1, 7);
    EXPECT_VERDICT(check(IsMBC__UTF8, bytes({0x80})), 0, 1, 7);
    EXPECT_VERDICT(check(IsMBC__UTF8, bytes({0xC2, 0xC0})), 0, 1, 7);
    EXPECT_VERDICT(check(IsMBC__UTF8, bytes({0xE2, 0x96})), 0, 1, 7);
    EXPECT_VERDICT(check(IsMBC__UTF8, bytes({0xF0, 0x9F, 0x98})), 0, 1, 7);
}

TEST(Utf8Checker, OverlongFormsAndSurrogatesPass) {
    EXPECT_VERDICT(check(IsMBC__UTF8, bytes({0xE0, 0x80, 0x80})), 1, 3, 7);
    EXPECT_VERDICT(check(IsMBC__UTF8, bytes({0xED, 0xA0, 0x80})), 1, 3, 7);
    EXPECT_VERDICT(check(IsMBC__UTF8, bytes({0xF0, 0x80, 0x80, 0x80})), 1, 4, 7);
    EXPECT_VERDICT(check(IsMBC__UTF8, bytes({0xF7, 0xBF, 0xBF, 0xBF})), 1, 4, 7);
}

class Utf16Checker : public ::testing::TestWithParam<int32_t> {
  protected:
    void SetUp() override { bu::charsets::setUtf16ByteOrder(GetParam()); }
    void TearDown() override { bu::charsets::setUtf16ByteOrder(2); }

    // A code unit in the byte order under test.
    std::string unit(int high, int low) const {
        return GetParam() == 1 ? bytes({high, low}) : bytes({low, high});
    }
};

TEST_P(Utf16Checker, SurrogatesMakeFourBytes) {
    fourByteUTF = 0;
    EXPECT_VERDICT(check(IsMBC__UTF16, unit(0xD8, 0x00) + unit(0xDC, 0x00)), 1, 4, 0);
    EXPECT_EQ(fourByteUTF, 1);
    // No low surrogate behind it: still four bytes.
    EXPECT_VERDICT(check(IsMBC__UTF16, unit(0xDF, 0xFF) + unit(0x00, 0x41)), 1, 4, 0);
}

TEST_P(Utf16Checker, OtherUnitsAreTwoBytes) {
    fourByteUTF = 1;
    EXPECT_VERDICT(check(IsMBC__UTF16, unit(0xD7, 0xFF)), 1, 2, 0);
    EXPECT_EQ(fourByteUTF, 0);
    EXPECT_VERDICT(check(IsMBC__UTF16, unit(0xE0, 0x00)), 1, 2, 0);
    EXPECT_VERDICT(check(IsMBC__UTF16, unit(0x00, 0x41)), 1, 2, 0);
}

INSTANTIATE_TEST_SUITE_P(ByteOrders, Utf16Checker, ::testing::Values(1, 2),
                         [](const auto& info) { return info.param == 1 ? "Big" : "Little"; });

}  // namespace
