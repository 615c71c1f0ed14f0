// TrimBlanks: a pass over a whole delimited record before it is parsed
// that drops the trim characters at the start and end of every field. It
// knows one-byte delimiters only, and takes a delimiter behind the delimiter
// escape as data.
#include "dc_messages.h"
#include "delimited_parser.h"
#include "file_settings.h"

using bu::dc::kInfo;
using bu::dc::trace;

extern "C" void TrimBlanks(void) noexcept {
    static const char kFn[] = "TrimBlanks";
    trace(3, kFn, kInfo, "%s: bTrimLeadingBlanks: %d, bTrimTrailingBlanks: %d", kFn,
          bTrimLeadingBlanks, bTrimTrailingBlanks);
    auto* record = static_cast<uint8_t*>(pmBuffer.Data);
    const uint32_t length = record == nullptr ? 0 : pmBuffer.Length;
    const auto delimiter = static_cast<uint8_t>(cDelimiter);
    const auto escape = static_cast<uint8_t>(cEscapeTextCharacter);
    const bool escapes = EscapeTextCharacter.Length == 1;
    uint32_t in = 0;
    uint32_t out = 0;
    while (in < length) {
        if (bTrimLeadingBlanks) {
            while (in < length && record[in] == static_cast<uint8_t>(cTrimLeadingChar)) ++in;
        }
        const uint32_t fieldStart = out;
        bool escaped = false;
        while (in < length && (record[in] != delimiter || escaped)) {
            escaped = escapes && record[in] == escape;
            record[out++] = record[in++];
        }
        if (bTrimTrailingBlanks) {
            while (out > fieldStart && record[out - 1] == static_cast<uint8_t>(cTrimTrailingChar)) {
                --out;
            }
        }
        if (in < length) record[out++] = record[in++];  // the delimiter
    }
    pmBuffer.Length = out;
    trace(3, kFn, kInfo, "Trim completed");
    trace(3, kFn, kInfo, "DataLength=%d", static_cast<int32_t>(out));
}
