/*
 * file_list.h - a text file that lists the data files of a job, one name a
 * line, read through the data file's attachment: counted, handed out name by
 * name, closed. Nothing in this operator reads one; a reading caller does.
 */
#ifndef BU_DC_FILE_LIST_H
#define BU_DC_FILE_LIST_H

#include <cstdint>

#include "bu_export.h"
#include "pmdcomt.h"

extern "C" {

BU_API pmFp FileListFp;
// Names handed out so far; empty lines don't count.
BU_API int32_t FileListRecord;
// The trace of the data file's name says it came from a list.
BU_API int32_t UsingFileList;

BU_API void DC_SetFileListFlag(void) noexcept;
// Counts the names of the list and leaves it open at its start (an empty
// list is closed). Returns 0 or 48.
BU_API int32_t DC_FListCount(const char* fileName, int32_t* count) noexcept;
// The next name, zero-terminated, into `name` (4097 bytes at least).
// Returns 0, 12 at the end of the list, 29 for a name longer than 4096
// bytes, or 48.
BU_API int32_t DC_GetNextFListfile(char* name) noexcept;
BU_API int32_t DC_CloseFList(void) noexcept;
}

#endif  // BU_DC_FILE_LIST_H
