// data_error_dump.h - the data error dump: what the private log gets when a
// data error stops a record or the job.
#ifndef BU_RECORDFORMAT_DATA_ERROR_DUMP_H
#define BU_RECORDFORMAT_DATA_ERROR_DUMP_H

#include <cstdint>

extern "C" {

/* Column -1 for the record in general, -2 for the indicator bytes. */
void DumpFileInfo(int32_t Column) noexcept;
}

#endif  // BU_RECORDFORMAT_DATA_ERROR_DUMP_H
