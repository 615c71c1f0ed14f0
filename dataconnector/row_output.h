/*
 * row_output.h - the producer's rows into the host's data stream: one at a
 * time through PX_PutRow, or packed into buffers for PX_PutBuffer, each
 * row's length checked against the schema's first; and the date columns of
 * a row reformatted before it leaves.
 */
#ifndef BU_DC_ROW_OUTPUT_H
#define BU_DC_ROW_OUTPUT_H

#include <cstdint>

#include "bu_export.h"

extern "C" {

// The length of the latest inline LOB placed in a buffer.
BU_API uint64_t LastLOBLength;

// Hands a row on. Returns 0 (in the buffer, or handed on by a parallel read
// slave), 43 (handed on; in buffer mode: a full buffer was handed on and this
// row waits for the next), 29 (the row isn't as long as the schema wants),
// 48, or SetRowLength's refusal.
BU_API int32_t DC_CheckPutRow(const void* row, uint32_t lengthRead,
                              uint32_t lengthRequired) noexcept;

// Rewrites the date columns of the row in pmBuffer from their input picture
// to their output picture. Returns 0 or the date routine's error code.
BU_API int32_t FormatVarDateColsInRow(void) noexcept;
}

#endif  // BU_DC_ROW_OUTPUT_H
