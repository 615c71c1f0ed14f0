/*
 * file_path_globals.h - settings of the file path that the data connector
 * fills from its attributes and the access layer and record formats read:
 * byte order, named pipe wait, module checkpoints, the row-error file, the
 * byte-order mark of text files, and the record and row counters.
 *
 * They live with the access layer, the lowest that reads them. The exported
 * ones of the access interface are declared in pmdcomt.h; this header adds
 * the rest.
 */
#ifndef BU_ACCESS_FILE_PATH_GLOBALS_H
#define BU_ACCESS_FILE_PATH_GLOBALS_H

#include <cstdint>

#include "bu_export.h"
#include "pmdcomt.h"

extern "C" {

// From pmdcomt.h: bTakeAMcheckpoint, pmHadoopFS, FIFO_TimeOutSeconds,
// bMultiInstanceRead.

BU_API uint8_t SG_LatencyOn;
BU_API int32_t EndianFlip;
BU_API uint32_t FileRecordCount;
// "WriteBOM": a text file of a Unicode character set starts with its
// byte-order mark.
BU_API int32_t bWriteBOM;

// A last record without its end mark is taken as a record (producers only).
extern int32_t bAcceptEOFasEOR;
// The row-error file named by the job; empty when none was given.
extern char SG_RowErrFileName[4097];
// The rows handed out so far on the producer side.
extern uint32_t RowCount;
}

#endif  // BU_ACCESS_FILE_PATH_GLOBALS_H
