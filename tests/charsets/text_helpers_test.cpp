// Hexadecimal texts for messages and the UTF-8 replacement character.
#include <gtest/gtest.h>

#include <string>

#include "charset_fixture.h"

namespace {

using bu::test::bytes;

TEST(HexValue, ShortTextsUseTheStaticBuffer) {
    EXPECT_STREQ(pHEXvalue("", 0), "x''");
    EXPECT_STREQ(pHEXvalue("\x00\x7F\xAB|", 4), "x'007FAB7C'");
    const char* first = pHEXvalue("a", 1);
    const char* second = pHEXvalue("b", 1);
    EXPECT_EQ(first, second);  // one buffer, valid until the next call
    EXPECT_STREQ(second, "x'62'");
    EXPECT_STREQ(pHEXvalue("zz", -3), "x''");
}

TEST(HexValue, LongTextsGoToTheHeap) {
    std::string data(300, '\x5A');
    const char* fits = pHEXvalue(data.data(), 247);  // 2 x 247 + 6 = 500
    const char* text = pHEXvalue(data.data(), 300);
    EXPECT_NE(text, fits);
    std::string expected = "x'";
    for (int i = 0; i < 300; ++i) expected += "5A";
    expected += "'";
    EXPECT_EQ(text, expected);
    EXPECT_EQ(std::string(pHEXvalue(data.data(), 248)).size(), 2u * 248 + 3);
    bu::charsets::freeHexValueText();
    EXPECT_STREQ(pHEXvalue("\x01", 1), "x'01'");
}

class Utf8Replacement : public ::testing::Test {
  protected:
    void SetUp() override {
        badmbcs = 0;
        Valid_UTFX = 2;
        SetupUTF8Validation();
    }
};

TEST_F(Utf8Replacement, DefaultIsTheWhiteSquare) {
    EXPECT_EQ(bu::charsets::utf8Replacement(), bytes({0xE2, 0x96, 0xA1}));
}

TEST_F(Utf8Replacement, ValidCharacterOfTheGivenLengthIsStored) {
    std::string euro = bytes({0xE2, 0x82, 0xAC});
    EXPECT_EQ(SetUTF8Replacement(euro.c_str(), 3), 1);
    EXPECT_EQ(bu::charsets::utf8Replacement(), euro);
    EXPECT_EQ(Valid_UTFX, 2);  // restored
    EXPECT_EQ(SetUTF8Replacement("?", 1), 1);
    EXPECT_EQ(bu::charsets::utf8Replacement(), "?");
    std::string four = bytes({0xF0, 0x9F, 0x98, 0x80});
    EXPECT_EQ(SetUTF8Replacement(four.c_str(), 4), 1);
    EXPECT_EQ(bu::charsets::utf8Replacement(), four);
}

TEST_F(Utf8Replacement, LengthDisagreeingWithTheCharacterIsRefused) {
    std::string euro = bytes({0xE2, 0x82, 0xAC});
    EXPECT_EQ(SetUTF8Replacement(euro.c_str(), 1), 0);
    EXPECT_EQ(badmbcs, 1);
    badmbcs = 0;
    EXPECT_EQ(SetUTF8Replacement(bytes({0xC0, 0x80}).c_str(), 2), 0);
    EXPECT_EQ(bu::charsets::utf8Replacement(), bytes({0xE2, 0x96, 0xA1}));
}

TEST_F(Utf8Replacement, NoLengthStoresNothing) {
    EXPECT_EQ(SetUTF8Replacement("x", 0), 1);
    EXPECT_EQ(SetUTF8Replacement("x", -2), 1);
    EXPECT_EQ(bu::charsets::utf8Replacement(), bytes({0xE2, 0x96, 0xA1}));
    badmbcs = 1;
    EXPECT_EQ(SetUTF8Replacement("x", 0), 0);
}

}  // namespace
