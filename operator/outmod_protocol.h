/*
 * outmod_protocol.h - the operator's side of the OUTMOD contract (see
 * include/outmod.h): loading, the call with its static buffers and cells,
 * and what happens to what the OUTMOD leaves.
 */
#ifndef BU_OUTMOD_PROTOCOL_H
#define BU_OUTMOD_PROTOCOL_H

#include <cstdint>

#include "bu_export.h"
#include "outmod.h"
#include "pmdcomt.h"

extern "C" {
// The two record buffers and the four cells, the same at every call.
BU_API char OutmodInBuffer[OUTMOD_BUFFER_SIZE];
BU_API char OutmodOutBuffer[OUTMOD_BUFFER_SIZE];
extern int32_t OutmodRequestCell;
extern int32_t OutmodReservedCell;
extern int32_t OutmodInLen;
extern int32_t OutmodOutLen;
// The operator's own record of the current request: 1 while starting, 3 after.
BU_API int32_t OutmodReq;
// The resolved entry point, null until loading succeeded.
BU_API OutmodEntry OutmodEntryPoint;
}

namespace bu::op {

// Loads the OUTMOD named by "OUTMODname" and calls it with code 1. Returns
// 42, or 48 after a reported failure.
int32_t loadOutmod() noexcept;

// Calls the OUTMOD with a code that carries no record (2, 4 or 5). Returns
// the OUTMOD's return code, or -1 when no OUTMOD is loaded.
int32_t callOutmod(int32_t request) noexcept;

// Gives the row to the OUTMOD and acts on its answer: pmBuffer shows what is
// written (or the row with a length of 0). Returns 43, or 48 after a
// reported failure.
int32_t passRowToOutmod(const pmData& row) noexcept;

// "Call to OUTMOD failed, rc=%d" with message 19503. Fatal.
int32_t reportOutmodFailure(const char* method, int32_t rc) noexcept;

}  // namespace bu::op

#endif  // BU_OUTMOD_PROTOCOL_H
