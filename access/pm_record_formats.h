// pm_record_formats.h - the record functions of each format code. They
// belong to the record formats, a layer above this one, which install them
// at start; pmOpen takes a file's pair from here and refuses a format whose
// functions were never installed (14).
#ifndef BU_ACCESS_PM_RECORD_FORMATS_H
#define BU_ACCESS_PM_RECORD_FORMATS_H

#include <cstdint>

#include "pmdcomt.h"

namespace pm {

struct RecordFormat {
    pmFmtRead_t read;
    pmFmtWrite_t write;
    const char* what;  // the trace line that names the format at open
};

// Installs the functions of a format code (pmFmtText to pmFmtUnformatted);
// other codes are ignored.
void installRecordFormat(uint32_t format, const RecordFormat& functions) noexcept;

// The functions of a format code, all null when none were installed.
const RecordFormat& recordFormatOf(uint32_t format) noexcept;

}  // namespace pm

#endif  // BU_ACCESS_PM_RECORD_FORMATS_H
