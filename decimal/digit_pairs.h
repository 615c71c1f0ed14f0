/*
 * digit_pairs.h - "00" to "99" as one table, for writing two decimal digits
 * per division, and the digits of an unsigned value written with it.
 */
#ifndef BU_DECIMAL_DIGIT_PAIRS_H
#define BU_DECIMAL_DIGIT_PAIRS_H

#include <bit>
#include <cstdint>
#include <cstring>

namespace bu {

inline constexpr struct DigitPairs {
    char text[200];
    constexpr DigitPairs() : text() {
        for (int i = 0; i < 100; ++i) {
            text[2 * i] = static_cast<char>('0' + i / 10);
            text[2 * i + 1] = static_cast<char>('0' + i % 10);
        }
    }
    // The two digits of a value below 100.
    constexpr const char* of(unsigned value) const { return text + 2 * value; }
} kDigitPairs;

// 10^0 to 10^(Count - 1) in an unsigned type wide enough for them.
template <typename Unsigned, int Count>
struct PowersOfTen {
    Unsigned value[Count];
    constexpr PowersOfTen() : value() {
        Unsigned p = 1;
        for (Unsigned& v : value) {
            v = p;
            p *= 10;
        }
    }
};

namespace digits_detail {

inline constexpr PowersOfTen<uint64_t, 20> kPowersOfTen;

// Pairs from the right end `end` back to the first digit.
template <typename U>
inline void writePairsBackwards(char* end, U value) noexcept {
    while (value >= 100) {
        end -= 2;
        std::memcpy(end, kDigitPairs.of(static_cast<unsigned>(value % 100)), 2);
        value /= 100;
    }
    if (value >= 10) {
        std::memcpy(end - 2, kDigitPairs.of(static_cast<unsigned>(value)), 2);
    } else {
        end[-1] = static_cast<char>('0' + value);
    }
}

}  // namespace digits_detail

// How many decimal digits `value` has (1 for 0): the bit width tells it up
// to one, a power of ten the rest.
inline int decimalDigitCount(uint64_t value) noexcept {
    const int guess = (std::bit_width(value | 1) * 1233) >> 12;
    return guess + (value >= digits_detail::kPowersOfTen.value[guess] ? 1 : 0);
}

// Writes the digits of `value` at `out` without a terminator and returns
// their end: what std::to_chars writes, in a form that inlines, and with
// 32-bit divisions wherever the digits allow them.
inline char* writeDecimalDigits(char* out, uint64_t value) noexcept {
    char* const end = out + decimalDigitCount(value);
    if (value <= UINT32_MAX) {
        digits_detail::writePairsBackwards(end, static_cast<uint32_t>(value));
        return end;
    }
    // Up to 17 digits: the last eight, zeros kept, and the ones before
    // them, each in 32 bits.
    constexpr uint64_t kEightDigits = 100000000;
    const uint64_t high = value / kEightDigits;
    if (high > UINT32_MAX) {
        digits_detail::writePairsBackwards(end, value);
        return end;
    }
    auto low = static_cast<uint32_t>(value % kEightDigits);
    char* p = end;
    for (int pair = 0; pair < 4; ++pair) {
        p -= 2;
        std::memcpy(p, kDigitPairs.of(low % 100), 2);
        low /= 100;
    }
    digits_detail::writePairsBackwards(p, static_cast<uint32_t>(high));
    return end;
}

}  // namespace bu

#endif  // BU_DECIMAL_DIGIT_PAIRS_H
