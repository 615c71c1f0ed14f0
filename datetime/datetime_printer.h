// datetime_printer.h - writing a date and time record by an encoded format.
#pragma once

#include <cstddef>

#include "datetime_record.h"

namespace bu::datetime {

// Writes `rec` by `format` into `output`, never more than `limit` bytes, and
// returns the number of characters written, leaving out the point of each
// fraction element. Literals that reach the limit
// end the text with a terminator. A field out of range, an element that does
// not fit, or an unknown element ends it at once, without a terminator.
size_t _strftime(char* output, size_t limit, const char* format, const DateTimeRec& rec);

}  // namespace bu::datetime
