/*
 * initiation.h - the general settings of a job, read once at start by
 * DC_Initiate, which also opens the logs and draws the banner.
 */
#ifndef BU_DC_INITIATION_H
#define BU_DC_INITIATION_H

#include <cstdint>

#include "bu_export.h"
#include "file_path_globals.h"
#include "px_boundary.h"

extern "C" {

BU_API const char OpModuleName[];
BU_API const char OpVersStr[];
BU_API const char OpModuleVers[];

BU_API int32_t TotalInstances;
BU_API int32_t OperatorType;
BU_API int32_t MaxBytesToDump;
BU_API int32_t DC_RestartMode;
BU_API int32_t RowsPerInstanceLimit;
BU_API int32_t SkipRowsCount;
BU_API int32_t bSkipRowsEveryFile;
BU_API int32_t SG_IndicatorData;
BU_API int32_t bNullColumns;
BU_API char SG_CharSetName[31];
BU_API int32_t DC_TimeOutSeconds;
BU_API const char* dcJobID;
BU_API int32_t dcOperatorCount;
BU_API int32_t dcOperatorNumber;
BU_API int32_t dcJobStepNumber;
// Name of this instance's private log, or null; freed at termination.
extern char* dcPrivateLogName;

// Reads the general attributes, opens the logs and draws the banner.
// Returns 0, the failing call's status, or 48.
BU_API int32_t DC_Initiate(OperatorHandle* handle) noexcept;
}

namespace bu::dc {

// The ICU version text kept by DC_Initiate.
const char* keptIcuVersion() noexcept;

}  // namespace bu::dc

#endif  // BU_DC_INITIATION_H
