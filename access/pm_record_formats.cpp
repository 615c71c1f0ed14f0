// The table of record functions by format code; see pm_record_formats.h.
#include "pm_record_formats.h"

namespace pm {
namespace {

constexpr uint32_t kCodes = pmFmtUnformatted + 1;
RecordFormat installed[kCodes] = {};
const RecordFormat kNone = {};

bool isFormatCode(uint32_t format) {
    return format >= pmFmtText && format <= pmFmtUnformatted;
}

}  // namespace

void installRecordFormat(uint32_t format, const RecordFormat& functions) noexcept {
    if (isFormatCode(format)) installed[format] = functions;
}

const RecordFormat& recordFormatOf(uint32_t format) noexcept {
    return isFormatCode(format) ? installed[format] : kNone;
}

}  // namespace pm
