/*
 * charsets.h - the job's character set: selection by number or name, the
 * character checker of each family, the upper-case routines, the walk of
 * one character at a time with its error handling, and the small text
 * helpers that the messages about characters use.
 *
 * The checkers take text without a length: they read the lead byte and at
 * most three bytes behind it, and stop at the first zero byte, so text that
 * ends in a zero byte is never read past its end. The UTF-16 checker reads
 * the two bytes of its code unit whatever they are.
 */
#ifndef BU_CHARSETS_CHARSETS_H
#define BU_CHARSETS_CHARSETS_H

#include <cstdint>
#include <string_view>

#include "bu_export.h"

extern "C" {

/* The three routines every set installs together. */
typedef int32_t (*IsMBC_t)(const char* Text, int32_t* Length);
typedef char* (*UpperCase_t)(char* Text, int32_t Length);
typedef char* (*PassThrough_t)(char* Text);

BU_API IsMBC_t IsMBC;
BU_API UpperCase_t UpperCase;
BU_API PassThrough_t PassThrough;

/* The established set. */
BU_API char SG_CharsetName[31];
BU_API int32_t UsingSingleByteCharSet;
BU_API int32_t SG_UTF_CharsetNum;
BU_API int32_t IsUnicodeCS;
BU_API int32_t bUnsupportedCharacterSet;

/* Set by the checkers: the last character inspected was invalid; the UTF16
 * checker saw a surrogate pair. Read them right after the call. */
BU_API uint8_t badmbcs;
BU_API uint8_t fourByteUTF;

/* UTF-8 validation asked for by "ValidUTF8": 0 none, 1 "UTF8", 2 "UTFX". */
BU_API int32_t Valid_UTFX;
BU_API int32_t bTruncateUTF8;

/* While set, dcCheckNextChar accepts every character (the delimited writer
 * for its whole run, the text reader while it finds the record end). */
BU_API int32_t bCheckTolerant;

/* Exported for other modules: the selection and the character walk. The
 * other functions are the operator's own. */
BU_API int32_t pmSetCharSet(const char* Name) noexcept;
int32_t Init_MBCS(const char* Name) noexcept;

int32_t IsMBC__EUC(const char* Text, int32_t* Length) noexcept;
int32_t IsMBC__SJIS(const char* Text, int32_t* Length) noexcept;
int32_t IsMBC__BIG5(const char* Text, int32_t* Length) noexcept;
int32_t IsMBC__KSC(const char* Text, int32_t* Length) noexcept;
int32_t IsMBC__GBK(const char* Text, int32_t* Length) noexcept;
int32_t IsMBC__GB2312(const char* Text, int32_t* Length) noexcept;
int32_t IsMBC__UTF16(const char* Text, int32_t* Length) noexcept;
int32_t IsMBC__UTF8(const char* Text, int32_t* Length) noexcept;

BU_API int32_t dcCheckNextChar(const char* Text, uint32_t Offset, int32_t* Length) noexcept;
BU_API int32_t dcCheckNextCharNew(const char* Text, int32_t* Length, int32_t* ErrorColumn,
                                  int32_t Column) noexcept;

int32_t SetupUTF8Validation(void) noexcept;
int32_t SetUTF8Replacement(const char* Text, int32_t Length) noexcept;

int32_t is_it_a_number(const char* Text) noexcept;
const char* pHEXvalue(const void* Bytes, int32_t Length) noexcept;
}

namespace bu::charsets {

// Return codes of the selection.
inline constexpr int32_t kGeneric = 100;     // not recognised: single-byte processing
inline constexpr int32_t kUcs2 = 101;        // UCS-2 established
inline constexpr int32_t kBadNumeric = 102;  // numeric value above 255
// dcCheckNextChar and dcCheckNextCharNew: an invalid character.
inline constexpr int32_t kInvalidCharacter = 5;

// dcCheckNextCharNew with the character's offset in its record given, for
// a parser whose record isn't (or isn't only) in pmBuffer.
int32_t checkParsedCharacter(const char* text, uint32_t offset, int32_t* length,
                             int32_t* errorColumn, int32_t column) noexcept;

// The byte of a UTF-16 code unit that holds its high half: 1 on a
// little-endian platform, 0 on a big-endian one. Set when a UTF-16 set is
// established; `endian` is Platform_Endian's answer (2 little, 1 big).
void setUtf16ByteOrder(int32_t endian) noexcept;

// The replacement character stored by SetupUTF8Validation or
// SetUTF8Replacement.
std::string_view utf8Replacement() noexcept;

// Releases the heap text of pHEXvalue; called when the layer finishes.
void freeHexValueText() noexcept;

// What the character walk reports through the layers above it when it meets
// a bad character: the data error dump of the record formats (column -1).
// They install it at start; until then the walk's own lines are all.
struct WalkReports {
    void (*dumpFileInfo)(int32_t column) noexcept;
};
void installWalkReports(const WalkReports& reports) noexcept;

}  // namespace bu::charsets

#endif  // BU_CHARSETS_CHARSETS_H
