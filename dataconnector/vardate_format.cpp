// FormatVarDateColsInRow: the date columns of a producer's row (VARCHAR
// columns with an input and an output picture) rewritten from one picture to
// the other. The row is built anew in dtOutputRow and copied over the old
// one; later columns move by what the dates grew or shrank.
#include <algorithm>
#include <cstring>

#include "buffer_mode.h"
#include "charsets.h"
#include "date_time_errors.h"
#include "dc_messages.h"
#include "px_datetime.h"
#include "row_output.h"
#include "schema.h"
#include "text_attr.h"

using namespace bu::dc;

namespace {

constexpr char kFn[] = "FormatVarDateColsInRow";
// A value handed to the date routine ends in a zero byte.
constexpr uint32_t kLongestValue = PX_FORMAT_TEXT_SIZE - 1;

// Date pictures are kept by the schema's own column numbers, in which the
// metadata columns also stand.
int32_t pictureIndex(int32_t dataColumn) {
    int32_t numbers[2] = {FileNameColNum, FileRecNumColNum};
    std::sort(numbers, numbers + 2);
    int32_t index = dataColumn;
    for (int32_t number : numbers) {
        if (number != 0 && number - 1 <= index) ++index;
    }
    return index;
}

bool hasPicture(int32_t column) {
    const int32_t index = pictureIndex(column);
    return dtEncodedFormatStrsIn != nullptr && index < SG_ColCount + MetadataCount &&
           dtEncodedFormatStrsIn[index] != nullptr;
}

// The column's value in its output picture, in dtOutputCol; 0 or the date
// routine's error code.
uint32_t convertColumn(int32_t column, const uint8_t* value, uint32_t length, uint32_t* converted) {
    const int32_t index = pictureIndex(column);
    std::memset(dtInputCol, 0, PX_FORMAT_TEXT_SIZE);
    std::memcpy(dtInputCol, value, std::min(length, kLongestValue));
    std::memset(dtOutputCol, 0, bu::dc::dateOutputColumnSize());
    uint32_t error = 0;
    if (VarDateUTF16) {
        PX_ConvertDateTime_utf16(dtEncodedFormatStrsIn[index], dtEncodedFormatStrsOut[index],
                                 dtInputCol, std::min(length, kLongestValue), dtOutputCol,
                                 converted, PX_DATETIME_LITTLE_ENDIAN, &error);
    } else {
        PX_ConvertDateTime(dtEncodedFormatStrsIn[index], dtEncodedFormatStrsOut[index], dtInputCol,
                           dtOutputCol, &error);
        // The text may fill the area without a zero behind it.
        *converted = static_cast<uint32_t>(strnlen(dtOutputCol, PX_DATETIME_OUTPUT_SIZE));
    }
    return error;
}

void traceRow(const uint8_t* row) {
    if (DC_TraceLvl <= 4) return;
    trace(4, kFn, kInfo, "After VARDATE Formatting");
    trace(4, kFn, kInfo, "Col  Offset  Length  Ind Contents");
    for (int32_t i = 0; i < SG_ColCount; ++i) {
        const auto length = static_cast<int32_t>(SG_ColLens[i]);
        const char* text = reinterpret_cast<const char*>(row + SG_ColOffs[i]);
        trace(4, kFn, kInfo, "%3d %7d %7d %3d  '%.*s'%s", i, static_cast<int32_t>(SG_ColOffs[i]),
              length, int{SG_IndBytes[i]}, std::min(length, 20), text,
              length > 20 ? "<truncated" : "");
        trace(4, kFn, kInfo, "                        %s", pHEXvalue(text, length));
    }
}

}  // namespace

extern "C" int32_t FormatVarDateColsInRow(void) noexcept {
    auto* row = static_cast<uint8_t*>(pmBuffer.Data);
    if (row == nullptr || dtOutputRow == nullptr || SG_ColCount < 1) return 0;
    const uint32_t gap = SG_ColCount >= 2 ? SG_ColOffs[1] - SG_ColOffs[0] - SG_ColLens[0] : 0;
    const size_t room = bu::dc::dateOutputRowSize();
    // The gaps end up holding delimiters without being copied.
    const int fill = TextDelimiter.Length != 0 && gap == 1 ? TextDelimiter.Bytes[0] : 0;
    std::memset(dtOutputRow, fill, room);
    int64_t shift = 0;  // old length less new, summed over the columns done
    uint32_t at = SG_ColOffs[0];
    std::memcpy(dtOutputRow, row, std::min<size_t>(at, room));
    for (int32_t i = 0; i < SG_ColCount; ++i) {
        const uint32_t length = SG_ColLens[i];
        const uint8_t* source = row + static_cast<int64_t>(SG_ColOffs[i]) + shift;
        const uint8_t* bytes = source;
        uint32_t written = length;
        if (length != 0 && hasPicture(i)) {
            if (const uint32_t error = convertColumn(i, source, length, &written)) {
                return static_cast<int32_t>(error);
            }
            bytes = reinterpret_cast<const uint8_t*>(dtOutputCol);
        }
        if (at + written + gap > room) {
            trace(1, kFn, kWarning, "Reformatted row longer than its work area (%u bytes)",
                  static_cast<uint32_t>(room));
            return PXSTC_FatalError;
        }
        std::memcpy(dtOutputRow + at, bytes, written);
        SG_ColLens[i] = written;
        shift += static_cast<int64_t>(length) - written;
        if (i + 1 < SG_ColCount) SG_ColOffs[i + 1] = at + written + gap;
        at += written + gap;
    }
    const uint32_t rowLength = at;
    if (TextDelimiter.Length != 0 && BufferInfo != nullptr) {
        BufferInfo->RowDataBytes -= static_cast<int32_t>(shift);
    }
    // A row that grew can't go back where it was: it stays in the work area.
    if (rowLength <= pmBuffer.Length) {
        std::memcpy(row, dtOutputRow, rowLength);
    } else {
        pmBuffer.Data = dtOutputRow;
    }
    pmBuffer.Length = rowLength;
    traceRow(static_cast<const uint8_t*>(pmBuffer.Data));
    return 0;
}
