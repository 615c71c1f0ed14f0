/*
 * checkpoint_restart.h - where a job stands, packed into the checkpoint
 * record (dc_records.h) for the host to keep, and brought back on a
 * restart: the two counters and the positions of the data file and of the
 * record error file, as the access layer hands them out.
 */
#ifndef BU_DC_CHECKPOINT_RESTART_H
#define BU_DC_CHECKPOINT_RESTART_H

#include <cstdint>

#include "bu_export.h"
#include "pmdcomt.h"
#include "px_boundary.h"

extern "C" {

// The latest checkpoint record; replaced at each checkpoint, freed at the
// end of the job.
BU_API void* PosSummary;
// Kept in the record and restored from it; nothing here uses its value.
BU_API int32_t RecordInstanceTarget;

// Builds the record of where the job stands into PosSummary and hands it
// out in `Out`. Returns 0 or 48.
BU_API int32_t DC_GetPos(pmData* Out) noexcept;
// Builds the record and gives it to the host. Returns 0 or 48.
BU_API int32_t DC_Checkpoint(OperatorHandle* handle) noexcept;
// Takes the newest record back from the host and goes back to it. Returns
// 0, 21 when the host has none (nothing is moved), or 48.
BU_API int32_t DC_Restart(OperatorHandle* handle) noexcept;
// Restores the counters, then repositions the error file and the data file.
// Returns 0 or 48.
BU_API int32_t DC_Repos(pmData Position) noexcept;
}

namespace bu::dc {

// Lets go of the latest record (termination).
void releaseCheckpointRecord() noexcept;

}  // namespace bu::dc

#endif  // BU_DC_CHECKPOINT_RESTART_H
