// The parsing case number for representative combinations of settings.
#include <gtest/gtest.h>

#include <cstring>

#include "charsets.h"
#include "file_settings.h"
#include "special_chars.h"

namespace {

void set(TextAttr& attr, const char* value) {
    attr.Length = static_cast<int32_t>(std::strlen(value));
    std::strcpy(attr.Bytes, value);
}

class ParsingCase : public ::testing::Test {
  protected:
    void SetUp() override { clear(); }
    void TearDown() override { clear(); }

    static void clear() {
        for (TextAttr* attr :
             {&TextDelimiter, &EscapeTextCharacter, &OpenQuoteMark, &CloseQuoteMark,
              &EscapeQuoteCharacter, &TrimLeadingChar, &TrimTrailingChar}) {
            std::memset(attr->Bytes, 0, sizeof attr->Bytes);
            attr->Length = 0;
        }
        UsingSingleByteCharSet = 1;
        bUsingSingleByteDelimiter = 1;
        bQuotedData = 0;
        TrimLeadingNchars = TrimTrailingNchars = 0;
        cDelimiter = cEscapeTextCharacter = cOpenQuoteMark = cCloseQuoteMark = 0;
        cEscapeQuoteCharacter = 0;
        UDDI_ParsingCase = 0;
    }

    int32_t formed() {
        dcSetUDDIParsingCase();
        return UDDI_ParsingCase;
    }
};

TEST_F(ParsingCase, PlainSingleByteDelimiter) {
    set(TextDelimiter, "|");
    EXPECT_EQ(formed(), 1100000);
    EXPECT_EQ(cDelimiter, '|');
}

TEST_F(ParsingCase, MultiByteSetAndDelimiterWithEscape) {
    UsingSingleByteCharSet = 0;
    bUsingSingleByteDelimiter = 0;
    set(TextDelimiter, "||");
    set(EscapeTextCharacter, "\\");
    EXPECT_EQ(formed(), 2210000);
    EXPECT_EQ(cEscapeTextCharacter, '\\');
    set(EscapeTextCharacter, "\\\\");
    EXPECT_EQ(formed(), 2220000);
}

TEST_F(ParsingCase, QuoteMarksCountOnlyWithQuotedData) {
    set(TextDelimiter, ",");
    set(OpenQuoteMark, "\"");
    set(EscapeQuoteCharacter, "\"\"");
    EXPECT_EQ(formed(), 1100000);
    EXPECT_EQ(CloseQuoteMark.Length, 0);
    bQuotedData = 1;
    // The close mark not given is the open mark.
    EXPECT_EQ(formed(), 1101120);
    EXPECT_EQ(CloseQuoteMark.Length, 1);
    EXPECT_EQ(cOpenQuoteMark, '"');
    EXPECT_EQ(cCloseQuoteMark, '"');
    set(OpenQuoteMark, "<<");
    set(CloseQuoteMark, ">");
    EXPECT_EQ(formed(), 1102120);
}

TEST_F(ParsingCase, TrimmingDigitSumsUp) {
    set(TextDelimiter, "|");
    TrimLeadingNchars = 2;
    EXPECT_EQ(formed(), 1100001);
    set(TrimTrailingChar, " ");
    EXPECT_EQ(formed(), 1100002);
    set(TrimLeadingChar, "ab");
    EXPECT_EQ(formed(), 1100004);
    UsingSingleByteCharSet = 0;
    EXPECT_EQ(formed(), 2100005);
    TrimLeadingNchars = 0;
    EXPECT_EQ(formed(), 2100003);
}

}  // namespace
