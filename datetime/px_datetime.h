/*
 * px_datetime.h - reformatting of date and time text from one picture to another.
 *
 * A picture such as "YYYY-MM-DD HH:MI:SS.S(3)" is encoded once per column with
 * PX_EncodeFormatStrings; each value is then converted with PX_ConvertDateTime
 * (or the UTF-16 variant). Both return 0 or 48 and leave the reason, a code
 * from 1 to 29, in *ErrorCode.
 *
 * Buffer sizes the caller provides:
 *  - PX_EncodeFormatStrings upper-cases the pictures in place. Each encoded
 *    buffer must be zero-filled and hold strlen(picture) + 3 bytes.
 *  - PX_ConvertDateTime writes at most 256 bytes to Output. When the output
 *    picture meets a value it cannot print, the text stops there without a
 *    terminating zero.
 *  - PX_ConvertDateTime_utf16 narrows Value in place and writes at most 512
 *    bytes to Output: the text in UTF-16 with a zero unit behind it.
 */
#ifndef PX_DATETIME_H
#define PX_DATETIME_H

#include <stdint.h>

#include "bu_export.h"

/* Size of the output buffer PX_ConvertDateTime needs. */
#define PX_DATETIME_OUTPUT_SIZE 256
/* Size of the output buffer PX_ConvertDateTime_utf16 needs. */
#define PX_DATETIME_OUTPUT_SIZE_UTF16 (2 * PX_DATETIME_OUTPUT_SIZE)
/* ByteOrder value of PX_ConvertDateTime_utf16 for little-endian units. */
#define PX_DATETIME_LITTLE_ENDIAN 2

BU_API int32_t PX_EncodeFormatStrings(char* InPicture, char* OutPicture, char* EncodedIn,
                                      char* EncodedOut, uint32_t* ErrorCode) BU_NOEXCEPT;

BU_API int32_t PX_ConvertDateTime(char* EncodedIn, char* EncodedOut, char* Value, char* Output,
                                  uint32_t* ErrorCode) BU_NOEXCEPT;

BU_API int32_t PX_ConvertDateTime_utf16(char* EncodedIn, char* EncodedOut, char* Value,
                                        uint32_t ValueBytes, char* Output, uint32_t* OutputBytes,
                                        int32_t ByteOrder, uint32_t* ErrorCode) BU_NOEXCEPT;

#endif /* PX_DATETIME_H */
