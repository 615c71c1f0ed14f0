/*
 * digit_pairs.h - "00" to "99" as one table, for writing two decimal digits
 * per division.
 */
#ifndef BU_DECIMAL_DIGIT_PAIRS_H
#define BU_DECIMAL_DIGIT_PAIRS_H

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

}  // namespace bu

#endif  // BU_DECIMAL_DIGIT_PAIRS_H
