// The delimiter-like settings and their single-byte copies; see text_attr.h.
#include "delimited_writer.h"
#include "text_attr.h"

extern "C" {
TextAttr EscapeTextCharacter = {};
TextAttr OpenQuoteMark = {};
TextAttr CloseQuoteMark = {};
TextAttr EscapeQuoteCharacter = {};
TextAttr TrimLeadingChar = {};
TextAttr TrimTrailingChar = {};
TextAttr EscapeRecDelim = {};
TextAttr RowErrFilePrefixChar = {};
TextAttr DefaultChar = {};

char cDelimiter = 0;
char cEscapeTextCharacter = 0;
char cOpenQuoteMark = 0;
char cCloseQuoteMark = 0;
char cEscapeQuoteCharacter = 0;
char cTrimLeadingChar = 0;
char cTrimTrailingChar = 0;

int32_t bUsingDelimiterEscCharacter = 0;
int32_t bUsingQuoteEscCharacter = 0;
int32_t bTrimLeadingBlanks = 0;
int32_t bTrimTrailingBlanks = 0;
int32_t bUsingSingleTrimLeadingChar = 0;
int32_t bUsingSingleTrimTrailingChar = 0;

int32_t bUsingSingleByteDelimiter = 0;
int32_t TrimLeadingNchars = 0;
int32_t TrimTrailingNchars = 0;
int32_t UDDI_ParsingCase = 0;
int32_t bUDDIcaseSetUp = 0;
}

bu::rf::Mark bu::rf::markOf(const TextAttr& attr) noexcept {
    int32_t length = attr.Length;
    if (length < 0) length = 0;
    if (length > static_cast<int32_t>(sizeof attr.Bytes) - 1) length = sizeof attr.Bytes - 1;
    return {attr.Bytes, length};
}
