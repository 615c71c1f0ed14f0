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

// A scientific text "[-]d[.ddd]e±XX" taken apart: the digits without the
// point (at most seventeen) and the power of ten of the first.
struct Scientific {
    char digits[20];
    int count = 0;
    int exponent = 0;
    bool negative = false;
};

Scientific parse(const char* p, const char* end) noexcept {
    Scientific s;
    s.negative = *p == '-';
    if (s.negative) ++p;
    for (; *p != 'e'; ++p) {
        if (*p != '.') s.digits[s.count++] = *p;
    }
    const bool negativeExponent = p[1] == '-';
    for (p += 2; p < end; ++p) s.exponent = s.exponent * 10 + (*p - '0');
    if (negativeExponent) s.exponent = -s.exponent;
    return s;
}

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

Scientific roundedFromBinary(double value) noexcept {
    char text[bu::rf::kScientific15Capacity];
    const char* end =
        std::to_chars(text, text + sizeof text, value, std::chars_format::scientific, kDigits - 1)
            .ptr;
    return parse(text, end);
}

Scientific roundedFromShortest(double value) noexcept {
    char text[bu::rf::kScientific15Capacity];
    const char* end =
        std::to_chars(text, text + sizeof text, value, std::chars_format::scientific).ptr;
    Scientific s = parse(text, end);
    if (s.count <= kDigits) {
        std::memset(s.digits + s.count, '0', static_cast<size_t>(kDigits - s.count));
    } else if (s.count == kDigits + 1 && s.digits[kDigits] == '5') {
        return roundedFromBinary(value);
    } else if (s.digits[kDigits] >= '5' && roundUp(s.digits)) {
        s.digits[0] = '1';
        ++s.exponent;
    }
    return s;
}

}  // namespace

namespace bu::rf {

Digits15 digits15(double value) noexcept {
    const Scientific s =
        std::fabs(value) < DBL_MIN ? roundedFromBinary(value) : roundedFromShortest(value);
    Digits15 d;
    std::memcpy(d.digits, s.digits, kDigits);
    d.exponent = s.exponent;
    d.negative = s.negative;
    return d;
}

char* scientific15(char* text, double value) noexcept {
    const Digits15 d = digits15(value);
    char* out = text;
    if (d.negative) *out++ = '-';
    *out++ = d.digits[0];
    *out++ = '.';
    std::memcpy(out, d.digits + 1, kDigits - 1);
    out += kDigits - 1;
    *out++ = 'e';
    *out++ = d.exponent < 0 ? '-' : '+';
    const int magnitude = d.exponent < 0 ? -d.exponent : d.exponent;
    if (magnitude < 10) *out++ = '0';
    return std::to_chars(out, out + 4, magnitude).ptr;
}

}  // namespace bu::rf
