/*
 * record_error_settings.h - the settings of the record error file, read
 * with the file's settings: its name, where other instances keep theirs,
 * the limit, the prefix of its lines and how much each error tells.
 */
#ifndef BU_DC_RECORD_ERROR_SETTINGS_H
#define BU_DC_RECORD_ERROR_SETTINGS_H

#include <cstdint>

#include "bu_export.h"
#include "file_path_globals.h"
#include "pmdcomt.h"

extern "C" {

// "SYSTEM_LOGDIRECTORY": where instances above 1 keep their error files.
BU_API char LogDirectory[PM_MAX_FILE_NAME + 1];
// "ErrorLimit"; below 1 means no limit.
BU_API int32_t SG_ErrorRowLimit;
// "RecordErrorVerbosity": 0 off, 1 low, 2 medium, 3 high.
BU_API int32_t RowErrorVerbosity;
// 0: no error file. 1: file open, keep going. 2: limit reached.
BU_API int32_t SG_ContinueOnRowError;
}

namespace bu::dc {

// "OFF", "LOW", "MED" or "HIGH" for a verbosity of 0 to 3.
const char* verbosityName(int32_t level) noexcept;

}  // namespace bu::dc

#endif  // BU_DC_RECORD_ERROR_SETTINGS_H
