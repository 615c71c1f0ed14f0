// The character checker of each family of multi-byte sets. Each one tells
// whether the character at the text is multi-byte and how long it is. The
// rules are lax on purpose in places (GBK never looks at its second byte,
// UTF-8 lets overlong forms and surrogates through, UTF-16 doesn't look for
// the low surrogate): the data have always been read this way.
#include <cstdint>

#include "charsets.h"

extern "C" {
uint8_t badmbcs = 0;
uint8_t fourByteUTF = 0;
}

namespace {

// Index of the high byte of a UTF-16 code unit: little-endian by default.
int32_t utf16HighByte = 1;

inline uint8_t byteAt(const char* text, int i) {
    return static_cast<uint8_t>(text[i]);
}

inline bool inRange(uint8_t b, uint8_t low, uint8_t high) {
    return b >= low && b <= high;
}

// The shape shared by the two-byte families: a lead byte opens a pair whose
// trail must lie in the family's ranges. A zero trail (the text ends)
// counts as one bad byte; any other bad trail as a bad pair.
template <typename IsLead, typename IsTrail>
int32_t leadTrailPair(const char* text, int32_t* length, IsLead isLead, IsTrail isTrail) {
    *length = 0;
    uint8_t lead = byteAt(text, 0);
    if (!isLead(lead)) {
        badmbcs = 0;
        return 0;
    }
    uint8_t trail = byteAt(text, 1);
    if (trail == 0) {
        *length = 1;
        badmbcs = 1;
        return 0;
    }
    *length = 2;
    if (isTrail(trail)) {
        badmbcs = 0;
        return 1;
    }
    badmbcs = 1;
    return 0;
}

inline bool isUtf8Continuation(uint8_t b) {
    return inRange(b, 0x80, 0xBF);
}

// Whether `count` continuation bytes follow the lead; stops at the first
// byte that isn't one, so a zero byte ends the look-ahead.
bool continuationsFollow(const char* text, int count) {
    for (int i = 1; i <= count; ++i) {
        if (!isUtf8Continuation(byteAt(text, i))) return false;
    }
    return true;
}

}  // namespace

namespace bu::charsets {

void setUtf16ByteOrder(int32_t endian) noexcept {
    utf16HighByte = endian == 1 ? 0 : 1;
}

}  // namespace bu::charsets

extern "C" int32_t IsMBC__EUC(const char* Text, int32_t* Length) noexcept {
    *Length = 0;
    uint8_t lead = byteAt(Text, 0);
    if (lead < 0x80) {
        badmbcs = 0;
        return 0;
    }
    uint8_t second = byteAt(Text, 1);
    if (lead == 0x8E) {
        if (second >= 0x80) {
            *Length = 2;
            badmbcs = 0;
            return 1;
        }
    } else if (lead == 0x8F) {
        if (second >= 0x80 && byteAt(Text, 2) >= 0x80) {
            *Length = 3;
            badmbcs = 0;
            return 1;
        }
    } else if (inRange(lead, 0xA1, 0xFE) && inRange(second, 0xA1, 0xFE)) {
        *Length = 2;
        badmbcs = 0;
        return 1;
    }
    badmbcs = 1;
    return 0;
}

extern "C" int32_t IsMBC__SJIS(const char* Text, int32_t* Length) noexcept {
    return leadTrailPair(
        Text, Length, [](uint8_t b) { return inRange(b, 0x81, 0x9F) || inRange(b, 0xE0, 0xFC); },
        [](uint8_t b) { return inRange(b, 0x40, 0x7E) || inRange(b, 0x80, 0xFC); });
}

extern "C" int32_t IsMBC__BIG5(const char* Text, int32_t* Length) noexcept {
    return leadTrailPair(
        Text, Length, [](uint8_t b) { return b >= 0x81; },
        [](uint8_t b) { return inRange(b, 0x40, 0x7E) || inRange(b, 0x80, 0xFE); });
}

extern "C" int32_t IsMBC__KSC(const char* Text, int32_t* Length) noexcept {
    return leadTrailPair(
        Text, Length, [](uint8_t b) { return b >= 0x81; }, [](uint8_t b) { return b >= 0x40; });
}

extern "C" int32_t IsMBC__GBK(const char* Text, int32_t* Length) noexcept {
    badmbcs = 0;
    if (byteAt(Text, 0) >= 0x81) {
        *Length = 2;
        return 1;
    }
    *Length = 1;
    return 0;
}

extern "C" int32_t IsMBC__GB2312(const char* Text, int32_t* Length) noexcept {
    *Length = 0;
    uint8_t lead = byteAt(Text, 0);
    if (lead < 0x81) {
        badmbcs = 0;
        return 0;
    }
    // An invalid pair still answers "multi-byte", with no length: the
    // walker treats a zero length as an error of its own.
    if (inRange(lead, 0x81, 0xA0) || lead == 0xFF) {
        badmbcs = 1;
        return 1;
    }
    uint8_t second = byteAt(Text, 1);
    if (second < 0xA1 || second == 0xFF) {
        badmbcs = 1;
        return 1;
    }
    *Length = 2;
    badmbcs = 0;
    return 1;
}

extern "C" int32_t IsMBC__UTF16(const char* Text, int32_t* Length) noexcept {
    uint8_t high = byteAt(Text, utf16HighByte);
    badmbcs = 0;
    if (inRange(high, 0xD8, 0xDF)) {
        *Length = 4;
        fourByteUTF = 1;
    } else {
        *Length = 2;
        fourByteUTF = 0;
    }
    return 1;
}

// badmbcs is left alone here: on this path a malformed byte is simply a
// single byte.
extern "C" int32_t IsMBC__UTF8(const char* Text, int32_t* Length) noexcept {
    uint8_t lead = byteAt(Text, 0);
    int trailing = 0;
    if (inRange(lead, 0xC2, 0xDF)) {
        trailing = 1;
    } else if (inRange(lead, 0xE0, 0xEF)) {
        trailing = 2;
    } else if (inRange(lead, 0xF0, 0xF7)) {
        trailing = 3;
    }
    if (trailing != 0 && continuationsFollow(Text, trailing)) {
        *Length = trailing + 1;
        return 1;
    }
    *Length = 1;
    return 0;
}
