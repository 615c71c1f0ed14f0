// decimal_value_core.cpp - set-up of decimal values, digit counts, and the
// scaling of their integers by powers of ten with half-away rounding.
#include <cstdlib>
#include <cstring>

#include "decimal_support.h"

namespace bu::dec {

namespace {

constexpr mp_size kInitialDigits = 16;

}  // namespace

int initialise(BN_BigNumber* v, int Precision, int Scale, uint32_t kind) noexcept {
    const uint32_t state = v->State == BN_STATE_CREATED ? BN_STATE_CREATED : BN_STATE_INITIALIZED;
    if (has_storage(v)) mp_int_clear(&v->Value);
    v->State = BN_STATE_RAW;
    const mp_result r = mp_int_init_size(&v->Value, kInitialDigits);
    if (r != MP_RESULT_OK) return map_result(r);
    v->Precision = static_cast<int16_t>(Precision);
    v->Scale = static_cast<int16_t>(Scale);
    if (Scale < 38) {
        v->CurScale = static_cast<int16_t>(Scale);
        v->Digits = static_cast<int16_t>(Scale + 1);
        v->Exponent = static_cast<int16_t>(Scale > 0 ? -Scale : 0);
    } else {
        v->CurScale = static_cast<int16_t>(Scale);
        v->Digits = static_cast<int16_t>(Scale);
        v->Exponent = static_cast<int16_t>(-Scale);
    }
    v->Kind = kind;
    v->State = state;
    return LD_OK;
}

int create_value(int Precision, int Scale, uint32_t kind, BN_BigNumber** Out) noexcept {
    if (Out == nullptr) return LD_NULL_OR_BAD_LENGTH;
    auto* v = static_cast<BN_BigNumber*>(std::calloc(1, sizeof(BN_BigNumber)));
    if (v == nullptr) return LD_NO_MEMORY;
    const int rc = initialise(v, Precision, Scale, kind);
    if (rc != LD_OK) {
        std::free(v);
        return rc == MP_RESULT_MEMORY ? LD_NO_MEMORY : rc;
    }
    v->State = BN_STATE_CREATED;
    *Out = v;
    return LD_OK;
}

int digit_count(mp_int z) noexcept {
    uint64_t small;
    if (z->used <= 2) {
        small = z->digits[0] | (z->used == 2 ? uint64_t{z->digits[1]} << 32 : 0);
        int n = 1;
        while (small >= 10) {
            small /= 10;
            ++n;
        }
        return n;
    }
    // The smallest n with |z| < 10^n, by bisection over the table.
    int lo = 19, hi = kMaxTablePower;
    mp_int top = power_of_ten(hi);
    if (top != nullptr && mp_int_compare_unsigned(z, top) < 0) {
        while (lo < hi) {
            const int mid = (lo + hi) / 2;
            if (mp_int_compare_unsigned(z, power_of_ten(mid)) < 0)
                hi = mid;
            else
                lo = mid + 1;
        }
        return lo;
    }
    // Beyond the table: count the text.
    const int len = mp_int_string_len(z, 10);
    char* text = static_cast<char*>(std::malloc(static_cast<size_t>(len)));
    if (text == nullptr) return len;
    mp_int_to_string(z, 10, text, len);
    const int n = static_cast<int>(std::strlen(text)) - (text[0] == '-' ? 1 : 0);
    std::free(text);
    return n;
}

mp_result multiply_by_power(mp_int z, int n) noexcept {
    if (n == 0) return MP_RESULT_OK;
    mp_int p = power_of_ten(n);
    if (p != nullptr) return mp_int_mul(z, p, z);
    ScopedInt built;
    mp_result r = mp_int_expt_value(10, n, built.get());
    return r == MP_RESULT_OK ? mp_int_mul(z, built.get(), z) : r;
}

mp_result divide_by_power_rounded(mp_int z, int n) noexcept {
    if (n == 0) return MP_RESULT_OK;
    const bool negative = mp_int_compare_zero(z) < 0;
    mp_int half = half_unit(n, negative);
    mp_int p = power_of_ten(n);
    if (half != nullptr && p != nullptr) {
        mp_result r = mp_int_add(z, half, z);
        return r == MP_RESULT_OK ? mp_int_div(z, p, z, nullptr) : r;
    }
    ScopedInt built, built_half;
    mp_result r = mp_int_expt_value(10, n, built.get());
    if (r == MP_RESULT_OK)
        r = mp_int_div_value(built.get(), negative ? -2 : 2, built_half.get(), nullptr);
    if (r == MP_RESULT_OK) r = mp_int_add(z, built_half.get(), z);
    if (r == MP_RESULT_OK) r = mp_int_div(z, built.get(), z, nullptr);
    return r;
}

mp_result rescale_integer(mp_int z, int from, int to) noexcept {
    if (to >= from) return multiply_by_power(z, to - from);
    return divide_by_power_rounded(z, from - to);
}

int scale_up(BN_BigNumber* v, int n) noexcept {
    if (!holds_value(v)) return LD_NULL_OR_BAD_LENGTH;
    if (n < 0 || n > kMaxScaleStep) return LD_SCALE_TOO_FAR;
    const mp_result r = multiply_by_power(&v->Value, n);
    if (r != MP_RESULT_OK) return map_result(r);
    v->Digits = static_cast<int16_t>(v->Digits + n);
    v->CurScale = static_cast<int16_t>(v->CurScale + n);
    v->Exponent = static_cast<int16_t>(v->Exponent - n);
    return LD_OK;
}

int scale_down(BN_BigNumber* v, int n) noexcept {
    if (!holds_value(v)) return LD_NULL_OR_BAD_LENGTH;
    if (n < 0 || n > kMaxScaleStep) return LD_SCALE_TOO_FAR;
    const mp_result r = divide_by_power_rounded(&v->Value, n);
    if (r != MP_RESULT_OK) return map_result(r);
    // A value never has fewer than one digit.
    v->Digits = static_cast<int16_t>(v->Digits - n < 1 ? 1 : v->Digits - n);
    v->CurScale = static_cast<int16_t>(v->CurScale - n);
    v->Exponent = static_cast<int16_t>(v->Exponent + n);
    return LD_OK;
}

int copy_value(BN_BigNumber* To, const BN_BigNumber* From) noexcept {
    if (To == nullptr || !holds_value(From)) return LD_NULL_OR_BAD_LENGTH;
    if (To == From) return LD_OK;
    int rc = ensure_initialised(To, From->Precision, From->Scale, From->Kind);
    if (rc != LD_OK) return rc;
    const mp_result r = mp_int_copy(integer_of(From), &To->Value);
    if (r != MP_RESULT_OK) return map_result(r);
    To->Precision = From->Precision;
    To->Digits = From->Digits;
    To->Scale = From->Scale;
    To->CurScale = From->CurScale;
    To->Exponent = From->Exponent;
    To->Kind = From->Kind;
    return LD_OK;
}

int read_digits(mp_int z, const char* digits, bool negative, int count) noexcept {
    char text[kMaxTextDigits + 2];  // a sign, the digits, the terminator
    if (count > kMaxTextDigits) return LD_TOO_MANY_DIGITS;
    int pos = 0;
    if (negative) text[pos++] = '-';
    std::memcpy(text + pos, digits, static_cast<size_t>(count));
    text[pos + count] = '\0';
    return map_result(mp_int_read_string(z, 10, text));
}

}  // namespace bu::dec
