/*
 * float_digits.h - a double's fifteen significant digits, exactly those of
 * std::to_chars(..., std::chars_format::scientific, 14)
 * ("-1.23450000000000e+05"), made from the value's shortest digits where
 * they decide the result. That way is several times cheaper than the
 * fixed-precision one, and FLOAT columns are rendered once per row.
 */
#ifndef BU_RECORDFORMAT_FLOAT_DIGITS_H
#define BU_RECORDFORMAT_FLOAT_DIGITS_H

namespace bu::rf {

// The digits of a finite value, the first of them before the point.
struct Digits15 {
    char digits[15];  // '0' to '9'; the first is '0' for zero alone
    int exponent;     // the power of ten of the first digit
    bool negative;
};

Digits15 digits15(double value) noexcept;

// Room for the longest text: sign, 15 digits, point, "e-308".
inline constexpr int kScientific15Capacity = 32;

// Writes the text of a finite `value` at `text` (kScientific15Capacity
// bytes) and returns its end.
char* scientific15(char* text, double value) noexcept;

}  // namespace bu::rf

#endif  // BU_RECORDFORMAT_FLOAT_DIGITS_H
