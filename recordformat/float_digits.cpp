// Fifteen significant digits of a double, rounded half to even from its
// binary value, as the fixed-precision conversion has them. Where 128-bit
// integers hold the value times a power of ten exactly (normal values from
// about 1e-8 to 1e38, those FLOAT columns mostly hold) the digits come from
// that product. Elsewhere they come from the shortest digits that read back
// as the value: a normal double carries more than fifteen digits of
// precision, so when its shortest digits are fifteen or fewer they are the
// correctly rounded ones; sixteen or seventeen are rounded once more, which
// is exact unless they sit on the midpoint itself (a lone 5 in sixteenth
// place). That case and the subnormal values, whose precision is less, are
// rounded by the fixed-precision conversion itself.
#include "float_digits.h"

#include <cfloat>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>

#include "digit_pairs.h"

namespace {

constexpr int kDigits = 15;
// Room for the longest scientific text: sign, 17 digits, point, "e-308".
constexpr int kScientificCapacity = 32;

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
    char text[kScientificCapacity];
    const char* end =
        std::to_chars(text, text + sizeof text, value, std::chars_format::scientific, kDigits - 1)
            .ptr;
    return parse(text, end);
}

Scientific roundedFromShortest(double value) noexcept {
    char text[kScientificCapacity];
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

using u128 = unsigned __int128;

constexpr uint64_t kLowest15 = 100000000000000;  // the smallest number of fifteen digits
constexpr int kExactPowers = 23;                 // 10^22 times a mantissa fits 127 bits

constexpr bu::PowersOfTen<u128, kExactPowers> kPowers;

// The fifteen leading digits of mantissa x 2^binary x 10^decimal as one
// integer, cut, and whether rounding half to even adds one. False where
// 128-bit integers can't hold the product exactly.
bool scaledDigits(uint64_t mantissa, int binary, int decimal, uint64_t& digits,
                  bool& roundUp) noexcept {
    if (decimal >= 0) {
        if (decimal >= kExactPowers) return false;
        const u128 n = mantissa * kPowers.value[decimal];
        if (binary >= 0) {  // a whole number: nothing to round
            if (binary >= 64 || (n >> (64 - binary)) != 0) return false;
            digits = static_cast<uint64_t>(n << binary);
            roundUp = false;
            return true;
        }
        const int shift = -binary;
        if (shift > 127) return false;
        const u128 whole = n >> shift;
        if (whole >> 64 != 0) return false;
        const u128 rest = n & ((u128{1} << shift) - 1);
        const u128 half = u128{1} << (shift - 1);
        digits = static_cast<uint64_t>(whole);
        roundUp = rest > half || (rest == half && (digits & 1) != 0);
        return true;
    }
    if (binary < 0 || binary > 74 || -decimal >= kExactPowers) return false;
    const u128 n = u128{mantissa} << binary;
    const u128 divisor = kPowers.value[-decimal];
    const u128 whole = n / divisor;
    if (whole >> 64 != 0) return false;
    const u128 twice = 2 * (n % divisor);
    digits = static_cast<uint64_t>(whole);
    roundUp = twice > divisor || (twice == divisor && (digits & 1) != 0);
    return true;
}

// The digits straight from the binary value, where its product with the
// power of ten fits 128 bits (normal values from about 1e-8 to 1e38, those
// a FLOAT column mostly holds): exact, and cheaper than finding the
// shortest digits first.
bool exactDigits(double value, bu::rf::Digits15& d) noexcept {
    uint64_t bits = 0;
    std::memcpy(&bits, &value, sizeof bits);
    const int biased = static_cast<int>(bits >> 52 & 0x7ff);
    if (biased == 0 || biased == 0x7ff) return false;
    const uint64_t mantissa = (bits & ((uint64_t{1} << 52) - 1)) | uint64_t{1} << 52;
    const int binary = biased - 1075;
    // The power of ten of the first digit, from the power of two: right or
    // one off, which the size of the digits shows.
    int exponent = ((biased - 1023) * 78913) >> 18;
    for (int attempt = 0; attempt < 3; ++attempt) {
        uint64_t digits = 0;
        bool roundUp = false;
        if (!scaledDigits(mantissa, binary, kDigits - 1 - exponent, digits, roundUp)) return false;
        if (digits >= 10 * kLowest15) {
            ++exponent;
            continue;
        }
        if (digits < kLowest15) {
            --exponent;
            continue;
        }
        if (roundUp && ++digits == 10 * kLowest15) {
            digits = kLowest15;
            ++exponent;
        }
        bu::writeDecimalDigits(d.digits, digits);
        d.exponent = exponent;
        d.negative = (bits >> 63) != 0;
        return true;
    }
    return false;
}

}  // namespace

namespace bu::rf {

Digits15 digits15(double value) noexcept {
    Digits15 d;
    if (exactDigits(value, d)) return d;
    const Scientific s =
        std::fabs(value) < DBL_MIN ? roundedFromBinary(value) : roundedFromShortest(value);
    std::memcpy(d.digits, s.digits, kDigits);
    d.exponent = s.exponent;
    d.negative = s.negative;
    return d;
}

}  // namespace bu::rf
