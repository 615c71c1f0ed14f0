// Selecting the job's set by number and by name, and what each selection
// installs.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "charset_fixture.h"

namespace {

using bu::test::bytes;
using SelectionTest = bu::test::CharsetTest;

TEST_F(SelectionTest, NumericCodesOfTheTable) {
    EXPECT_EQ(pmSetCharSet("63"), 0);
    EXPECT_STREQ(SG_CharsetName, "UTF8");
    EXPECT_EQ(IsMBC, &IsMBC__UTF8);
    EXPECT_EQ(SG_UTF_CharsetNum, 3);
    EXPECT_EQ(IsUnicodeCS, 1);
    EXPECT_EQ(UsingSingleByteCharSet, 0);

    EXPECT_EQ(pmSetCharSet("62"), 0);
    EXPECT_STREQ(SG_CharsetName, "UTF16");
    EXPECT_EQ(SG_UTF_CharsetNum, 2);

    const struct {
        const char* code;
        const char* name;
        IsMBC_t checker;
    } rows[] = {{"121", "SCHGB2312_1T0", IsMBC__GB2312},  {"118", "KANJIEUC_0U", IsMBC__EUC},
                {"91", "SDKANJIEUC_1U3", IsMBC__EUC},     {"119", "KANJISJIS_0S", IsMBC__SJIS},
                {"92", "SDKANJISJIS_1S3", IsMBC__SJIS},   {"122", "TCHBIG5_1R0", IsMBC__BIG5},
                {"95", "SDTCHBIG5_3R0", IsMBC__BIG5},     {"120", "HANGULKSC5601_2R4", IsMBC__KSC},
                {"93", "SDHANGULKSC5601_4R4", IsMBC__KSC}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.code);
        EXPECT_EQ(pmSetCharSet(row.code), 0);
        EXPECT_STREQ(SG_CharsetName, row.name);
        EXPECT_EQ(IsMBC, row.checker);
        EXPECT_EQ(SG_UTF_CharsetNum, 0);
        EXPECT_EQ(IsUnicodeCS, 0);
    }
}

TEST_F(SelectionTest, UnlistedCodesAreGenericSingleByteUpTo255) {
    for (const char* code : {"255", "0", "61", "123", "64", ""}) {
        SCOPED_TRACE(code);
        ASSERT_EQ(pmSetCharSet("63"), 0);
        EXPECT_EQ(pmSetCharSet(code), bu::charsets::kGeneric);
        EXPECT_STREQ(SG_CharsetName, "ASCII");
        EXPECT_EQ(UsingSingleByteCharSet, 1);
        EXPECT_EQ(SG_UTF_CharsetNum, 0);
        EXPECT_EQ(IsUnicodeCS, 0);
    }
}

TEST_F(SelectionTest, NumbersAbove255AreRefusedAndEstablishNothing) {
    ASSERT_EQ(pmSetCharSet("UTF8"), 0);
    EXPECT_EQ(pmSetCharSet("256"), bu::charsets::kBadNumeric);
    EXPECT_STREQ(SG_CharsetName, "UTF8");
    EXPECT_EQ(IsMBC, &IsMBC__UTF8);
    EXPECT_TRUE(host.traced("Invalid numeric character set value"));
}

TEST_F(SelectionTest, NamesAreUpperCasedFirst) {
    EXPECT_EQ(pmSetCharSet("utf8"), 0);
    EXPECT_STREQ(SG_CharsetName, "UTF8");
    EXPECT_EQ(IsMBC, &IsMBC__UTF8);
    EXPECT_EQ(pmSetCharSet("kanji932_1s0"), 0);
    EXPECT_EQ(IsMBC, &IsMBC__SJIS);
    EXPECT_EQ(pmSetCharSet("schinese936_6r0"), 0);
    EXPECT_EQ(IsMBC, &IsMBC__GBK);
    EXPECT_TRUE(host.traced("Multi-byte character set in use"));
}

TEST_F(SelectionTest, Ucs2IsUtf16WithItsOwnAnswer) {
    EXPECT_EQ(pmSetCharSet("UCS-2"), bu::charsets::kUcs2);
    EXPECT_EQ(IsMBC, &IsMBC__UTF16);
    EXPECT_EQ(SG_UTF_CharsetNum, 2);
    EXPECT_EQ(IsUnicodeCS, 1);
}

TEST_F(SelectionTest, AsciiPrefixStartsSingleByteButUnknownNameIsGeneric) {
    EXPECT_EQ(pmSetCharSet("ASCIIX"), bu::charsets::kGeneric);
    EXPECT_EQ(UsingSingleByteCharSet, 1);
    EXPECT_EQ(bUnsupportedCharacterSet, 1);
    EXPECT_STREQ(SG_CharsetName, "ASCIIX");
    EXPECT_TRUE(host.traced("Requested character set not recognized."));
    EXPECT_TRUE(host.traced("Using generic, single-byte processing."));
}

TEST_F(SelectionTest, SingleByteNamePatternIsAccepted) {
    ASSERT_EQ(pmSetCharSet("NOSUCH"), bu::charsets::kGeneric);
    EXPECT_EQ(pmSetCharSet("latin1252_0a"), 0);
    EXPECT_STREQ(SG_CharsetName, "LATIN1252_0A");
    EXPECT_EQ(bUnsupportedCharacterSet, 0);
    EXPECT_EQ(UsingSingleByteCharSet, 1);
    // The A must be the second character behind the underscore, and the
    // first underscore is the one looked at.
    EXPECT_EQ(pmSetCharSet("LATIN_A"), bu::charsets::kGeneric);
    EXPECT_EQ(pmSetCharSet("EBCDIC_0E_0A"), bu::charsets::kGeneric);
    EXPECT_EQ(pmSetCharSet("X_1A_0E"), 0);
}

TEST_F(SelectionTest, TrailingWhiteSpaceIsCut) {
    EXPECT_EQ(Init_MBCS("UTF8  \t"), 0);
    EXPECT_STREQ(SG_CharsetName, "UTF8");
    EXPECT_EQ(IsMBC, &IsMBC__UTF8);
}

TEST_F(SelectionTest, NameTooLongForTheFieldIsFatal) {
    std::string name(31, 'K');
    EXPECT_EQ(Init_MBCS(name.c_str()), PXSTC_FatalError);
    EXPECT_TRUE(host.hasMessage(19465));
    EXPECT_EQ(Init_MBCS(name.substr(1).c_str()), bu::charsets::kGeneric);
    std::string huge(300, 'k');
    EXPECT_EQ(pmSetCharSet(huge.c_str()), PXSTC_FatalError);
}

TEST_F(SelectionTest, UnsupportedNameWithoutPublicLogDoesNotCrash) {
    Public_loghandle = nullptr;
    EXPECT_EQ(Init_MBCS(std::string(40, 'Z').c_str()), PXSTC_FatalError);
}

TEST_F(SelectionTest, NumberTest) {
    EXPECT_EQ(is_it_a_number(""), 1);
    EXPECT_EQ(is_it_a_number("0123456789"), 1);
    EXPECT_EQ(is_it_a_number("12a"), 0);
    EXPECT_EQ(is_it_a_number("-1"), 0);
    EXPECT_EQ(is_it_a_number(" 1"), 0);
}

TEST_F(SelectionTest, UpperCaseIsByteWiseForSingleByteSets) {
    std::string text = "abc" + bytes({0x82, 0x61}) + "z";
    UpperCase(text.data(), static_cast<int32_t>(text.size()));
    EXPECT_EQ(text, "ABC" + bytes({0x82, 0x41}) + "Z");
    EXPECT_EQ(PassThrough(text.data()), text.data());
}

TEST_F(SelectionTest, UpperCaseSkipsMultiByteCharactersWhole) {
    ASSERT_EQ(pmSetCharSet("KANJISJIS_0S"), 0);
    // 0x82 0x61 is one character whose trail byte is an 'a'.
    std::string text = "ab" + bytes({0x82, 0x61}) + "c";
    UpperCase(text.data(), static_cast<int32_t>(text.size()));
    EXPECT_EQ(text, "AB" + bytes({0x82, 0x61}) + "C");
}

TEST_F(SelectionTest, UpperCaseOfInvalidGb2312StillAdvances) {
    ASSERT_EQ(pmSetCharSet("SCHGB2312_1T0"), 0);
    std::string text = bytes({0x81, 0x61}) + "a";
    UpperCase(text.data(), static_cast<int32_t>(text.size()));
    EXPECT_EQ(text, bytes({0x81, 0x41}) + "A");
}

}  // namespace
