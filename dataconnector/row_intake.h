/*
 * row_intake.h - rows from the host's data stream, checked against the
 * schema and left for the caller.
 *
 * Inside the operator a row travels as a RowView, passed from function to
 * function. The exported pmBuffer shows it where the interface says it must
 * (after DC_ReadRow, and the record PX_Execute writes), through
 * mirrorInPmBuffer alone.
 */
#ifndef BU_DC_ROW_INTAKE_H
#define BU_DC_ROW_INTAKE_H

#include <cstdint>

#include "bu_export.h"
#include "pmdcomt.h"
#include "px_boundary.h"

extern "C" {

// 1: each row goes back to the caller (for the OUTMOD). 0: each row goes
// straight to the output file.
BU_API int32_t BulkUnloadOutMod;

// The status of the layer's latest access layer call.
BU_API int32_t LastStatus;
// Buffer mode is looked at on the first call of DC_ReadRow only.
extern int32_t BufferModeChecked;

// Fetches one row, or in buffer mode a whole buffer whose rows it writes
// to the file itself. Returns 0 with a row in pmBuffer, 42 at the end of the
// stream, 43 when there is nothing for the caller, 29 for a column longer
// than the schema, 48 when fatal (already reported), or on the first call
// the status of a failed buffer mode set-up.
BU_API int32_t DC_ReadRow(OperatorHandle* handle) noexcept;
}

namespace bu::dc {

// One row on its way: its bytes as they stand (the host's row, then what the
// layer made of it for the caller) and the host's description of its
// columns. Nothing here is owned; the bytes are the host's or the layer's
// own blocks.
struct RowView {
    pmData bytes = {0, nullptr};
    int32_t columnCount = 0;
    uint8_t* indicators = nullptr;
    uint32_t* offsets = nullptr;
    uint32_t* lengths = nullptr;
};

// DC_ReadRow on a view: the same results, the row for the caller in
// `row.bytes` (also shown in pmBuffer).
int32_t readRow(RowView& row) noexcept;

// Where the record on its way meets the exported global. Field by field: a
// copy of the packed record as a whole would read across the two stores
// that have just made it, which the processor can't pass on without a stall.
inline void mirrorInPmBuffer(const pmData& record) noexcept {
    pmBuffer.Length = record.Length;
    pmBuffer.Data = record.Data;
}

// Takes the indicator bytes off the row unless the job keeps them
// ("IndicatorMode"). Returns 0, or 29 for a row shorter than they are.
int32_t stripIndicators(RowView& row) noexcept;

// Writes a record to the output file and counts it. Returns 0 or 48
// (reported).
int32_t writeRecordToFile(const pmData& record) noexcept;

// Takes one buffer from PX_GetBuffer and writes each of its rows to the
// file. Returns 43 when the buffer is used up, 42 at the end of the stream,
// or the status of the row or call that failed.
int32_t readBuffer() noexcept;

}  // namespace bu::dc

#endif  // BU_DC_ROW_INTAKE_H
