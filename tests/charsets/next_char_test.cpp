// The character walk: lengths through the selected set, and what an invalid
// or zero-length character does on the output and on the parsing side.
#include <gtest/gtest.h>

#include <string>

#include "charset_fixture.h"
#include "pmdcomt.h"

namespace {

using bu::test::bytes;
using NextCharTest = bu::test::CharsetTest;
constexpr int32_t kInvalid = bu::charsets::kInvalidCharacter;

// Padded so that the 8-byte dump of a bad character stays inside the text.
std::string padded(const std::string& text) {
    return text + std::string(8, '\0');
}

// A flag left by another set's checker doesn't make single-byte text invalid.
TEST_F(NextCharTest, SingleByteSetClearsAStaleFlag) {
    badmbcs = 1;
    int32_t length = 0;
    EXPECT_EQ(dcCheckNextChar("\xFF", 0, &length), 0);
    EXPECT_EQ(length, 1);
    EXPECT_EQ(badmbcs, 0);
}

TEST_F(NextCharTest, InvalidCharacterStopsTheOutputSideUnlessTolerant) {
    ASSERT_EQ(pmSetCharSet("KANJISJIS_0S"), 0);
    std::string text = padded(bytes({0x81, 0x7F}));
    int32_t length = 0;
    EXPECT_EQ(dcCheckNextChar(text.c_str(), 0x1234, &length), kInvalid);
    EXPECT_EQ(length, 1);
    for (const char* line : {"!ERROR! Invalid MBC encountered in row",
                             "invalid KANJISJIS_0S character at output buffer offset x'00001234'",
                             "This is a fatal error", "*** DATA ERROR >"}) {
        EXPECT_TRUE(host.traced(line)) << line;
    }

    host.traceLines.clear();
    bCheckTolerant = 1;
    EXPECT_EQ(dcCheckNextChar(text.c_str(), 0, &length), 0);
    EXPECT_TRUE(host.traced("This is a fatal error"));  // said even when tolerated
    EXPECT_FALSE(host.traced("*** DATA ERROR >"));
}

TEST_F(NextCharTest, ZeroLengthCharacterIsAnErrorUntilTheNextGoodOne) {
    ASSERT_EQ(pmSetCharSet("SCHGB2312_1T0"), 0);
    std::string bad = padded(bytes({0x81, 0xA1}));
    int32_t length = 9;
    EXPECT_EQ(dcCheckNextChar(bad.c_str(), 0, &length), kInvalid);
    EXPECT_EQ(length, 0);
    EXPECT_TRUE(host.traced("!ERROR! zero length character encountered in row"));
    std::string good = bytes({0xB0, 0xA1});
    EXPECT_EQ(dcCheckNextChar(good.c_str(), 2, &length), 0);
    EXPECT_EQ(length, 2);
}

TEST_F(NextCharTest, ParserSideSetsErrorColumnAndIgnoresTolerance) {
    ASSERT_EQ(pmSetCharSet("TCHBIG5_1R0"), 0);
    bCheckTolerant = 1;
    std::string record = padded("ab|" + bytes({0xA4, 0x3F}));
    pmBuffer.Data = record.data();
    int32_t length = 0;
    int32_t errorColumn = 0;
    EXPECT_EQ(dcCheckNextCharNew(record.c_str(), &length, &errorColumn, 0), 0);
    EXPECT_EQ(errorColumn, 0);
    EXPECT_EQ(dcCheckNextCharNew(record.c_str() + 3, &length, &errorColumn, 1), kInvalid);
    EXPECT_EQ(errorColumn, 2);
    EXPECT_TRUE(host.traced("invalid TCHBIG5_1R0 character at input buffer offset x'00000003'"));
    pmBuffer.Data = nullptr;
}

}  // namespace
