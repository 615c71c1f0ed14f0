// The character walk: lengths through the selected set, and what an invalid
// or zero-length character does on the output and the parsing side.
#include <gtest/gtest.h>

#include <string>

#include "charset_fixture.h"
#include "pmdcomt.h"

namespace {

using bu::test::bytes;
using NextCharTest = bu::test::CharsetTest;

TEST_F(NextCharTest, LengthsFollowTheSet) {
    ASSERT_EQ(pmSetCharSet("UTF8"), 0);
    std::string text = "a" + bytes({0xC3, 0xA9, 0xE2, 0x96, 0xA1, 0xC0});
    int32_t length = 0;
    EXPECT_EQ(dcCheckNextChar(text.c_str(), 0, &length), 0);
    EXPECT_EQ(length, 1);
    EXPECT_EQ(dcCheckNextChar(text.c_str() + 1, 1, &length), 0);
    EXPECT_EQ(length, 2);
    EXPECT_EQ(dcCheckNextChar(text.c_str() + 3, 3, &length), 0);
    EXPECT_EQ(length, 3);
    // A malformed UTF-8 byte is one byte and no error.
    EXPECT_EQ(dcCheckNextChar(text.c_str() + 6, 6, &length), 0);
    EXPECT_EQ(length, 1);
    EXPECT_FALSE(host.traced("Invalid MBC"));
}

TEST_F(NextCharTest, InvalidCharacterStopsTheOutputSide) {
    ASSERT_EQ(pmSetCharSet("KANJISJIS_0S"), 0);
    std::string text = bytes({0x81, 0x7F, 0, 0, 0, 0, 0, 0});
    int32_t length = 0;
    EXPECT_EQ(dcCheckNextChar(text.c_str(), 0x1234, &length), bu::charsets::kInvalidCharacter);
    EXPECT_EQ(length, 1);
    EXPECT_TRUE(host.traced("!ERROR! Invalid MBC encountered in row"));
    EXPECT_TRUE(
        host.traced("!ERROR! invalid KANJISJIS_0S character at output buffer offset x'00001234'"));
    EXPECT_TRUE(host.traced("This is a fatal error"));
    EXPECT_TRUE(host.traced("*** DATA ERROR >"));
}

TEST_F(NextCharTest, ToleranceAcceptsButStillTraces) {
    ASSERT_EQ(pmSetCharSet("KANJISJIS_0S"), 0);
    std::string text = bytes({0x81, 0x7F, 0, 0, 0, 0, 0, 0});
    bCheckTolerant = 1;
    int32_t length = 0;
    EXPECT_EQ(dcCheckNextChar(text.c_str(), 0, &length), 0);
    EXPECT_EQ(length, 1);
    EXPECT_TRUE(host.traced("This is a fatal error"));
    EXPECT_FALSE(host.traced("*** DATA ERROR >"));
}

TEST_F(NextCharTest, ZeroLengthCharacterIsAnError) {
    ASSERT_EQ(pmSetCharSet("SCHGB2312_1T0"), 0);
    std::string text = bytes({0x81, 0xA1, 0, 0, 0, 0, 0, 0});
    int32_t length = 9;
    EXPECT_EQ(dcCheckNextChar(text.c_str(), 0, &length), bu::charsets::kInvalidCharacter);
    EXPECT_EQ(length, 0);
    EXPECT_TRUE(host.traced("!ERROR! zero length character encountered in row"));
    // The flag goes with the next good character.
    std::string good = bytes({0xB0, 0xA1});
    EXPECT_EQ(dcCheckNextChar(good.c_str(), 2, &length), 0);
    EXPECT_EQ(length, 2);
}

TEST_F(NextCharTest, QuietBelowTraceLevelTwo) {
    DC_TraceLvl = 1;
    ASSERT_EQ(pmSetCharSet("KANJIEUC_0U"), 0);
    std::string text = bytes({0xA1, 0x20, 0, 0, 0, 0, 0, 0});
    int32_t length = 0;
    EXPECT_EQ(dcCheckNextChar(text.c_str(), 0, &length), bu::charsets::kInvalidCharacter);
    EXPECT_FALSE(host.traced("Invalid MBC"));
}

TEST_F(NextCharTest, ParserSideSetsTheErrorColumnAndInputOffset) {
    ASSERT_EQ(pmSetCharSet("TCHBIG5_1R0"), 0);
    std::string record = "ab|" + bytes({0xA4, 0x3F}) + std::string(8, '\0');
    pmBuffer.Data = record.data();
    pmBuffer.Length = 5;
    int32_t length = 0;
    int32_t errorColumn = 0;
    EXPECT_EQ(dcCheckNextCharNew(record.c_str(), &length, &errorColumn, 0), 0);
    EXPECT_EQ(errorColumn, 0);
    EXPECT_EQ(dcCheckNextCharNew(record.c_str() + 3, &length, &errorColumn, 1),
              bu::charsets::kInvalidCharacter);
    EXPECT_EQ(errorColumn, 2);
    EXPECT_TRUE(
        host.traced("!ERROR! invalid TCHBIG5_1R0 character at input buffer offset x'00000003'"));
    pmBuffer.Data = nullptr;
    pmBuffer.Length = 0;
}

TEST_F(NextCharTest, ParserSideIgnoresTolerance) {
    ASSERT_EQ(pmSetCharSet("SCHGB2312_1T0"), 0);
    bCheckTolerant = 1;
    std::string text = bytes({0xFF, 0xA1, 0, 0, 0, 0, 0, 0});
    int32_t length = 0;
    int32_t errorColumn = 0;
    EXPECT_EQ(dcCheckNextCharNew(text.c_str(), &length, &errorColumn, 6),
              bu::charsets::kInvalidCharacter);
    EXPECT_EQ(errorColumn, 7);
}

TEST_F(NextCharTest, Utf16SurrogateWalksFourBytes) {
    ASSERT_EQ(pmSetCharSet("UTF16"), 0);
    std::string text = bytes({0x3D, 0xD8, 0x00, 0xDE, 0x41, 0x00});
    int32_t length = 0;
    int32_t errorColumn = 0;
    EXPECT_EQ(dcCheckNextCharNew(text.c_str(), &length, &errorColumn, 0), 0);
    EXPECT_EQ(length, 4);
    EXPECT_EQ(fourByteUTF, 1);
    EXPECT_EQ(dcCheckNextCharNew(text.c_str() + 4, &length, &errorColumn, 0), 0);
    EXPECT_EQ(length, 2);
    EXPECT_EQ(fourByteUTF, 0);
}

}  // namespace
