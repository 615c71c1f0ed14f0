// The upper-case routines of the sets, and the pass-through that every set
// installs beside them.
#include <cctype>
#include <cstdint>
#include <cstring>

#include "charset_routines.h"
#include "charsets.h"

namespace bu::charsets {

char* upperCaseBytes(char* text, int32_t length) noexcept {
    for (int32_t i = 0; i < length; ++i) {
        auto byte = static_cast<unsigned char>(text[i]);
        if (std::islower(byte)) text[i] = static_cast<char>(std::toupper(byte));
    }
    return text;
}

namespace {

// The checkers look up to three bytes past a lead byte. The text here has a
// length and no terminator, so its last bytes are checked from a zero-padded
// copy rather than read past their end.
int32_t checkWithin(const char* text, int32_t left, int32_t* charLength) {
    constexpr int32_t kLongest = 4;
    if (left >= kLongest) return IsMBC(text, charLength);
    char tail[kLongest + 1] = {};
    std::memcpy(tail, text, static_cast<size_t>(left));
    return IsMBC(tail, charLength);
}

}  // namespace

// Multi-byte characters are skipped whole, so that none of their trail bytes
// is taken for a lower-case letter.
char* upperCaseCharacters(char* text, int32_t length) noexcept {
    int32_t i = 0;
    while (i < length) {
        int32_t charLength = 1;
        if (checkWithin(text + i, length - i, &charLength) != 0 && charLength > 0) {
            i += charLength;
            continue;
        }
        auto byte = static_cast<unsigned char>(text[i]);
        if (std::islower(byte)) text[i] = static_cast<char>(std::toupper(byte));
        ++i;
    }
    return text;
}

char* passThrough(char* text) noexcept {
    return text;
}

}  // namespace bu::charsets
