// datetime_convert.h - one value from the input format to the output format.
#pragma once

#include <ctime>

#include "datetime_record.h"

namespace bu::datetime {

// Room the conversion uses in `output`, its terminator included.
inline constexpr size_t kConvertOutputLimit = 256;

// Parses `value` by `encoded_in`, checks the date, and prints it by
// `encoded_out` into `output` (kConvertOutputLimit bytes). Returns 0 or an
// error code; printing never fails, though it may stop short of the format.
int _convert(const char* encoded_in, const char* encoded_out, const char* value, char* output);

// The record as the system's broken-down time (months from 0).
void _make_c_tm(const DateTimeRec& rec, std::tm* tm);

}  // namespace bu::datetime
