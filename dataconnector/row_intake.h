/*
 * row_intake.h - rows from the host's data stream, checked against the
 * schema and left in pmBuffer for the caller.
 */
#ifndef BU_DC_ROW_INTAKE_H
#define BU_DC_ROW_INTAKE_H

#include <cstdint>

#include "bu_export.h"
#include "px_boundary.h"

extern "C" {

// 1: each row goes back to the caller (for the OUTMOD). 0: each row goes
// straight to the output file.
BU_API int32_t BulkUnloadOutMod;

// The status of the layer's latest access layer call.
BU_API int32_t LastStatus;

// Fetches one row. Returns 0 with a row in pmBuffer, 42 at the end of the
// stream, 43 when there is nothing for the caller, 29 for a column longer
// than the schema, 48 when fatal (already reported).
BU_API int32_t DC_ReadRow(OperatorHandle* handle) noexcept;
}

#endif  // BU_DC_ROW_INTAKE_H
