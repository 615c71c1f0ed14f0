/*
 * record_error_file.h - rows a parser rejects, kept in a file instead of
 * ending the job. Instance 1 writes the file the job names; every other
 * instance writes a temporary file of its own in the log directory, which
 * instance 1 appends to the named one at the end (record_error_merge.cpp).
 * A limit counted across instances stops the job.
 */
#ifndef BU_DC_RECORD_ERROR_FILE_H
#define BU_DC_RECORD_ERROR_FILE_H

#include <cstdint>

#include "bu_export.h"
#include "pmdcomt.h"

extern "C" {

// This instance's error file, 0 for none, and its attachment (the default
// disk module, apart from the data file's).
BU_API pmFp SG_pmFpErrors;
BU_API pmHandle ErrorsPmHandle;
// Rows this instance wrote to its error file; a checkpoint keeps it.
BU_API uint32_t SG_ErrorRowCount;
// pmOpen's mode for the error file: write, or write-append for instance 1
// of a restart that goes on from a checkpoint.
BU_API int32_t RowErrOpenMode;
// The name of the last temporary error file made, for the messages.
BU_API const char* TempRowErrFileName;

// Opens the error file of an instance: instance 1's named file, any other's
// temporary file (its own, or at the merge another's). Returns 0 or 48.
BU_API int32_t OpenRowErrorFile(int32_t instance, int32_t openMode, pmFp* out) noexcept;
// Keeps the record in pmBufferOrig, with the lines the verbosity asks for
// in front, and counts it against the limit. Returns 0 or 48.
BU_API int32_t WrRecErrFile(const char* errorText) noexcept;
// What a parser does after a rejected row: 0 with both flags untouched when
// no error file is open; 0 with the first flag 1 and the second 0 when the
// row is skipped; 48 once the limit is reached.
BU_API int32_t dcCheckContinue(int32_t* skipRow, int32_t* keepRow) noexcept;
}

namespace bu::dc {

// Names of the variables the instances share.
inline constexpr const char kErrorCountsVar[] = "RecordErrorCount";
inline constexpr const char kSharedErrorCountVar[] = "GlblRecordErrorCount";
inline constexpr const char kTempFilePidVar[] = "DCRecordErrorCountPid";

// The file's set-up once its name is read: the attachment, the shared
// variables, the log directory (read here, `row` is its catalogue row) and
// the open. Returns 0, or the status of what failed.
struct FileAttribute;
int32_t setUpErrorFile(const FileAttribute& row, bool& present) noexcept;

// The header lines of instance 1's file; a failure is traced only.
void writeErrorFileHeader() noexcept;

// Phase 1 of termination: this instance's counts go to the shared variable
// and, in an instance above 1, its file is closed.
void finishErrorFile() noexcept;

// Phase 2 in instance 1: the other instances' files appended to the named
// one, which is then closed, and the summary of the job's record errors.
void mergeErrorFiles() noexcept;

// Detaches the error files' attachment.
void detachErrorFiles() noexcept;

}  // namespace bu::dc

#endif  // BU_DC_RECORD_ERROR_FILE_H
