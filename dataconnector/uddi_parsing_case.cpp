// The parsing case: one decimal digit per delimiter setting, so that the
// parser can pick a loop made for exactly the settings in force.
#include <cstring>

#include "charsets.h"
#include "file_settings.h"
#include "special_chars.h"

namespace {

// 1 for a one-byte setting (its byte goes to `copy`), 2 for a longer one,
// 0 for none.
int32_t settingDigit(const TextAttr& setting, char* copy) {
    if (setting.Length == 1) {
        *copy = setting.Bytes[0];
        return 1;
    }
    return setting.Length > 1 ? 2 : 0;
}

int32_t trimDigit() {
    const bool counts = TrimLeadingNchars != 0 || TrimTrailingNchars != 0;
    int32_t digit = 0;
    if (UsingSingleByteCharSet && counts) digit += 1;
    if (TrimLeadingChar.Length == 1 || TrimTrailingChar.Length == 1) digit += 1;
    if (!UsingSingleByteCharSet && counts) digit += 2;
    if (TrimLeadingChar.Length >= 2 || TrimTrailingChar.Length >= 2) digit += 2;
    return digit;
}

}  // namespace

extern "C" void dcSetUDDIParsingCase(void) noexcept {
    int32_t parsingCase = UsingSingleByteCharSet ? 1000000 : 2000000;
    if (bUsingSingleByteDelimiter) {
        cDelimiter = TextDelimiter.Bytes[0];
        parsingCase += 100000;
    } else {
        parsingCase += 200000;
    }
    parsingCase += 10000 * settingDigit(EscapeTextCharacter, &cEscapeTextCharacter);
    if (bQuotedData) {
        parsingCase += 1000 * settingDigit(OpenQuoteMark, &cOpenQuoteMark);
        // A close mark not given is the open mark.
        if (CloseQuoteMark.Length == 0 && OpenQuoteMark.Length != 0) {
            CloseQuoteMark.Length = OpenQuoteMark.Length;
            std::memcpy(CloseQuoteMark.Bytes, OpenQuoteMark.Bytes, sizeof CloseQuoteMark.Bytes);
        }
        parsingCase += 100 * settingDigit(CloseQuoteMark, &cCloseQuoteMark);
        parsingCase += 10 * settingDigit(EscapeQuoteCharacter, &cEscapeQuoteCharacter);
    }
    UDDI_ParsingCase = parsingCase + trimDigit();
    bUDDIcaseSetUp = 1;
}
