// The fifteen-digit text of a double against the fixed-precision
// std::to_chars it stands in for: hand-picked values where the shortest
// digits round badly (carries into a new power of ten, midpoints, subnormal
// values, exact ties), then random values of every length of digits, of the
// range computed exactly, and random bits.
#include <gtest/gtest.h>

#include <cfloat>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>

#include "float_digits.h"

namespace {

std::string expected(double value) {
    char text[64];
    return {text,
            std::to_chars(text, text + sizeof text, value, std::chars_format::scientific, 14).ptr};
}

// The digits in the form "%.14e" writes.
std::string actual(double value) {
    const bu::rf::Digits15 d = bu::rf::digits15(value);
    const int magnitude = d.exponent < 0 ? -d.exponent : d.exponent;
    return std::string(d.negative ? "-" : "") + d.digits[0] + '.' + std::string(d.digits + 1, 14) +
           'e' + (d.exponent < 0 ? '-' : '+') + (magnitude < 10 ? "0" : "") +
           std::to_string(magnitude);
}

void expectSame(double value) {
    ASSERT_EQ(actual(value), expected(value)) << "value " << std::hexfloat << value;
}

TEST(Scientific15, MatchesFixedPrecisionOnEdgeValues) {
    // Values random ones seldom hit: ties, carries, the ends of the range.
    const double values[] = {
        9.999999999999995,       // sixteen digits ending in the midpoint 5
        9.9999999999999995,      // carries into 1e+01
        -9.9999999999999991,     // a negative carry
        1.000000000000005,       // midpoint: decided by the binary value
        1.0000000000000049,      // seventeen digits just below a midpoint
        1.7976931348623157e308,  // the largest double
        DBL_MIN,
        4.9406564584124654e-324,  // the smallest subnormal: shortest is 5e-324
        2.2250738585072009e-308,  // the largest subnormal
        1000000000000005.0,       // exact ties, rounded to the even digit
        1000000000000015.0,
        -12345678901235.5,
        999999999999999.5,  // a tie that carries into 1e+15
        1e-8,
        1e38,
    };
    for (double v : values) expectSame(v);
}

TEST(Scientific15, MatchesFixedPrecisionOnRandomValues) {
    std::mt19937_64 random(20261124);
    // Decimals of 1 to 17 significant digits, with midpoints among them.
    for (int i = 0; i < 200000; ++i) {
        const int digits = 1 + static_cast<int>(random() % 17);
        std::string text = i % 2 ? "-" : "";
        text += static_cast<char>('1' + random() % 9);
        text += '.';
        for (int d = 1; d < digits; ++d) text += static_cast<char>('0' + random() % 10);
        if (digits == 16 && i % 4 == 0) text.back() = '5';
        text += 'e' + std::to_string(static_cast<int>(random() % 600) - 300);
        expectSame(std::strtod(text.c_str(), nullptr));
    }
    // Around the values whose digits come from an exact 128-bit product
    // (about 1e-8 to 1e38), its edges included.
    for (int i = 0; i < 200000; ++i) {
        const auto mantissa = static_cast<double>(random() >> 11 | 1);
        const int exponent = static_cast<int>(random() % 220) - 90 - 52;
        expectSame((i % 2 ? -1 : 1) * std::ldexp(mantissa, exponent));
    }
    // Any finite bit pattern.
    for (int i = 0; i < 200000; ++i) {
        const uint64_t bits = random();
        double v = 0;
        std::memcpy(&v, &bits, sizeof v);
        if (std::isfinite(v) && v != 0) expectSame(v);
    }
}

}  // namespace
