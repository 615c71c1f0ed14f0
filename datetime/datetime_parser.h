// datetime_parser.h - reading a date and time value by an encoded format.
#pragma once

#include "datetime_record.h"

namespace bu::datetime {

// Reads `value` by `format` into `rec`, whose fields the caller has set to
// missing. Fields the value leaves out stay missing, except those with a
// default when the value ends early. Text behind the end of the format is
// ignored. Returns 0 or an error code.
int _strptime(const char* value, const char* format, DateTimeRec* rec);

}  // namespace bu::datetime
