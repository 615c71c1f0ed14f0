// px_datetime.cpp - the exported entry points of the date and time conversion.
#include "px_datetime.h"

#include <cstring>

#include "datetime_convert.h"
#include "datetime_errors.h"
#include "picture_encoder.h"
#include "px_boundary.h"

namespace {

using namespace bu::datetime;

static_assert(PX_DATETIME_OUTPUT_SIZE == kConvertOutputLimit);

int32_t Report(int code, uint32_t* error_code) {
    if (error_code != nullptr) *error_code = static_cast<uint32_t>(code);
    return code == kNoError ? PXSTC_Success : PXSTC_FatalError;
}

int32_t ReportEmptyArgument(uint32_t* error_code) {
    return Report(Fail(kEmptyArgument), error_code);
}

// UTF-16 text of single-byte characters to bytes, in place: the low byte of
// each unit is kept. Returns the terminated text.
const char* NarrowInPlace(char* value, uint32_t value_bytes, bool little_endian) {
    // No byte to put a terminator in: the value is empty.
    if (value_bytes == 0) return "";
    const size_t units = value_bytes / 2;
    const size_t low_byte = little_endian ? 0 : 1;
    for (size_t i = 0; i < units; ++i) value[i] = value[2 * i + low_byte];
    value[units] = '\0';
    return value;
}

// Bytes to UTF-16 units in place, from the end so nothing is overwritten
// before it is read; the terminator is widened too.
void WidenInPlace(char* text, size_t length, bool little_endian) {
    for (size_t i = length + 1; i-- > 0;) {
        const char c = text[i];
        text[2 * i] = little_endian ? c : '\0';
        text[2 * i + 1] = little_endian ? '\0' : c;
    }
}

}  // namespace

int32_t PX_EncodeFormatStrings(char* InPicture, char* OutPicture, char* EncodedIn, char* EncodedOut,
                               uint32_t* ErrorCode) noexcept {
    if (InPicture == nullptr || OutPicture == nullptr || EncodedIn == nullptr ||
        EncodedOut == nullptr) {
        return ReportEmptyArgument(ErrorCode);
    }
    int rc = _parse(InPicture, EncodedIn);
    if (rc == kNoError) rc = _parse(OutPicture, EncodedOut);
    return Report(rc, ErrorCode);
}

int32_t PX_ConvertDateTime(char* EncodedIn, char* EncodedOut, char* Value, char* Output,
                           uint32_t* ErrorCode) noexcept {
    if (EncodedIn == nullptr || EncodedOut == nullptr || Value == nullptr || Output == nullptr) {
        return ReportEmptyArgument(ErrorCode);
    }
    return Report(_convert(EncodedIn, EncodedOut, Value, Output), ErrorCode);
}

int32_t PX_ConvertDateTime_utf16(char* EncodedIn, char* EncodedOut, char* Value,
                                 uint32_t ValueBytes, char* Output, uint32_t* OutputBytes,
                                 int32_t ByteOrder, uint32_t* ErrorCode) noexcept {
    if (EncodedIn == nullptr || EncodedOut == nullptr || Value == nullptr || Output == nullptr ||
        OutputBytes == nullptr) {
        return ReportEmptyArgument(ErrorCode);
    }
    const bool little_endian = ByteOrder == PX_DATETIME_LITTLE_ENDIAN;
    const char* text = NarrowInPlace(Value, ValueBytes, little_endian);
    // Zeroed first, so that text the printer leaves unterminated still has
    // a known length to widen.
    std::memset(Output, 0, kConvertOutputLimit);
    *OutputBytes = 0;
    const int rc = _convert(EncodedIn, EncodedOut, text, Output);
    if (rc == kNoError) {
        const size_t length = strnlen(Output, kConvertOutputLimit);
        WidenInPlace(Output, length, little_endian);
        *OutputBytes = static_cast<uint32_t>(2 * length);
    }
    return Report(rc, ErrorCode);
}
