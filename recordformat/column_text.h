/*
 * column_text.h - columns held in the row's native form rendered as text
 * for delimited records: integers, decimals, NUMBER, FLOAT, dates and
 * periods. The text is plain ASCII, widened to UTF-16 code units when the
 * record is UTF16. Nothing here allocates.
 */
#ifndef BU_RECORDFORMAT_COLUMN_TEXT_H
#define BU_RECORDFORMAT_COLUMN_TEXT_H

#include <cstddef>
#include <cstdint>

#include "bu_export.h"

extern "C" {

/* One column's converted text, kept per schema column for the job. The
 * longest text (a period with zones and fractions, widened) takes far less
 * than the 300 bytes, so the terminating zero byte always fits behind it. */
typedef struct ConvertRecord {
    int32_t TextLength; /* bytes of text, two per character in UTF16 */
    int32_t bConvert;   /* the column's text comes from here, not from the row */
    char Text[300];
} ConvertRecord;

/* Digits of a signed integer of Size 1, 2, 4, 8 or 16 bytes at Value, with
 * Scale + 1 - digit count zeros in front when the digits don't outnumber
 * Scale; "-" first when negative. No decimal point. Returns the count of
 * characters; 0 (and nothing written) for the value 0 or another Size. */
BU_API int32_t Do_DtoA(char* Text, int32_t Size, const void* Value, int32_t Scale) noexcept;
}

static_assert(offsetof(ConvertRecord, TextLength) == 0, "ConvertRecord.TextLength at 0");
static_assert(offsetof(ConvertRecord, bConvert) == 4, "ConvertRecord.bConvert at 4");
static_assert(offsetof(ConvertRecord, Text) == 8, "ConvertRecord.Text at 8");
static_assert(sizeof(ConvertRecord) == 308, "ConvertRecord is 308 bytes");

namespace bu::rf {

// What the conversion needs to know of a column.
struct ColumnForm {
    int32_t type;
    int16_t precision;
    int16_t scale;
};

// How characters are written: one byte each, or UTF-16 code units in the
// platform's byte order.
enum class TextWidth { Narrow, Utf16Little, Utf16Big };

// Whether a column of this type takes its text from the conversion rather
// than from the row.
bool convertsToText(int32_t type) noexcept;

// The most bytes a column's text takes: the text area of a ConvertRecord.
inline constexpr size_t kRenderedTextCapacity = sizeof(ConvertRecord::Text);

// Writes the text of the column's `length` bytes at `column` at `text`, which
// has room for kRenderedTextCapacity bytes, and returns its end; no zero byte
// behind it. A type without a rendering gives an empty text. Bytes missing
// from a column shorter than its type are taken as zeros.
char* renderColumnText(char* text, const char* column, uint32_t length, ColumnForm form,
                       TextWidth width) noexcept;

// The same text in `record`: TextLength and the text with a zero byte behind
// it.
void BinaryToText(const char* column, uint32_t length, ColumnForm form, TextWidth width,
                  ConvertRecord& record) noexcept;

// The work value DECIMAL and NUMBER digits are made with: set up once per
// job, released at the end.
void initNumberContext() noexcept;
void releaseNumberContext() noexcept;

}  // namespace bu::rf

#endif  // BU_RECORDFORMAT_COLUMN_TEXT_H
