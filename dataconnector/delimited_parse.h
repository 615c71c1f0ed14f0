/*
 * delimited_parse.h - delimited records read from a file split into the
 * schema's columns (the reading side of delimited data): the entry other
 * operators call with a record in pmBuffer, and what the parser takes from
 * the job's settings.
 */
#ifndef BU_DC_DELIMITED_PARSE_H
#define BU_DC_DELIMITED_PARSE_H

#include "delimited_parser.h"

namespace bu::dc {

// The parser's settings as the job's attributes made them. Quote marks and
// the quote escape are in force with quoted data only; `recordEnd` is the
// end-of-record mark of the file read.
rf::ParseSettings parseSettingsOfJob(rf::Mark recordEnd, bool recordErrorsKept) noexcept;

}  // namespace bu::dc

#endif  // BU_DC_DELIMITED_PARSE_H
