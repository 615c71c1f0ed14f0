// The upper-case routines of the sets, and the pass-through that every set
// installs beside them.
#include <cctype>
#include <cstdint>

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

// Multi-byte characters are skipped whole, so that none of their trail bytes
// is taken for a lower-case letter.
char* upperCaseCharacters(char* text, int32_t length) noexcept {
    int32_t i = 0;
    while (i < length) {
        int32_t charLength = 1;
        if (IsMBC(text + i, &charLength) != 0 && charLength > 0) {
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
