// Hexadecimal texts for messages and the UTF-8 replacement character.
#include <gtest/gtest.h>

#include <string>

#include "charset_fixture.h"

namespace {

using bu::test::bytes;

TEST(HexValue, StaticBufferThenHeapBeyond500Bytes) {
    EXPECT_STREQ(pHEXvalue("", 0), "x''");
    EXPECT_STREQ(pHEXvalue("zz", -3), "x''");
    EXPECT_STREQ(pHEXvalue(nullptr, 4), "x''");
    EXPECT_STREQ(pHEXvalue("\x00\x7F\xAB|", 4), "x'007FAB7C'");
    std::string data(300, '\x5A');
    const char* fits = pHEXvalue(data.data(), 247);  // 2 x 247 + 6 = 500
    const char* heap = pHEXvalue(data.data(), 300);
    EXPECT_NE(heap, fits);
    std::string digits;
    for (int i = 0; i < 300; ++i) digits += "5A";
    EXPECT_EQ(heap, "x'" + digits + "'");
    bu::charsets::freeHexValueText();
    EXPECT_STREQ(pHEXvalue("\x01", 1), "x'01'");
}

TEST(Utf8Replacement, DefaultThenUsersCharacterOfTheGivenLength) {
    badmbcs = 0;
    Valid_UTFX = 2;
    SetupUTF8Validation();
    const std::string square = bytes({0xE2, 0x96, 0xA1});
    EXPECT_EQ(bu::charsets::utf8Replacement(), square);

    // Wrong length, malformed, or no length: nothing is stored.
    const std::string euro = bytes({0xE2, 0x82, 0xAC});
    EXPECT_EQ(SetUTF8Replacement(euro.c_str(), 1), 0);
    EXPECT_EQ(badmbcs, 1);
    badmbcs = 0;
    EXPECT_EQ(SetUTF8Replacement(bytes({0xC0, 0x80}).c_str(), 2), 0);
    // The UTF-8 checker never clears the flag, so a refusal stays until reset.
    EXPECT_EQ(SetUTF8Replacement("x", 0), 0);
    badmbcs = 0;
    EXPECT_EQ(SetUTF8Replacement("x", 0), 1);
    EXPECT_EQ(bu::charsets::utf8Replacement(), square);
    EXPECT_EQ(SetUTF8Replacement(nullptr, 1), 0);
    EXPECT_EQ(badmbcs, 1);
    EXPECT_EQ(bu::charsets::utf8Replacement(), square);
    badmbcs = 0;

    const std::string four = bytes({0xF0, 0x9F, 0x98, 0x80});
    EXPECT_EQ(SetUTF8Replacement(four.c_str(), 4), 1);
    EXPECT_EQ(bu::charsets::utf8Replacement(), four);
    EXPECT_EQ(SetUTF8Replacement("?", 1), 1);
    EXPECT_EQ(bu::charsets::utf8Replacement(), "?");
    EXPECT_EQ(Valid_UTFX, 2);  // restored after the check
    Valid_UTFX = 0;
}

}  // namespace
