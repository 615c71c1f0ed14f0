// Selecting the job's set by number and by name, and what each selection
// installs.
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>

#include "charset_fixture.h"

namespace {

using bu::test::bytes;
using SelectionTest = bu::test::CharsetTest;

TEST_F(SelectionTest, NumericCodes) {
    const struct {
        const char* code;
        const char* name;
        IsMBC_t checker;
        int32_t utf;
    } rows[] = {{"63", "UTF8", IsMBC__UTF8, 3},
                {"62", "UTF16", IsMBC__UTF16, 2},
                {"120", "HANGULKSC5601_2R4", IsMBC__KSC, 0}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.code);
        EXPECT_EQ(pmSetCharSet(row.code), 0);
        EXPECT_STREQ(SG_CharsetName, row.name);
        EXPECT_EQ(IsMBC, row.checker);
        EXPECT_EQ(SG_UTF_CharsetNum, row.utf);
        EXPECT_EQ(IsUnicodeCS, row.utf != 0 ? 1 : 0);
        EXPECT_EQ(UsingSingleByteCharSet, 0);
    }
    // Unlisted codes up to 255 are generic single-byte; above, nothing changes.
    for (const char* code : {"255", "0", "61", "123", ""}) {
        SCOPED_TRACE(code);
        EXPECT_EQ(pmSetCharSet(code), bu::charsets::kGeneric);
        EXPECT_STREQ(SG_CharsetName, "ASCII");
        EXPECT_EQ(UsingSingleByteCharSet, 1);
    }
    ASSERT_EQ(pmSetCharSet("63"), 0);
    EXPECT_EQ(pmSetCharSet("256"), bu::charsets::kBadNumeric);
    EXPECT_STREQ(SG_CharsetName, "UTF8");
}

TEST_F(SelectionTest, Names) {
    EXPECT_EQ(pmSetCharSet("utf8"), 0);
    EXPECT_EQ(IsMBC, &IsMBC__UTF8);
    EXPECT_EQ(pmSetCharSet("kanji932_1s0"), 0);
    EXPECT_EQ(IsMBC, &IsMBC__SJIS);
    EXPECT_EQ(pmSetCharSet("UCS-2"), bu::charsets::kUcs2);
    EXPECT_EQ(IsMBC, &IsMBC__UTF16);
    EXPECT_EQ(Init_MBCS("UTF8  \t"), 0);
    EXPECT_STREQ(SG_CharsetName, "UTF8");

    // ASCII's first five characters make it single-byte, but the name is unknown.
    EXPECT_EQ(pmSetCharSet("ASCIIX"), bu::charsets::kGeneric);
    EXPECT_EQ(UsingSingleByteCharSet, 1);
    EXPECT_EQ(bUnsupportedCharacterSet, 1);
    EXPECT_TRUE(host.traced("Using generic, single-byte processing."));

    // The single-byte pattern: an underscore, the A second behind it.
    for (const char* name : {"latin1252_0a", "EBCDIC_0E_0A", "X_1A_"}) {
        SCOPED_TRACE(name);
        EXPECT_EQ(pmSetCharSet(name), 0);
        EXPECT_EQ(bUnsupportedCharacterSet, 0);
        EXPECT_EQ(UsingSingleByteCharSet, 1);
    }
    for (const char* name : {"LATIN_A", "EBCDIC_0E", "LATIN_A_", "A_0"}) {
        SCOPED_TRACE(name);
        EXPECT_EQ(pmSetCharSet(name), bu::charsets::kGeneric);
        EXPECT_EQ(bUnsupportedCharacterSet, 1);
    }
}

// No name at all is taken as an empty one: generic processing, no crash.
TEST_F(SelectionTest, MissingNameIsGeneric) {
    ASSERT_EQ(pmSetCharSet("UTF8"), 0);
    EXPECT_EQ(pmSetCharSet(nullptr), bu::charsets::kGeneric);
    EXPECT_STREQ(SG_CharsetName, "ASCII");
    EXPECT_EQ(UsingSingleByteCharSet, 1);
    EXPECT_EQ(Init_MBCS(nullptr), bu::charsets::kGeneric);
    EXPECT_EQ(bUnsupportedCharacterSet, 1);
}

TEST_F(SelectionTest, NameTooLongIsFatalWithOrWithoutPublicLog) {
    EXPECT_EQ(Init_MBCS(std::string(31, 'K').c_str()), PXSTC_FatalError);
    EXPECT_TRUE(host.hasMessage(19465));
    EXPECT_EQ(Init_MBCS(std::string(30, 'K').c_str()), bu::charsets::kGeneric);
    Public_loghandle = nullptr;
    EXPECT_EQ(pmSetCharSet(std::string(300, 'k').c_str()), PXSTC_FatalError);
}

TEST_F(SelectionTest, UpperCaseByteWiseOrCharacterAware) {
    std::string text = "ab" + bytes({0x82, 0x61}) + "c";
    UpperCase(text.data(), static_cast<int32_t>(text.size()));
    EXPECT_EQ(text, "AB" + bytes({0x82, 0x41}) + "C");
    // In SJIS 82 61 is one character whose trail byte is an 'a'.
    ASSERT_EQ(pmSetCharSet("KANJISJIS_0S"), 0);
    text = "ab" + bytes({0x82, 0x61}) + "c";
    UpperCase(text.data(), static_cast<int32_t>(text.size()));
    EXPECT_EQ(text, "AB" + bytes({0x82, 0x61}) + "C");
    // The text has a length and no terminator: a lead byte at its end is
    // checked without reading past it (the sanitizer build catches a read).
    ASSERT_EQ(pmSetCharSet("UTF8"), 0);
    auto lead = std::make_unique<char[]>(2);
    std::memcpy(lead.get(), "a\xE2", 2);
    UpperCase(lead.get(), 2);
    EXPECT_EQ(std::string(lead.get(), 2), "A\xE2");
    ASSERT_EQ(pmSetCharSet("UTF16"), 0);
    auto odd = std::make_unique<char[]>(3);
    std::memcpy(odd.get(), "a\0b", 3);
    UpperCase(odd.get(), 3);  // an odd length ends inside a code unit
    EXPECT_EQ(std::string(odd.get(), 3), std::string("a\0b", 3));
    // A zero-length answer still moves on by one byte.
    ASSERT_EQ(pmSetCharSet("SCHGB2312_1T0"), 0);
    text = bytes({0x81, 0x61});
    UpperCase(text.data(), 2);
    EXPECT_EQ(text, bytes({0x81, 0x41}));
}

TEST(NumberTest, DigitsOnly) {
    EXPECT_EQ(is_it_a_number("0123456789"), 1);
    EXPECT_EQ(is_it_a_number("12a"), 0);
    EXPECT_EQ(is_it_a_number("-1"), 0);
}

}  // namespace
