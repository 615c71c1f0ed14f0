/*
 * float_digits.h - a double's fifteen significant digits, exactly those of
 * std::to_chars(..., std::chars_format::scientific, 14)
 * ("-1.23450000000000e+05"), made without that fixed-precision conversion
 * wherever exact integer arithmetic or the value's shortest digits decide
 * them: several times cheaper, and FLOAT columns are rendered once per row.
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

}  // namespace bu::rf

#endif  // BU_RECORDFORMAT_FLOAT_DIGITS_H
