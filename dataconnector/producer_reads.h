/*
 * producer_reads.h - how a producer instance reads its file: records into
 * pmBuffer with what an end of file means to the caller, the checks of a
 * record's bytes, the column descriptors of the metadata columns a
 * producer's schema inserts, and the field-by-field reader of UNFORMATTED
 * rows whose length follows from their own prefixes.
 */
#ifndef BU_DC_PRODUCER_READS_H
#define BU_DC_PRODUCER_READS_H

#include <cstdint>

#include "bu_export.h"
#include "pmdcomt.h"

extern "C" {

// What dcRead makes of the end of the file: 12 (end of data), a fatal
// error, or 0.
enum dcReadMode { dcReadEndOfData = 1, dcReadEndIsFatal = 2, dcReadEndIsGood = 3 };

// Reads the next record of pmfp into pmBuffer. Returns 0, 12, 68 (timed
// out), or 48 (reported).
BU_API int32_t dcRead(const char* caller, int32_t mode) noexcept;
// The record in pmBuffer has `expected` bytes, or 48 (reported, exit code 12).
BU_API int32_t dcCheckBytes(uint64_t expected, const char* label, const char* caller,
                            int32_t column) noexcept;
// An inline LOB's 8-byte length fits in 16 bits, or 48 (reported).
BU_API int32_t dcGetLOBLen(const void* length, uint64_t unused, const char* caller,
                           int32_t column) noexcept;
// Opens a gap at `first` in the column descriptors for a metadata column by
// moving `first` .. `last` - 1 up by one.
BU_API void dcShiftColDescriptors(int32_t first, int32_t last, int32_t slot) noexcept;
// Fills descriptor `column` from metadata slot `slot`.
BU_API void dcInsertColDescriptors(int32_t column, int32_t slot) noexcept;

// The read function of UNFORMATTED files whose schema has variable columns.
uint32_t pmfmtRVarNone(FileInfo* File, pmRecord* Record) noexcept;
// Makes `count` bytes behind the `rowBytes` of the row so far stand in the
// file's block, refreshing the position, end and row start when the block
// moves. Returns 0, 9 at a clean end of the file, 16 for a row cut off, or
// the block read's failure (the record then cleared).
BU_API uint32_t dcReadVarNone(uint32_t count, const char* label, int32_t column, uint32_t rowBytes,
                              uint64_t* position, uint64_t* end, uint8_t** rowStart, FileInfo* File,
                              pmRecord* Record, void** recordData) noexcept;
}

namespace bu::dc {

// pmRead of `fp` into pmBuffer (and pmBufferRecCount): the access layer's
// status.
uint32_t readIntoPmBuffer(pmFp fp) noexcept;

}  // namespace bu::dc

#endif  // BU_DC_PRODUCER_READS_H
