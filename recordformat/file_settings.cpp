// Settings of the output file; see file_settings.h.
#include "file_settings.h"

#include <cstddef>

static_assert(offsetof(TextAttr, Length) == 52, "TextAttr.Length follows the 50-byte name");
static_assert(offsetof(TextAttr, Bytes) == 56, "TextAttr.Bytes at 56");

extern "C" {
int32_t FileFormat = FMT_NONE;
char Format_C[21] = {};
TextAttr TextDelimiter = {{'T', 'e', 'x', 't', 'D', 'e', 'l', 'i', 'm', 'i', 't', 'e', 'r'}, 0, {}};
int32_t bQuotedData = 0;
int32_t bAppendDelimiter = 0;
uint64_t BufferSize = bu::dc::kBufferSizeUnset;
int32_t Reading = 0;
}
