// Fifteen significant digits from the shortest digits that read back as the
// value. A normal double carries more than fifteen digits of precision, so
// when its shortest digits are fifteen or fewer they are the correctly
// rounded ones; sixteen or seventeen are rounded once more, which is exact
// unless they sit on the midpoint itself (a lone 5 in sixteenth place).
// That case and the subnormal values, whose precision is less, are rounded
// from the binary value.
#include "float_digits.h"

#include <cfloat>
#include <charconv>
#include <cmath>
#include <cstring>

namespace {

constexpr int kDigits = 15;

// Adds one to the digits, right to left; returns true when they all
// rolled over to zeros.
bool roundUp(char* digits) noexcept {
    for (int i = kDigits - 1; i >= 0; --i) {
        if (digits[i] != '9') {
            ++digits[i];
            return false;
        }
        digits[i] = '0';
    }
    return true;
}

char* roundedFromBinary(char* text, double value) noexcept {
    return std::to_chars(text, text + bu::rf::kScientific15Capacity, value,
                         std::chars_format::scientific, kDigits - 1)
        .ptr;
}

}  // namespace

namespace bu::rf {

char* scientific15(char* text, double value) noexcept {
    if (std::fabs(value) < DBL_MIN) return roundedFromBinary(text, value);
    char shortest[kScientific15Capacity];
    const char* const end =
        std::to_chars(shortest, shortest + sizeof shortest, value, std::chars_format::scientific)
            .ptr;
    const char* p = shortest;
    const bool negative = *p == '-';
    if (negative) ++p;

    // The mantissa's digits without the point; at most seventeen.
    char digits[20];
    int count = 0;
    for (; *p != 'e'; ++p) {
        if (*p != '.') digits[count++] = *p;
    }
    int exponent = 0;
    std::from_chars(p + (p[1] == '+' ? 2 : 1), end, exponent);

    if (count <= kDigits) {
        std::memset(digits + count, '0', static_cast<size_t>(kDigits - count));
    } else if (count == kDigits + 1 && digits[kDigits] == '5') {
        return roundedFromBinary(text, value);
    } else if (digits[kDigits] >= '5' && roundUp(digits)) {
        digits[0] = '1';
        ++exponent;
    }

    char* out = text;
    if (negative) *out++ = '-';
    *out++ = digits[0];
    *out++ = '.';
    std::memcpy(out, digits + 1, kDigits - 1);
    out += kDigits - 1;
    *out++ = 'e';
    *out++ = exponent < 0 ? '-' : '+';
    const int magnitude = exponent < 0 ? -exponent : exponent;
    if (magnitude < 10) *out++ = '0';
    return std::to_chars(out, out + 4, magnitude).ptr;
}

}  // namespace bu::rf
