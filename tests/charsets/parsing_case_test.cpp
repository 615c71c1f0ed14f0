// The parsing case number for representative combinations of settings.
#include <gtest/gtest.h>

#include <cstring>
#include <functional>

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

// Each digit of the number counts one setting: the character set, the
// delimiter's length (or a multi-byte one), the escape's, the quote marks
// (only with quoted data; a close mark not given is the open one), their
// escape, and trimming, whose digit sums what is trimmed, one more when it
// is trimmed in characters of a multi-byte set.
TEST_F(ParsingCase, EachSettingHasItsDigit) {
    const struct {
        std::function<void()> change;  // applied on top of the cases before
        int32_t parsingCase;
    } cases[] = {
        {[] {}, 1100000},
        {[] { UsingSingleByteCharSet = bUsingSingleByteDelimiter = 0; }, 2200000},
        {[] { set(EscapeTextCharacter, "\\"); }, 2210000},
        {[] { set(EscapeTextCharacter, "\\\\"); }, 2220000},
        {[] {
             set(OpenQuoteMark, "\"");
             set(EscapeQuoteCharacter, "\"\"");
         },
         2220000},
        {[] { bQuotedData = 1; }, 2221120},
        {[] {
             set(OpenQuoteMark, "<<");
             set(CloseQuoteMark, ">");
         },
         2222120},
        {[] { TrimLeadingNchars = 2; }, 2222122},
        {[] { set(TrimTrailingChar, " "); }, 2222123},
        {[] { set(TrimLeadingChar, "ab"); }, 2222125},
    };
    for (const auto& c : cases) {
        c.change();
        EXPECT_EQ(formed(), c.parsingCase);
    }
    // The single-byte marks are kept for the loops that compare one byte.
    EXPECT_EQ(cDelimiter, '|');
    EXPECT_EQ(cCloseQuoteMark, '>');
    clear();
    set(EscapeTextCharacter, "\\");
    set(OpenQuoteMark, "\"");
    bQuotedData = 1;
    formed();
    EXPECT_EQ(cEscapeTextCharacter, '\\');
    EXPECT_EQ(cCloseQuoteMark, '"');
}

}  // namespace
