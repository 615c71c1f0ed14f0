// UTF-8 validation settings: the replacement character for invalid UTF-8
// and the switches "ValidUTF8" sets. The replacement is only kept; what the
// setting changes on the parsing side lies in bTruncateUTF8.
#include <cstring>

#include "charsets.h"

extern "C" {
int32_t Valid_UTFX = 0;
int32_t bTruncateUTF8 = 0;
}

namespace {

// At most four bytes, the longest UTF-8 character.
struct Replacement {
    char bytes[4];
    int32_t length;
};
Replacement replacement = {{}, 0};

constexpr char kDefaultReplacement[] = "\xE2\x96\xA1";

}  // namespace

namespace bu::charsets {

std::string_view utf8Replacement() noexcept {
    return {replacement.bytes, static_cast<size_t>(replacement.length)};
}

}  // namespace bu::charsets

extern "C" int32_t SetupUTF8Validation(void) noexcept {
    std::memset(replacement.bytes, 0, sizeof replacement.bytes);
    std::memcpy(replacement.bytes, kDefaultReplacement, 3);
    replacement.length = 3;
    return 0;
}

extern "C" int32_t SetUTF8Replacement(const char* Text, int32_t Length) noexcept {
    int32_t saved = Valid_UTFX;
    Valid_UTFX = 1;
    int32_t checked = 0;  // no text: no character, refused unless no length is asked for
    if (Text != nullptr) (void)IsMBC__UTF8(Text, &checked);
    Valid_UTFX = saved;

    if (Length >= 1 && Length != checked) {
        badmbcs = 1;
        return 0;
    }
    if (badmbcs) return 0;
    if (Length < 1) return 1;
    std::memset(replacement.bytes, 0, sizeof replacement.bytes);
    std::memcpy(replacement.bytes, Text, static_cast<size_t>(checked));
    replacement.length = checked;
    return 1;
}
