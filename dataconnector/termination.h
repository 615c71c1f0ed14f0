/*
 * termination.h - taking the layer down in two phases: phase 1 closes the
 * instance's files, phase 2 frees the memory and closes the logs.
 */
#ifndef BU_DC_TERMINATION_H
#define BU_DC_TERMINATION_H

#include <cstdint>

#include "bu_export.h"

extern "C" {
// "SYSTEM_ExecutePassed" as read at the end: 1 yes (or absent), 0 no, -1 a
// value not understood. A job that failed keeps its Access Module's restart
// information.
BU_API int32_t ExecuteSuccessFlag;

// Failures inside are reported and passed over; nothing is returned.
BU_API void DC_Terminate(int32_t phase) noexcept;
}

#endif  // BU_DC_TERMINATION_H
