/*
 * buffer_mode.h - rows in whole buffers instead of one call per row: the
 * record that says whether the host turned the mode on and how a buffer is
 * laid out, the consumer's own layout, and the row length field of a
 * buffer being filled. The walk over a received buffer is DC_ReadRow's
 * (buffer_walk.cpp).
 */
#ifndef BU_DC_BUFFER_MODE_H
#define BU_DC_BUFFER_MODE_H

#include <cstdint>

#include "bu_export.h"
#include "dc_records.h"

extern "C" {

// The buffer mode record; null while the mode is off. Allocated once and
// kept for the life of the process.
BU_API dcBufferInfo_t* BufferInfo;
// The largest row a consumer takes from a buffer.
BU_API uint32_t MaxBufferRowLen;

// Reads "SYSTEM_BUFFERMODE" and, with the mode on, the layout attributes.
// Returns 0, 19 (no memory), 48, or the status of a failed attribute read.
BU_API int32_t DC_GetBufferModeInfo(void) noexcept;
// The consumer's layout: maximum size, header size, length size, trailer
// size, in that order. Sets MaxBufferRowLen. Returns 0.
BU_API int32_t DC_GetBufferLayout(uint32_t* layout) noexcept;
// Stores a row's length at CurrentPos in LengthSize bytes. Returns 0 or 48.
BU_API int32_t SetRowLength(uint32_t length) noexcept;
}

#endif  // BU_DC_BUFFER_MODE_H
