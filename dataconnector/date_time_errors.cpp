// Failures of the date and time routines become numbered messages: error
// code N (1 to 29) is message 10660 + N.
#include "date_time_errors.h"

#include "dc_messages.h"

using namespace bu::dc;

namespace {

constexpr int32_t kFirstMessage = 10660;
constexpr uint32_t kLastCode = 29;

}  // namespace

extern "C" int32_t ThrowDateTimeError(uint32_t code, int32_t flag) noexcept {
    if (code < 1 || code > kLastCode) return 0;
    int32_t number = kFirstMessage + static_cast<int32_t>(code);
    if (!flag) return number;
    trace(1, "FormatVarDateColsInRow", kInfo, "pxdatetime reformatting error.");
    publicMessage(number, 3, 6);
    return number;
}
