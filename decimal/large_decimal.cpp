// large_decimal.cpp - the LD_ family: life of a value, text, scaling,
// range checks, comparison and arithmetic. The NU_ aliases call into these.
#include <cstdlib>
#include <cstring>

#include "decimal_support.h"

using namespace bu::dec;

namespace {

// Sets Digits from the integer and Exponent from CurScale.
void settle(BN_BigNumber* v, int cur_scale) noexcept {
    v->CurScale = static_cast<int16_t>(cur_scale);
    v->Exponent = static_cast<int16_t>(-cur_scale);
    v->Digits = static_cast<int16_t>(digit_count(&v->Value));
}

// Text of a large decimal: blanks, sign, digits, an optional point.
int set_from_text(BN_BigNumber* v, const char* text) noexcept {
    if (v == nullptr || text == nullptr) return LD_NULL_OR_BAD_LENGTH;
    const char* p = text;
    while (*p == ' ') ++p;
    bool negative = false;
    if (*p == '-' || *p == '+') negative = *p++ == '-';
    while (*p == '0') ++p;
    int precision = 0, scale = 0;
    char digits[kMaxLargeDecimalDigits];
    bool read = true;
    if (*p != '\0') {
        DigitRuns runs;
        p = scan_digit_runs(p, &runs);
        if (*p != '\0') return LD_NOT_A_DIGIT;
        const int int_len = runs.int_len, frac_len = runs.frac_len;
        if (int_len + frac_len > kMaxLargeDecimalDigits) return LD_TOO_MANY_DIGITS;
        if (int_len + frac_len == 0) {
            // A point alone: one digit, scale 0, and the integer stays.
            precision = 1;
            read = false;
        } else {
            std::memcpy(digits, runs.int_part, static_cast<size_t>(int_len));
            std::memcpy(digits + int_len, runs.frac_part, static_cast<size_t>(frac_len));
            precision = int_len + frac_len;
            scale = frac_len;
        }
    } else {
        digits[0] = '0';
        precision = 1;
    }
    int rc = ensure_initialised(v, precision, scale, BN_KIND_LARGE_DECIMAL);
    if (rc != LD_OK) return rc;
    if (read) {
        rc = read_digits(&v->Value, digits, negative, precision);
        if (rc != LD_OK) return rc;
    }
    v->Precision = static_cast<int16_t>(precision);
    v->Digits = static_cast<int16_t>(precision);
    v->Scale = static_cast<int16_t>(scale);
    v->CurScale = static_cast<int16_t>(scale);
    v->Exponent = static_cast<int16_t>(-scale);
    return LD_OK;
}

// |z| scaled from `from` to `to` and compared with 10^precision: 16 when
// it reaches it.
int check_magnitude(mp_int z, int from, int to, int precision) noexcept {
    if (to - from > kMaxScaleStep || from - to > kMaxScaleStep) return LD_SCALE_TOO_FAR;
    ScopedInt t;
    mp_result r = mp_int_copy(z, t.get());
    if (r == MP_RESULT_OK) r = rescale_integer(t.get(), from, to);
    if (r != MP_RESULT_OK) return map_result(r);
    if (precision < 0) precision = 0;
    ScopedInt limit;
    mp_int p = power_of_ten(precision);
    if (p == nullptr) {
        r = mp_int_expt_value(10, precision, limit.get());
        if (r != MP_RESULT_OK) return map_result(r);
        p = limit.get();
    }
    return mp_int_compare_unsigned(t.get(), p) >= 0 ? LD_OUT_OF_RANGE : LD_OK;
}

// Significance order of the 16 column bytes: index of the i-th least
// significant byte. The column is in the machine's order.
int column_index(int i) {
    return little_endian() ? i : LD_COLUMN_BYTES - 1 - i;
}

int read_column(mp_int z, const unsigned char* column) noexcept {
    unsigned char big_endian[LD_COLUMN_BYTES];
    for (int i = 0; i < LD_COLUMN_BYTES; ++i)
        big_endian[LD_COLUMN_BYTES - 1 - i] = column[column_index(i)];
    return map_result(mp_int_read_binary(z, big_endian, LD_COLUMN_BYTES));
}

// Two's complement of width bytes, in the machine's order: the sign byte
// fills the width, the value's bytes stand at the low end.
int write_column(mp_int z, unsigned char* column, int width) noexcept {
    const int len = mp_int_binary_len(z);
    if (len > width) return LD_TOO_WIDE;
    unsigned char big_endian[LD_COLUMN_BYTES + 1];
    unsigned char* be = big_endian;
    unsigned char* heap = nullptr;
    if (len > static_cast<int>(sizeof big_endian)) {
        heap = static_cast<unsigned char*>(std::malloc(static_cast<size_t>(len)));
        if (heap == nullptr) return MP_RESULT_MEMORY;
        be = heap;
    }
    const mp_result r = mp_int_to_binary(z, be, len);
    if (r == MP_RESULT_OK) {
        const unsigned char fill = mp_int_compare_zero(z) < 0 ? 0xFF : 0x00;
        const bool little = little_endian();
        for (int i = 0; i < width; ++i) {
            const unsigned char byte = i < len ? be[len - 1 - i] : fill;
            column[little ? i : width - 1 - i] = byte;
        }
    }
    std::free(heap);
    return map_result(r);
}

}  // namespace

// ---- life ----

int LD_Create(int Precision, int Scale, BN_BigNumber** Out) noexcept {
    return create_value(Precision, Scale, BN_KIND_LARGE_DECIMAL, Out);
}

int LD_Initialize(BN_BigNumber* v, int Precision, int Scale) noexcept {
    if (v == nullptr) return LD_NULL_OR_BAD_LENGTH;
    return initialise(v, Precision, Scale, BN_KIND_LARGE_DECIMAL);
}

int LD_Destroy(BN_BigNumber* v) noexcept {
    if (v == nullptr) return LD_NULL_OR_BAD_LENGTH;
    if (v->State == BN_STATE_CREATED) {
        mp_int_clear(&v->Value);
        std::free(v);
    } else if (v->State == BN_STATE_INITIALIZED) {
        mp_int_clear(&v->Value);
        v->State = BN_STATE_RAW;
    }
    return LD_OK;
}

int LD_Copy(BN_BigNumber* To, const BN_BigNumber* From) noexcept {
    return copy_value(To, From);
}

int LD_GetAttributes(const BN_BigNumber* v, int* Precision, int* Digits, int* Scale, int* CurScale,
                     unsigned int* Kind) noexcept {
    if (v == nullptr) return LD_NULL_OR_BAD_LENGTH;
    if (Precision != nullptr) *Precision = v->Precision;
    if (Digits != nullptr) *Digits = v->Digits;
    if (Scale != nullptr) *Scale = v->Scale;
    if (CurScale != nullptr) *CurScale = v->CurScale;
    if (Kind != nullptr) *Kind = v->Kind;
    return LD_OK;
}

// ---- setting values ----

int LD_SetValueFromString(BN_BigNumber* v, const char* text) noexcept {
    return set_from_text(v, text);
}

int LD_SetValueFromValidString(BN_BigNumber* v, const char* text) noexcept {
    // A clean text is a special case of the general reader, which stays
    // safe should the text not be clean after all.
    return set_from_text(v, text);
}

int LD_SetValueFromDigitString(BN_BigNumber* v, const char* text, int Precision,
                               int Scale) noexcept {
    if (v == nullptr || text == nullptr) return LD_NULL_OR_BAD_LENGTH;
    const char* p = text;
    bool negative = false;
    if (*p == '-' || *p == '+') negative = *p++ == '-';
    while (*p == '0') ++p;
    const char* digits = p;
    while (is_digit(*p)) ++p;
    if (*p != '\0') return LD_NOT_A_DIGIT;
    const int count = static_cast<int>(p - digits);
    if (has_storage(v)) {
        if (count > v->Precision) return LD_TOO_MANY_DIGITS;
        if (Scale > v->Scale) return LD_SCALE_NOT_ALLOWED;
    } else {
        const int rc = initialise(v, Precision, Scale, BN_KIND_LARGE_DECIMAL);
        if (rc != LD_OK) return rc;
    }
    if (count > kMaxLargeDecimalDigits) return LD_TOO_MANY_DIGITS;
    const int rc = read_digits(&v->Value, digits, negative, count);
    if (rc != LD_OK) return rc;
    v->CurScale = static_cast<int16_t>(Scale);
    v->Exponent = static_cast<int16_t>(-Scale);
    const int larger = count > Scale ? count : Scale;
    v->Digits = static_cast<int16_t>(larger < 1 ? 1 : larger);
    return LD_OK;
}

int LD_SetValueFromInteger64(BN_BigNumber* v, int64_t value, int Scale, int Precision,
                             int Output) noexcept {
    if (v == nullptr) return LD_NULL_OR_BAD_LENGTH;
    int rc = ensure_initialised(v, Precision, Scale, BN_KIND_LARGE_DECIMAL);
    if (rc != LD_OK) return rc;
    const mp_result r = mp_int_set_value(&v->Value, value);
    if (r != MP_RESULT_OK) return map_result(r);
    v->Precision = static_cast<int16_t>(Precision);
    v->Scale = static_cast<int16_t>(Scale);
    settle(v, Scale);
    return Output != 0 ? LD_RangeCheck(v, Precision, Scale) : LD_OK;
}

int LD_SetValueFromDBSColumn(BN_BigNumber* v, const unsigned char* column, int Precision,
                             int Scale) noexcept {
    if (v == nullptr || column == nullptr) return LD_NULL_OR_BAD_LENGTH;
    int rc = ensure_initialised(v, Precision, Scale, BN_KIND_LARGE_DECIMAL);
    if (rc != LD_OK) return rc;
    rc = read_column(&v->Value, column);
    if (rc != LD_OK) return rc;
    v->Precision = static_cast<int16_t>(Precision);
    v->Scale = static_cast<int16_t>(Scale);
    settle(v, Scale);
    return LD_OK;
}

int LD_SetValueFromFloat(BN_BigNumber* v, int Scale, int Output, double value) noexcept {
    if (v == nullptr) return LD_NULL_OR_BAD_LENGTH;
    int rc = ensure_initialised(v, kMaxLargeDecimalDigits, Scale, BN_KIND_LARGE_DECIMAL);
    if (rc == LD_OK) rc = set_from_float(v, Scale, value);
    if (rc == LD_OK && Output != 0) rc = LD_RangeCheck(v, v->Precision, Scale);
    return rc;
}

int LD_SetValueFromNumber(BN_BigNumber* v, const BN_BigNumber* number) noexcept {
    if (v == nullptr || !holds_value(number)) return LD_NULL_OR_BAD_LENGTH;
    const int scale = number->CurScale > 0 ? number->CurScale : 0;
    int rc = ensure_initialised(v, kMaxLargeDecimalDigits, scale, BN_KIND_LARGE_DECIMAL);
    if (rc != LD_OK) return rc;
    ScopedInt t;
    mp_result r = mp_int_copy(integer_of(number), t.get());
    // A large decimal has no negative scale: whole powers go into the integer.
    if (r == MP_RESULT_OK && number->CurScale < 0)
        r = multiply_by_power(t.get(), -number->CurScale);
    if (r != MP_RESULT_OK) return map_result(r);
    if (digit_count(t.get()) > kMaxLargeDecimalDigits) return LD_TOO_WIDE;
    mp_int_swap(t.get(), &v->Value);
    settle(v, scale);
    return LD_OK;
}

// ---- exporting values ----

int LD_ExportValueToDBSColumn(const BN_BigNumber* v, unsigned char* column, int Width) noexcept {
    if (!holds_value(v) || column == nullptr || Width < 1) return LD_NULL_OR_BAD_LENGTH;
    return write_column(integer_of(v), column, Width);
}

int LD_ExportValueToFloat(const BN_BigNumber* v, double* out) noexcept {
    return export_to_float(v, out);
}

int LD_ExportValueToInteger64(const BN_BigNumber* v, int64_t* out, int Scale) noexcept {
    if (!holds_value(v) || out == nullptr) return LD_NULL_OR_BAD_LENGTH;
    if (Scale - v->CurScale > kMaxScaleStep || v->CurScale - Scale > kMaxScaleStep)
        return LD_SCALE_TOO_FAR;
    ScopedInt t;
    mp_result r = mp_int_copy(integer_of(v), t.get());
    if (r == MP_RESULT_OK) r = rescale_integer(t.get(), v->CurScale, Scale);
    mp_small value = 0;
    if (r == MP_RESULT_OK) r = mp_int_to_int(t.get(), &value);
    if (r != MP_RESULT_OK) return map_result(r);
    *out = value;
    return LD_OK;
}

int LD_ExportValueToString(const BN_BigNumber* v, char* text, int Size) noexcept {
    if (!holds_value(v) || text == nullptr) return LD_NULL_OR_BAD_LENGTH;
    return map_result(mp_int_to_string(integer_of(v), 10, text, Size));
}

// ---- 16-byte columns in place ----

int LD_NegateDBSColumnValue(unsigned char* column) noexcept {
    if (column == nullptr) return LD_NULL_OR_BAD_LENGTH;
    // The most negative value has no positive twin.
    bool lowest = column[column_index(LD_COLUMN_BYTES - 1)] == 0x80;
    for (int i = 0; i < LD_COLUMN_BYTES - 1 && lowest; ++i) lowest = column[column_index(i)] == 0;
    if (lowest) return LD_TOO_WIDE;
    unsigned carry = 1;
    for (int i = 0; i < LD_COLUMN_BYTES; ++i) {
        unsigned char& byte = column[column_index(i)];
        const unsigned sum = static_cast<unsigned char>(~byte) + carry;
        byte = static_cast<unsigned char>(sum);
        carry = sum >> 8;
    }
    return LD_OK;
}

int LD_RescaleDBSColumn(unsigned char* column, int Shift) noexcept {
    if (column == nullptr) return LD_NULL_OR_BAD_LENGTH;
    if (Shift == 0) return LD_OK;
    if (Shift > kMaxScaleStep || Shift < -kMaxScaleStep) return LD_SCALE_TOO_FAR;
    ScopedInt z;
    int rc = read_column(z.get(), column);
    if (rc != LD_OK) return rc;
    if (Shift > 0) {
        // |value| * 10^Shift must stay below 10^38.
        const bool fits =
            Shift <= kMaxLargeDecimalDigits
                ? mp_int_compare_unsigned(z.get(), power_of_ten(kMaxLargeDecimalDigits - Shift)) < 0
                : mp_int_compare_zero(z.get()) == 0;
        if (!fits) return LD_TOO_WIDE;
        rc = map_result(multiply_by_power(z.get(), Shift));
    } else {
        rc = map_result(divide_by_power_rounded(z.get(), -Shift));
    }
    if (rc != LD_OK) return rc;
    return write_column(z.get(), column, LD_COLUMN_BYTES);
}

// ---- scaling, range, comparison ----

int LD_ScaleUp(BN_BigNumber* v, int n) noexcept {
    return scale_up(v, n);
}

int LD_ScaleDown(BN_BigNumber* v, int n) noexcept {
    return scale_down(v, n);
}

int LD_RangeCheck(const BN_BigNumber* v, int Precision, int Scale) noexcept {
    if (!holds_value(v)) return LD_NULL_OR_BAD_LENGTH;
    return check_magnitude(integer_of(v), v->CurScale, Scale, Precision);
}

int LD_Compare(const BN_BigNumber* a, const BN_BigNumber* b) noexcept {
    if (!holds_value(a) || !holds_value(b)) return 0;  // nothing to order: no crash
    if (a->CurScale == b->CurScale) return mp_int_compare(integer_of(a), integer_of(b));
    // The one of lesser scale is brought up to the other's.
    const bool a_lesser = a->CurScale < b->CurScale;
    const BN_BigNumber* lesser = a_lesser ? a : b;
    const BN_BigNumber* other = a_lesser ? b : a;
    ScopedInt t;
    mp_result r = mp_int_copy(integer_of(lesser), t.get());
    if (r == MP_RESULT_OK) r = multiply_by_power(t.get(), other->CurScale - lesser->CurScale);
    if (r != MP_RESULT_OK) return 0;
    const int cmp = mp_int_compare(t.get(), integer_of(other));
    return a_lesser ? cmp : -cmp;
}

int LD_CompareToZero(const BN_BigNumber* v) noexcept {
    return holds_value(v) ? mp_int_compare_zero(integer_of(v)) : 0;
}

int LD_CompareToOne(const BN_BigNumber* v) noexcept {
    // One at scale 0 or below compares the value with itself: 0, whatever it is.
    if (!holds_value(v) || v->CurScale <= 0) return 0;
    mp_int one = power_of_ten(v->CurScale);
    if (one != nullptr) return mp_int_compare(integer_of(v), one);
    ScopedInt built;
    if (mp_int_expt_value(10, v->CurScale, built.get()) != MP_RESULT_OK) return 0;
    return mp_int_compare(integer_of(v), built.get());
}

// ---- arithmetic ----

namespace {

// Prepares r to take a result shaped like a.
int prepare_result(BN_BigNumber* r, const BN_BigNumber* a) noexcept {
    return ensure_initialised(r, a->Precision, a->Scale, a->Kind);
}

int add_or_subtract(const BN_BigNumber* a, const BN_BigNumber* b, BN_BigNumber* r,
                    bool subtract) noexcept {
    if (!holds_value(a) || !holds_value(b) || r == nullptr) return LD_NULL_OR_BAD_LENGTH;
    const int scale = a->CurScale;
    int rc = prepare_result(r, a);
    if (rc != LD_OK) return rc;
    const mp_result m = subtract ? mp_int_sub(integer_of(a), integer_of(b), &r->Value)
                                 : mp_int_add(integer_of(a), integer_of(b), &r->Value);
    if (m != MP_RESULT_OK) return map_result(m);
    settle(r, scale);
    return LD_OK;
}

}  // namespace

int LD_Add(const BN_BigNumber* a, const BN_BigNumber* b, BN_BigNumber* r) noexcept {
    return add_or_subtract(a, b, r, false);
}

int LD_Subtract(const BN_BigNumber* a, const BN_BigNumber* b, BN_BigNumber* r) noexcept {
    return add_or_subtract(a, b, r, true);
}

int LD_Multiply(const BN_BigNumber* a, const BN_BigNumber* b, BN_BigNumber* r) noexcept {
    if (!holds_value(a) || !holds_value(b) || r == nullptr) return LD_NULL_OR_BAD_LENGTH;
    const int scale = a->CurScale + b->CurScale;
    int rc = prepare_result(r, a);
    if (rc != LD_OK) return rc;
    const mp_result m = mp_int_mul(integer_of(a), integer_of(b), &r->Value);
    if (m != MP_RESULT_OK) return map_result(m);
    settle(r, scale);
    return LD_OK;
}

int LD_Divide(const BN_BigNumber* a, const BN_BigNumber* b, BN_BigNumber* r, int Scale) noexcept {
    if (!holds_value(a) || !holds_value(b) || r == nullptr) return LD_NULL_OR_BAD_LENGTH;
    // The dividend is tested first: 0 divided by anything, 0 too, is 0.
    if (mp_int_compare_zero(integer_of(a)) == 0) {
        int rc = prepare_result(r, a);
        if (rc != LD_OK) return rc;
        mp_int_zero(&r->Value);
        r->CurScale = static_cast<int16_t>(Scale);
        r->Digits = 1;
        r->Exponent = 0;
        return LD_OK;
    }
    if (mp_int_compare_zero(integer_of(b)) == 0) return MP_RESULT_UNDEF;
    // a / b = (ia / ib) * 10^(sb - sa). At a wanted scale the dividend or
    // the divisor takes the power that makes the integer quotient exact
    // to that scale.
    const int natural = a->CurScale - b->CurScale;
    const int shift = Scale >= 0 ? Scale - natural : 0;
    if (shift > 1000 || shift < -1000) return LD_SCALE_TOO_FAR;
    ScopedInt num, den;
    mp_result m = mp_int_copy(integer_of(a), num.get());
    if (m == MP_RESULT_OK) m = mp_int_copy(integer_of(b), den.get());
    if (m == MP_RESULT_OK)
        m = multiply_by_power(shift >= 0 ? num.get() : den.get(), shift >= 0 ? shift : -shift);
    if (m != MP_RESULT_OK) return map_result(m);
    int rc = prepare_result(r, a);
    if (rc != LD_OK) return rc;
    m = mp_int_div(num.get(), den.get(), &r->Value, nullptr);
    if (m != MP_RESULT_OK) return map_result(m);
    settle(r, Scale >= 0 ? Scale : natural);
    return LD_OK;
}

int LD_Negate(const BN_BigNumber* v, BN_BigNumber* r) noexcept {
    int rc = copy_value(r, v);
    if (rc != LD_OK) return rc;
    return map_result(mp_int_neg(&r->Value, &r->Value));
}

int LD_Combine(const BN_BigNumber* a, const BN_BigNumber* b, BN_BigNumber* r, int Subtract,
               int Scale) noexcept {
    if (!holds_value(a) || !holds_value(b) || r == nullptr) return LD_NULL_OR_BAD_LENGTH;
    // Operands off the wanted scale are copied and brought to it, by the
    // same steps as LD_ScaleUp and LD_ScaleDown.
    const BN_BigNumber* operands[2] = {a, b};
    ScopedInt scaled[2];
    for (int i = 0; i < 2; ++i) {
        const int from = operands[i]->CurScale;
        if (Scale - from > kMaxScaleStep || from - Scale > kMaxScaleStep) return LD_SCALE_TOO_FAR;
        mp_result m = mp_int_copy(integer_of(operands[i]), scaled[i].get());
        if (m == MP_RESULT_OK) m = rescale_integer(scaled[i].get(), from, Scale);
        if (m != MP_RESULT_OK) return map_result(m);
    }
    if (Subtract != 0) mp_int_neg(scaled[1].get(), scaled[1].get());
    int rc = prepare_result(r, a);
    if (rc != LD_OK) return rc;
    const mp_result m = mp_int_add(scaled[0].get(), scaled[1].get(), &r->Value);
    if (m != MP_RESULT_OK) return map_result(m);
    settle(r, Scale);
    return LD_OK;
}
