// Bytes shown as x'...' in messages and trace lines. The text lives in a
// static buffer, or in a heap block when it doesn't fit there, and holds
// until the next call.
#include <cstdlib>

#include "charsets.h"

namespace {

constexpr size_t kStaticSize = 500;
char staticText[kStaticSize];
char* heapText = nullptr;

// What a text of `length` bytes needs, with room to spare for the frame.
size_t neededFor(int32_t length) {
    return 2 * static_cast<size_t>(length) + 6;
}

char* bufferFor(size_t needed) {
    if (needed <= kStaticSize) return staticText;
    std::free(heapText);
    heapText = static_cast<char*>(std::malloc(needed));
    return heapText;
}

}  // namespace

namespace bu::charsets {

void freeHexValueText() noexcept {
    std::free(heapText);
    heapText = nullptr;
}

}  // namespace bu::charsets

extern "C" const char* pHEXvalue(const void* Bytes, int32_t Length) noexcept {
    static const char kDigits[] = "0123456789ABCDEF";
    if (Length < 0 || Bytes == nullptr) Length = 0;
    char* text = bufferFor(neededFor(Length));
    if (text == nullptr) {
        // No memory for the long form: show as many bytes as the static
        // buffer holds rather than nothing.
        text = staticText;
        Length = static_cast<int32_t>((kStaticSize - 6) / 2);
    }
    auto* bytes = static_cast<const unsigned char*>(Bytes);
    char* out = text;
    *out++ = 'x';
    *out++ = '\'';
    for (int32_t i = 0; i < Length; ++i) {
        *out++ = kDigits[bytes[i] >> 4];
        *out++ = kDigits[bytes[i] & 0x0F];
    }
    *out++ = '\'';
    *out = '\0';
    return text;
}
