/*
 * file_settings.h - settings of the output file that the record formats and
 * the layers above them read. The data connector fills them from the file
 * attributes when the job names a "FileName"; without one they keep the
 * values below (no format, no delimiter) and every record goes to the OUTMOD
 * alone.
 */
#ifndef BU_RECORDFORMAT_FILE_SETTINGS_H
#define BU_RECORDFORMAT_FILE_SETTINGS_H

#include <cstdint>

#include "bu_export.h"
#include "file_path_globals.h"
#include "text_attr.h"

extern "C" {

// Format codes of "Format".
enum FileFormatCode {
    FMT_NONE = 0,
    FMT_TEXT = 1,  // TEXT, or DELIMITED when TextDelimiter has a length
    FMT_BINARY = 2,
    FMT_FORMATTED = 3,
    FMT_FORMATTED2 = 5,
    FMT_BINARY4 = 6,
    FMT_FORMATTED4 = 7,
    FMT_UNFORMATTED = 8
};

BU_API int32_t FileFormat;
BU_API char Format_C[21];
BU_API int32_t bQuotedData;
// "AppendDelimiter": the last column is followed by a delimiter too.
BU_API int32_t bAppendDelimiter;
BU_API uint64_t BufferSize;
BU_API int32_t Reading;
}

namespace bu::dc {

// BufferSize before the file's block is sized.
inline constexpr uint64_t kBufferSizeUnset = ~uint64_t{0};

// Whether records become delimited text.
inline bool isDelimited() noexcept {
    return TextDelimiter.Length != 0;
}

}  // namespace bu::dc

#endif  // BU_RECORDFORMAT_FILE_SETTINGS_H
