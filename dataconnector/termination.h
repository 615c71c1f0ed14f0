/*
 * termination.h - taking the layer down in two phases: phase 1 closes the
 * instance's files, phase 2 frees the memory and closes the logs.
 */
#ifndef BU_DC_TERMINATION_H
#define BU_DC_TERMINATION_H

#include <cstdint>

#include "bu_export.h"
#include "pmdcomt.h"

extern "C" {
// "SYSTEM_ExecutePassed" as read at the end: 1 yes (or absent), 0 no, -1 a
// value not understood. A job that failed keeps its Access Module's restart
// information.
BU_API int32_t ExecuteSuccessFlag;
// Columns whose data ended in the "EscapeTextDelimiter" character, counted
// by whoever writes delimited data for this layer; phase 2 tells the job.
BU_API int32_t SG_NumEscErrColumns;

// Failures inside are reported and passed over; nothing is returned.
BU_API void DC_Terminate(int32_t phase) noexcept;
}

namespace bu::dc {

// A failed close, detach or shutdown at the end is a warning (class 2,
// severity 4): 19400 plus the status with the call and the status, then the
// call's own message; with `nameOnly` both carry the operator's name alone
// where others have their leader.
void warnAccessFailure(const char* call, uint32_t rc, int32_t callMessage, bool nameOnly) noexcept;

// Closes one file of the layer after its last block; a failure is a
// warning that names the file by `label`. A handle of 0 does nothing.
void Close_pmFile(pmFp file, const char* label) noexcept;

}  // namespace bu::dc

#endif  // BU_DC_TERMINATION_H
