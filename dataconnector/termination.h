/*
 * termination.h - taking the layer down in two phases: phase 1 closes the
 * instance's files, phase 2 frees the memory and closes the logs.
 */
#ifndef BU_DC_TERMINATION_H
#define BU_DC_TERMINATION_H

#include <cstdint>

#include "bu_export.h"

extern "C" {
// Failures inside are reported and passed over; nothing is returned.
BU_API void DC_Terminate(int32_t phase) noexcept;
}

#endif  // BU_DC_TERMINATION_H
