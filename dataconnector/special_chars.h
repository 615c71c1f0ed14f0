/*
 * special_chars.h - reading delimiter-like attributes: the value or its
 * hexadecimal twin, defaults, conversion to UTF16 for a UTF16 job, and the
 * parsing case formed from the settings read.
 */
#ifndef BU_DC_SPECIAL_CHARS_H
#define BU_DC_SPECIAL_CHARS_H

#include <cstdint>

#include <unicode/umachine.h>

#include "bu_export.h"
#include "text_attr.h"

extern "C" {

/* Reads `Name` or its twin `HexName` into `Attr`; `Defaults` has length 0
 * for no default and a negative length for a final value. Returns 0, 5
 * (neither given and no default), 16 (both given) or 48. */
int32_t GetSpecialChars(const char* Name, const char* HexName, TextAttr* Attr,
                        TextAttr* Defaults) noexcept;

/* Turns the PX_Len hexadecimal digits of `Value` into bytes in place and
 * halves PX_Len. Returns 0, 1 for an odd length or 2 for a bad digit. */
int32_t ConvertHEX(char* Value, const char* Name) noexcept;

/* Converts UTF-8 bytes into UTF-16 of the platform's byte order. Returns
 * the number of bytes written, or -1 after having reported 19154. */
int32_t UTF8toUTF16(const char* Source, int32_t SourceLength, UChar* Target,
                    int32_t TargetCapacity) noexcept;

/* Forms UDDI_ParsingCase from the settings and fills the single-byte copies. */
BU_API void dcSetUDDIParsingCase(void) noexcept;
}

namespace bu::dc {

// Results of GetSpecialChars besides 0 and 48.
inline constexpr int32_t kSpecialCharAbsent = 5;
inline constexpr int32_t kSpecialCharRedundant = 16;

// The UTF-16 units a TextAttr holds: its 100 bytes of value.
inline constexpr int32_t kTextAttrUtf16Units = 50;

}  // namespace bu::dc

#endif  // BU_DC_SPECIAL_CHARS_H
