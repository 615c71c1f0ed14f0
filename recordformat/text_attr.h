/*
 * text_attr.h - delimiter-like settings: the TextAttr record each of them
 * lives in, the globals that hold them, and their single-byte copies.
 */
#ifndef BU_RECORDFORMAT_TEXT_ATTR_H
#define BU_RECORDFORMAT_TEXT_ATTR_H

#include <cstddef>
#include <cstdint>

#include "bu_export.h"

extern "C" {

/* One delimiter-like setting: its attribute name (zero-filled), the number
 * of bytes of its value (0: not set) and the bytes, already in the job's
 * character set, with a terminator behind them. In a record of defaults a
 * negative length marks a final value of that magnitude. */
typedef struct TextAttr {
    char Name[50];
    int32_t Length;
    char Bytes[101];
} TextAttr;

/* The settings. TextDelimiter lives with the file settings. */
BU_API TextAttr TextDelimiter;
BU_API TextAttr EscapeTextCharacter;
BU_API TextAttr OpenQuoteMark;
BU_API TextAttr CloseQuoteMark;
BU_API TextAttr EscapeQuoteCharacter;
BU_API TextAttr TrimLeadingChar;
BU_API TextAttr TrimTrailingChar;
BU_API TextAttr EscapeRecDelim;
BU_API TextAttr RowErrFilePrefixChar;
/* The work record through which defaults are passed. */
BU_API TextAttr DefaultChar;

/* Single-byte copies, valid when the setting is one byte long. */
BU_API char cDelimiter;
BU_API char cEscapeTextCharacter;
BU_API char cOpenQuoteMark;
BU_API char cCloseQuoteMark;
BU_API char cEscapeQuoteCharacter;
BU_API char cTrimLeadingChar;
BU_API char cTrimTrailingChar;

/* An escape is in force for delimiters in data, for quote marks in data. */
BU_API int32_t bUsingDelimiterEscCharacter;
BU_API int32_t bUsingQuoteEscCharacter;
/* Trimming of parsed columns. */
BU_API int32_t bTrimLeadingBlanks;
BU_API int32_t bTrimTrailingBlanks;
BU_API int32_t bUsingSingleTrimLeadingChar;
BU_API int32_t bUsingSingleTrimTrailingChar;

/* Further settings the parsing case is formed from. */
BU_API int32_t bUsingSingleByteDelimiter;
BU_API int32_t TrimLeadingNchars;
BU_API int32_t TrimTrailingNchars;
BU_API int32_t UDDI_ParsingCase;
// Set once the parsing case has been formed; the schema then checks it.
extern int32_t bUDDIcaseSetUp;
}

static_assert(offsetof(TextAttr, Name) == 0, "TextAttr.Name at 0");
static_assert(offsetof(TextAttr, Length) == 52, "TextAttr.Length at 52");
static_assert(offsetof(TextAttr, Bytes) == 56, "TextAttr.Bytes at 56");
static_assert(sizeof(TextAttr) == 160, "TextAttr is 160 bytes");

#endif  // BU_RECORDFORMAT_TEXT_ATTR_H
