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
        UsingSingleByteCharSet = bUsingSingleByteDelimiter = 1;
        bQuotedData = TrimLeadingNchars = TrimTrailingNchars = 0;
        set(TextDelimiter, "|");
    }

    static int32_t formed() {
        dcSetUDDIParsingCase();
        return UDDI_ParsingCase;
    }
};

TEST_F(ParsingCase, CharacterSetDelimiterAndEscape) {
    EXPECT_EQ(formed(), 1100000);
    EXPECT_EQ(cDelimiter, '|');
    UsingSingleByteCharSet = bUsingSingleByteDelimiter = 0;
    set(EscapeTextCharacter, "\\");
    EXPECT_EQ(formed(), 2210000);
    EXPECT_EQ(cEscapeTextCharacter, '\\');
    set(EscapeTextCharacter, "\\\\");
    EXPECT_EQ(formed(), 2220000);
}

TEST_F(ParsingCase, QuoteMarksCountOnlyWithQuotedData) {
    set(OpenQuoteMark, "\"");
    set(EscapeQuoteCharacter, "\"\"");
    EXPECT_EQ(formed(), 1100000);
    bQuotedData = 1;
    EXPECT_EQ(formed(), 1101120);  // the close mark not given is the open mark
    EXPECT_EQ(cCloseQuoteMark, '"');
    set(OpenQuoteMark, "<<");
    set(CloseQuoteMark, ">");
    EXPECT_EQ(formed(), 1102120);
}

TEST_F(ParsingCase, TrimmingDigitSumsUp) {
    TrimLeadingNchars = 2;
    EXPECT_EQ(formed(), 1100001);
    set(TrimTrailingChar, " ");
    EXPECT_EQ(formed(), 1100002);
    set(TrimLeadingChar, "ab");
    EXPECT_EQ(formed(), 1100004);
    UsingSingleByteCharSet = 0;
    EXPECT_EQ(formed(), 2100005);
}

}  // namespace
