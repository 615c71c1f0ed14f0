/*
 * operator_state.h - the state of the operator's six methods, one copy per
 * process (a process serves one instance).
 */
#ifndef BU_OPERATOR_STATE_H
#define BU_OPERATOR_STATE_H

#include <cstdint>

#include "bu_export.h"
#include "layer_globals.h"
#include "px_boundary.h"

extern "C" {

BU_API int32_t bOperatorInitialized;
BU_API int32_t bWriteToFile;
BU_API int32_t bFirstExecute;

BU_API int32_t PX_GetOperatorMethods(OperatorMethodRecord** record) noexcept;
BU_API int32_t PX_Initiate(OperatorHandle* handle) noexcept;
BU_API int32_t PX_Execute(OperatorHandle* handle) noexcept;
BU_API int32_t PX_Terminate(OperatorHandle* handle, int32_t phase) noexcept;
BU_API int32_t PX_Checkpoint(OperatorHandle* handle) noexcept;
BU_API int32_t PX_Restart(OperatorHandle* handle) noexcept;
BU_API int32_t PX_Event(OperatorHandle* handle) noexcept;

// The largest row in kilobytes by the file format alone: 64 for formats 2 to
// 4, else 1024; stored in `size` (when given) and returned. PX_Event refines
// it for formats 1 and 8 by the schema's size.
BU_API int32_t DC_GetMaxRowSize(int32_t* size) noexcept;
}

namespace bu::op {

// The version the method record and the banner show.
inline constexpr const char* kSourceVersion = "17.00.00.03";

// The fatal end of a method: exit code 12 (said once), status 48.
int32_t fatal() noexcept;

// "Operator not initialized" with message 19115, whose one argument is the
// method's name instead of a leader. Fatal.
int32_t refuseUninitialised(const char* method) noexcept;

// The operator's own table of globals (layer_globals.h).
std::span<const LayerGlobal> operatorGlobals() noexcept;

// Puts the operator and every layer below it back as a fresh process has
// them (for a process that serves another job, and for tests).
void resetOperatorState() noexcept;

}  // namespace bu::op

#endif  // BU_OPERATOR_STATE_H
