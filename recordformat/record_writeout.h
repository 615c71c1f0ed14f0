// record_writeout.h - steps shared by the block-filling record writers.
#ifndef BU_RECORDFORMAT_RECORD_WRITEOUT_H
#define BU_RECORDFORMAT_RECORD_WRITEOUT_H

#include <cstdint>

#include "pm_layer.h"

namespace rf {

// Leaves "Internal logic error in PMRWFMT" as the text of 34, and returns 34.
uint32_t internalLogicError();

// A null record: with Flush the block is written out, otherwise it is the
// caller's mistake (34 with its text).
uint32_t flushOrRefuse(FileInfo* file, uint32_t flush);

// A record that can never fit one block: 17. The last trace line is
// `verdict`, or "<what>>BufferSize" without one.
uint32_t refuseOversize(const char* fn, const char* what, uint64_t length, FileInfo* file,
                        const char* verdict = nullptr);

// Writes out the block first when `added` more bytes would overfill it.
uint32_t makeRoom(const char* fn, const char* what, FileInfo* file, uint64_t added);

}  // namespace rf

#endif  // BU_RECORDFORMAT_RECORD_WRITEOUT_H
