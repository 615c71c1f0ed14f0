// decimal_float.cpp - doubles to and from decimal values. A double keeps 15
// significant digits on the way in; on the way out the digits go through
// the C library's correctly rounded text reader.
#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "decimal_support.h"

namespace bu::dec {

namespace {

constexpr int kKeptDigits = 15;
// The scale of a floating NUMBER: the digits keep the scale they come with.
constexpr int kFloatingScale = -128;

// The decimal exponent e of m with 10^e <= m < 10^(e+1), by bisection in
// the constant tables: from index 62 in the positive powers for m >= 1,
// from -65 in the reciprocals below 1.
int decimal_exponent(double m) noexcept {
    if (m >= 1.0) {
        int lo = 0, hi = kMaxDoublePower, mid = 62;
        while (lo < hi) {
            if (kDoublePowers[mid] <= m)
                lo = mid;
            else
                hi = mid - 1;
            mid = (lo + hi + 1) / 2;
        }
        return lo;
    }
    int lo = -kMaxDoubleReciprocal, hi = -1, mid = -65;
    while (lo < hi) {
        if (kDoubleReciprocals[-mid] <= m)
            lo = mid;
        else
            hi = mid - 1;
        mid = lo + (hi - lo + 1) / 2;
    }
    return lo;
}

// Rounds half away from zero to a 64-bit integer.
int64_t float_to_fixed(double x) noexcept {
    const double mag = std::fabs(x);
    int64_t whole = static_cast<int64_t>(mag);
    if (mag - static_cast<double>(whole) >= 0.5) ++whole;
    return x < 0 ? -whole : whole;
}

}  // namespace

int set_from_float(BN_BigNumber* v, int Scale, double value) noexcept {
    if (!std::isfinite(value)) return LD_FLOAT_TOO_LARGE;
    const bool floating = Scale == kFloatingScale;
    if (!floating && (Scale < -kMaxDoublePower || Scale > kMaxDoubleReciprocal))
        return LD_SCALE_NOT_ALLOWED;
    const double mag = std::fabs(value);
    if (floating && mag == 0.0) {
        mp_int_zero(&v->Value);
        v->CurScale = 0;
        v->Exponent = 0;
        v->Digits = 1;
        return LD_OK;
    }
    if (!floating && mag < (Scale >= 0 ? kDoubleReciprocals[Scale] : kDoublePowers[-Scale])) {
        mp_int_zero(&v->Value);
        v->CurScale = static_cast<int16_t>(Scale);
        v->Exponent = static_cast<int16_t>(-Scale);
        v->Digits = static_cast<int16_t>(Scale + 1);
        return LD_OK;
    }
    if (mag >= 1e126) return LD_FLOAT_TOO_LARGE;
    int e = decimal_exponent(mag);
    double normal =
        e >= 0 ? mag / kDoublePowers[e]
               : (-e <= kMaxDoublePower ? mag * kDoublePowers[-e] : mag / kDoubleReciprocals[-e]);
    // Table division may land a hair outside [1, 10).
    if (normal >= 10.0) {
        normal /= 10.0;
        ++e;
    } else if (normal < 1.0) {
        normal *= 10.0;
        --e;
    }
    const int64_t fixed = float_to_fixed(std::copysign(normal * 1e14, value));
    mp_result r = mp_int_set_value(&v->Value, fixed);
    if (r != MP_RESULT_OK) return map_result(r);
    const int from = (kKeptDigits - 1) - e;
    v->CurScale = static_cast<int16_t>(from);
    v->Exponent = static_cast<int16_t>(-from);
    v->Digits = static_cast<int16_t>(digit_count(&v->Value));
    if (floating) return LD_OK;
    const int rc = Scale >= from ? scale_up(v, Scale - from) : scale_down(v, from - Scale);
    if (rc != LD_OK) return rc;
    v->Digits = static_cast<int16_t>(digit_count(&v->Value));
    return LD_OK;
}

int export_to_float(const BN_BigNumber* v, double* out) noexcept {
    if (!holds_value(v) || out == nullptr) return LD_NULL_OR_BAD_LENGTH;
    // The digits, then "e" and the negated scale: "-12345e-2".
    char text[448];
    mp_int z = integer_of(v);
    if (mp_int_string_len(z, 10) > 400) return LD_FLOAT_TOO_LARGE;
    const mp_result r = mp_int_to_string(z, 10, text, 400);
    if (r != MP_RESULT_OK) return map_result(r);
    char* end = text;
    while (*end != '\0') ++end;
    std::snprintf(end, sizeof text - static_cast<size_t>(end - text), "e%d", -v->CurScale);
    *out = std::strtod(text, nullptr);
    return LD_OK;
}

}  // namespace bu::dec
