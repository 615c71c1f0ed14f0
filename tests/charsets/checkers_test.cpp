// Each family's checker on valid, truncated and invalid characters, with the
// lead and trail ranges at their edges. A badmbcs of 7 in a row means the
// checker must leave the flag alone.
#include <gtest/gtest.h>

#include <string>

#include "charset_fixture.h"

namespace {

using bu::test::bytes;

struct Case {
    const char* family;
    IsMBC_t checker;
    std::string text;
    int32_t result, length, badmbcs;
};

void expectCases(const std::vector<Case>& cases) {
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.family) + " " + pHEXvalue(c.text.data(), c.text.size()));
        int32_t length = 77;
        badmbcs = 7;
        EXPECT_EQ(c.checker(c.text.c_str(), &length), c.result);
        EXPECT_EQ(length, c.length);
        EXPECT_EQ(badmbcs, c.badmbcs);
    }
}

TEST(Checkers, DoubleByteFamilies) {
    expectCases({
        {"EUC", IsMBC__EUC, "A", 0, 0, 0},
        {"EUC", IsMBC__EUC, bytes({0xA1, 0xA1}), 1, 2, 0},
        {"EUC", IsMBC__EUC, bytes({0xFE, 0xFE}), 1, 2, 0},
        {"EUC", IsMBC__EUC, bytes({0x8E, 0x80}), 1, 2, 0},
        {"EUC", IsMBC__EUC, bytes({0x8F, 0x80, 0xFF}), 1, 3, 0},
        {"EUC", IsMBC__EUC, bytes({0x80, 0xA1}), 0, 0, 1},
        {"EUC", IsMBC__EUC, bytes({0xA0, 0xA1}), 0, 0, 1},
        {"EUC", IsMBC__EUC, bytes({0xA1, 0xFF}), 0, 0, 1},
        {"EUC", IsMBC__EUC, bytes({0x8E, 0x7F}), 0, 0, 1},
        {"EUC", IsMBC__EUC, bytes({0x8F, 0x80}), 0, 0, 1},
        {"SJIS", IsMBC__SJIS, bytes({0xA0, 0x40}), 0, 0, 0},
        {"SJIS", IsMBC__SJIS, bytes({0xFD, 0x40}), 0, 0, 0},
        {"SJIS", IsMBC__SJIS, bytes({0x81, 0x40}), 1, 2, 0},
        {"SJIS", IsMBC__SJIS, bytes({0x9F, 0x7E}), 1, 2, 0},
        {"SJIS", IsMBC__SJIS, bytes({0xE0, 0x80}), 1, 2, 0},
        {"SJIS", IsMBC__SJIS, bytes({0xFC, 0xFC}), 1, 2, 0},
        {"SJIS", IsMBC__SJIS, bytes({0x81, 0x7F}), 0, 2, 1},
        {"SJIS", IsMBC__SJIS, bytes({0x81, 0xFD}), 0, 2, 1},
        {"SJIS", IsMBC__SJIS, bytes({0x81}), 0, 1, 1},
        {"BIG5", IsMBC__BIG5, bytes({0x80, 0x40}), 0, 0, 0},
        {"BIG5", IsMBC__BIG5, bytes({0xFF, 0xFE}), 1, 2, 0},
        {"BIG5", IsMBC__BIG5, bytes({0x81, 0xFF}), 0, 2, 1},
        {"BIG5", IsMBC__BIG5, bytes({0x81, 0x3F}), 0, 2, 1},
        {"BIG5", IsMBC__BIG5, bytes({0xA4}), 0, 1, 1},
        {"KSC", IsMBC__KSC, bytes({0xB0, 0x7F}), 1, 2, 0},
        {"KSC", IsMBC__KSC, bytes({0xB0, 0xFF}), 1, 2, 0},
        {"KSC", IsMBC__KSC, bytes({0xB0, 0x3F}), 0, 2, 1},
        {"GBK", IsMBC__GBK, bytes({0x80, 0x41}), 0, 1, 0},
        {"GBK", IsMBC__GBK, bytes({0x81}), 1, 2, 0},  // the second byte isn't looked at
        {"GB2312", IsMBC__GB2312, bytes({0x80, 0xA1}), 0, 0, 0},
        {"GB2312", IsMBC__GB2312, bytes({0xA1, 0xFE}), 1, 2, 0},
        {"GB2312", IsMBC__GB2312, bytes({0xA0, 0xA1}), 1, 0, 1},
        {"GB2312", IsMBC__GB2312, bytes({0xFF, 0xA1}), 1, 0, 1},
        {"GB2312", IsMBC__GB2312, bytes({0xB0, 0xA0}), 1, 0, 1},
        {"GB2312", IsMBC__GB2312, bytes({0xB0, 0xFF}), 1, 0, 1},
    });
}

TEST(Checkers, Utf8IsLaxAndLeavesTheFlagAlone) {
    expectCases({
        {"UTF8", IsMBC__UTF8, "a", 0, 1, 7},
        {"UTF8", IsMBC__UTF8, bytes({0xC2, 0x80}), 1, 2, 7},
        {"UTF8", IsMBC__UTF8, bytes({0xDF, 0xBF}), 1, 2, 7},
        {"UTF8", IsMBC__UTF8, bytes({0xEF, 0xBF, 0xBF}), 1, 3, 7},
        {"UTF8", IsMBC__UTF8, bytes({0xF7, 0xBF, 0xBF, 0xBF}), 1, 4, 7},
        {"UTF8", IsMBC__UTF8, bytes({0xE0, 0x80, 0x80}), 1, 3, 7},  // overlong
        {"UTF8", IsMBC__UTF8, bytes({0xED, 0xA0, 0x80}), 1, 3, 7},  // surrogate
        {"UTF8", IsMBC__UTF8, bytes({0xC0, 0x80}), 0, 1, 7},
        {"UTF8", IsMBC__UTF8, bytes({0xF8, 0x80, 0x80, 0x80}), 0, 1, 7},
        {"UTF8", IsMBC__UTF8, bytes({0x80}), 0, 1, 7},
        {"UTF8", IsMBC__UTF8, bytes({0xC2, 0xC0}), 0, 1, 7},
        {"UTF8", IsMBC__UTF8, bytes({0xF0, 0x9F, 0x98}), 0, 1, 7},
    });
}

TEST(Checkers, Utf16SurrogatesInBothByteOrders) {
    for (int32_t endian : {1, 2}) {
        bu::charsets::setUtf16ByteOrder(endian);
        auto unit = [endian](int high, int low) {
            return endian == 1 ? bytes({high, low}) : bytes({low, high});
        };
        expectCases({
            {"UTF16", IsMBC__UTF16, unit(0xD8, 0x00) + unit(0xDC, 0x00), 1, 4, 0},
            {"UTF16", IsMBC__UTF16, unit(0xDF, 0xFF) + unit(0x00, 0x41), 1, 4, 0},
            {"UTF16", IsMBC__UTF16, unit(0xD7, 0xFF), 1, 2, 0},
            {"UTF16", IsMBC__UTF16, unit(0xE0, 0x00), 1, 2, 0},
        });
        EXPECT_EQ(fourByteUTF, 0);
        int32_t length = 0;
        IsMBC__UTF16(unit(0xDB, 0x00).c_str(), &length);
        EXPECT_EQ(fourByteUTF, 1);
    }
    bu::charsets::setUtf16ByteOrder(2);
}

}  // namespace
