/*
 * delimited_parse.h - delimited records read from a file split into the
 * schema's columns (the reading side of delimited data): the entry other
 * operators call with a record in pmBuffer, and what the parser takes from
 * the job's settings.
 */
#ifndef BU_DC_DELIMITED_PARSE_H
#define BU_DC_DELIMITED_PARSE_H

#include "delimited_parser.h"

extern "C" {
// Columns the last record held, those beyond the schema too.
BU_API int32_t ActualColumnCount;
// The text of the last parse error.
BU_API char ExtractErrMsg[2500];
BU_API char UDDI_FeatureName[5];

// Splits the record in pmBuffer into the schema's columns and leaves the row
// in pmBufferTarget, pmBuffer then showing it. Returns 0 or the error of the
// parse (1 to 14, 999), reported to the record error file when one is open.
BU_API int32_t ExtractDelimitedText(void) noexcept;
}

namespace bu::dc {

// Frees the parser's own work area (dcfini's part).
void freeExtractWork() noexcept;

// The parser's settings as the job's attributes made them. Quote marks and
// the quote escape are in force with quoted data only; `recordEnd` is the
// end-of-record mark of the file read.
rf::ParseSettings parseSettingsOfJob(rf::Mark recordEnd, bool recordErrorsKept) noexcept;

}  // namespace bu::dc

#endif  // BU_DC_DELIMITED_PARSE_H
