/*
 * date_time_errors.h - reporting what the date and time routines refuse.
 */
#ifndef BU_DC_DATE_TIME_ERRORS_H
#define BU_DC_DATE_TIME_ERRORS_H

#include <cstdint>

#include "bu_export.h"

extern "C" {
// Returns the message number of a date/time error code, or 0 for a code
// that isn't mapped. With `flag` set the message is also written; the
// caller raises the exit code.
BU_API int32_t ThrowDateTimeError(uint32_t code, int32_t flag) noexcept;
}

#endif  // BU_DC_DATE_TIME_ERRORS_H
