// number_value.cpp - the NU_ family: NUMBER values of fixed or floating
// scale, their column layout, text with exponents, and the straight path
// from a column to mantissa digits that delimited output uses per row.
#include <cstdlib>
#include <cstring>

#include "decimal_support.h"

using namespace bu::dec;

namespace {

constexpr int kMaxMantissaBytes = NU_COLUMN_MAX_LENGTH - 2;
constexpr int kFloatingMaxBytes = 18;
constexpr int kFloatingMaxDigits = 40;
constexpr int kFloatingMaxExponent = 126;

bool is_floating_precision(int precision) {
    return (static_cast<uint16_t>(precision) & ~uint16_t{0x80}) == BN_FLOATING_PRECISION;
}

uint32_t kind_for(int precision) {
    return is_floating_precision(precision) ? BN_KIND_FLOATING_NUMBER : BN_KIND_FIXED_NUMBER;
}

int create_floating_if_raw(BN_BigNumber* v) {
    return ensure_initialised(v, -128, -128, BN_KIND_FLOATING_NUMBER);
}

void settle(BN_BigNumber* v, int cur_scale) noexcept {
    v->CurScale = static_cast<int16_t>(cur_scale);
    v->Exponent = static_cast<int16_t>(-cur_scale);
    v->Digits = static_cast<int16_t>(digit_count(&v->Value));
}

int16_t read_exponent_field(const unsigned char* column) {
    int16_t field;
    std::memcpy(&field, column + NU_COLUMN_EXPONENT_OFFSET, sizeof field);
    return field;
}

// Reads the mantissa of a NUMBER column (Length 1 to 19) into z. Lengths 1
// and 2 carry no mantissa byte: the value 0.
int read_mantissa(mp_int z, const unsigned char* column) noexcept {
    const int length = column[NU_COLUMN_LENGTH_OFFSET];
    const int bytes = length > 2 ? length - 2 : 0;
    unsigned char big_endian[kMaxMantissaBytes];
    const unsigned char* mantissa = column + NU_COLUMN_MANTISSA_OFFSET;
    if (little_endian()) {
        for (int i = 0; i < bytes; ++i) big_endian[i] = mantissa[bytes - 1 - i];
    } else {
        std::memcpy(big_endian, mantissa, static_cast<size_t>(bytes));
    }
    return map_result(mp_int_read_binary(z, big_endian, bytes));
}

}  // namespace

// ---- life ----

int NU_Create(int Precision, int Scale, BN_BigNumber** Out) noexcept {
    return create_value(Precision, Scale, kind_for(Precision), Out);
}

int NU_Initialize(BN_BigNumber* v, int Precision, int Scale) noexcept {
    if (v == nullptr) return LD_NULL_OR_BAD_LENGTH;
    return initialise(v, Precision, Scale, kind_for(Precision));
}

int NU_Destroy(BN_BigNumber* v) noexcept {
    return LD_Destroy(v);
}

int NU_Copy(BN_BigNumber* To, const BN_BigNumber* From) noexcept {
    return copy_value(To, From);
}

int NU_GetAttributes(const BN_BigNumber* v, int* Precision, int* Digits, int* Scale, int* CurScale,
                     unsigned int* Kind) noexcept {
    return LD_GetAttributes(v, Precision, Digits, Scale, CurScale, Kind);
}

// ---- crossing the families ----

int NU_CopyFromLargeDecimal(BN_BigNumber* n, const BN_BigNumber* l) noexcept {
    if (n == nullptr || !holds_value(l)) return LD_NULL_OR_BAD_LENGTH;
    int rc = ensure_initialised(n, l->Precision, l->Scale, BN_KIND_FIXED_NUMBER);
    if (rc != LD_OK) return rc;
    const mp_result r = mp_int_copy(integer_of(l), &n->Value);
    if (r != MP_RESULT_OK) return map_result(r);
    n->Precision = l->Precision;
    n->Scale = l->Scale;
    n->Kind = kind_for(l->Precision);  // the kind goes with the declared precision
    n->Digits = l->Digits;
    n->CurScale = l->CurScale;
    n->Exponent = static_cast<int16_t>(-l->CurScale);
    return LD_OK;
}

int NU_SetValueFromLargeDecimal(BN_BigNumber* n, const BN_BigNumber* l) noexcept {
    if (n == nullptr || !holds_value(l)) return LD_NULL_OR_BAD_LENGTH;
    int rc = ensure_initialised(n, l->Precision, l->Scale, BN_KIND_FIXED_NUMBER);
    if (rc != LD_OK) return rc;
    const mp_result r = mp_int_copy(integer_of(l), &n->Value);
    if (r != MP_RESULT_OK) return map_result(r);
    settle(n, l->CurScale);
    return LD_OK;
}

int NU_ExportValueToLargeDecimal(const BN_BigNumber* n, BN_BigNumber* l, int Precision,
                                 int Scale) noexcept {
    if (!holds_value(n) || l == nullptr) return LD_NULL_OR_BAD_LENGTH;
    const int shift = Scale - n->CurScale;
    if (shift > kMaxScaleStep || shift < -kMaxScaleStep) return LD_SCALE_TOO_FAR;
    int rc = ensure_initialised(l, Precision, Scale, BN_KIND_LARGE_DECIMAL);
    if (rc != LD_OK) return rc;
    mp_result r = mp_int_copy(integer_of(n), &l->Value);
    if (r == MP_RESULT_OK) r = rescale_integer(&l->Value, n->CurScale, Scale);
    if (r != MP_RESULT_OK) return map_result(r);
    l->Precision = static_cast<int16_t>(Precision);
    l->Scale = static_cast<int16_t>(Scale);
    settle(l, Scale);
    return LD_RangeCheck(l, Precision, Scale);
}

// ---- text ----

int NU_SetValueFromString(BN_BigNumber* v, const char* text) noexcept {
    if (v == nullptr || text == nullptr) return LD_NULL_OR_BAD_LENGTH;
    const char* p = text;
    bool negative = false;
    if (*p == '-' || *p == '+') negative = *p++ == '-';
    // Leading zeros go, but the zero just before a non-digit stays.
    while (p[0] == '0' && is_digit(p[1])) ++p;
    DigitRuns runs;
    p = scan_digit_runs(p, &runs);
    const char* int_part = runs.int_part;
    const char* frac_part = runs.frac_part;
    int int_len = runs.int_len, frac_len = runs.frac_len;
    long exponent = 0;
    if (*p == 'e' || *p == 'E') {
        ++p;
        bool exp_negative = false;
        if (*p == '-' || *p == '+') exp_negative = *p++ == '-';
        if (!is_digit(*p)) return LD_NOT_A_DIGIT;
        for (; is_digit(*p); ++p) {
            if (exponent < 1000000) exponent = exponent * 10 + (*p - '0');
        }
        if (exp_negative) exponent = -exponent;
    }
    if (*p != '\0' || int_len + frac_len == 0) return LD_NOT_A_DIGIT;

    while (frac_len > 0 && frac_part[frac_len - 1] == '0') --frac_len;
    exponent -= frac_len;
    if (frac_len == 0) {
        while (int_len > 1 && int_part[int_len - 1] == '0') {
            --int_len;
            ++exponent;
        }
    }
    // The mantissa's digits without leading zeros; "0.05" is 5.
    char digits[kMaxTextDigits];
    int count = 0;
    for (int i = 0; i < int_len + frac_len; ++i) {
        const char c = i < int_len ? int_part[i] : frac_part[i - int_len];
        if (count == 0 && c == '0') continue;
        if (count == kMaxTextDigits) return LD_TOO_MANY_DIGITS;
        digits[count++] = c;
    }
    if (count == 0) {
        // Zero: no sign and no exponent.
        negative = false;
        exponent = 0;
        digits[count++] = '0';
    }
    if (exponent > INT16_MAX || exponent < -INT16_MAX) return LD_OUT_OF_RANGE;

    int rc = create_floating_if_raw(v);
    if (rc != LD_OK) return rc;
    rc = read_digits(&v->Value, digits, negative, count);
    if (rc != LD_OK) return rc;
    v->Exponent = static_cast<int16_t>(exponent);
    v->CurScale = static_cast<int16_t>(-exponent);
    v->Digits = static_cast<int16_t>(count);
    // A declared scale brings the exponent down to minus that scale's worth
    // of digits; the value stays the same.
    if (v->Kind != BN_KIND_FIXED_NUMBER && v->Scale > 0) {
        rc = scale_up(v, v->Scale);
        if (rc != LD_OK) return rc;
    }
    return LD_OK;
}

int NU_SetValueFromDigitString(BN_BigNumber* v, const char* text, int Precision, int Scale,
                               int Exponent) noexcept {
    if (v == nullptr) return LD_NULL_OR_BAD_LENGTH;
    if (!has_storage(v)) {
        const int rc = initialise(v, Precision, Scale, kind_for(Precision));
        if (rc != LD_OK) return rc;
    }
    const int rc = LD_SetValueFromDigitString(v, text, Precision, Scale);
    if (rc != LD_OK) return rc;
    v->Exponent = static_cast<int16_t>(Exponent);
    v->CurScale = static_cast<int16_t>(-Exponent);
    return LD_OK;
}

int NU_ExportValueToString(const BN_BigNumber* v, char* text, int Size, int* Exponent) noexcept {
    const int rc = LD_ExportValueToString(v, text, Size);
    if (rc == LD_OK && Exponent != nullptr) *Exponent = v->Exponent;
    return rc;
}

// ---- floats ----

int NU_SetValueFromFloat(BN_BigNumber* v, int Scale, int Output, double value) noexcept {
    if (v == nullptr) return LD_NULL_OR_BAD_LENGTH;
    int rc = create_floating_if_raw(v);
    if (rc == LD_OK) rc = set_from_float(v, Scale, value);
    if (rc == LD_OK && Output != 0) rc = NU_RangeCheck(v, v->Precision, Scale);
    return rc;
}

int NU_ExportValueToFloat(const BN_BigNumber* v, double* out) noexcept {
    return export_to_float(v, out);
}

// ---- columns ----

int NU_SetValueFromDBSColumn(BN_BigNumber* v, const unsigned char* column, int Precision,
                             int Scale) noexcept {
    if (v == nullptr || column == nullptr) return LD_NULL_OR_BAD_LENGTH;
    const int length = column[NU_COLUMN_LENGTH_OFFSET];
    if (length > NU_COLUMN_MAX_LENGTH) return LD_NULL_OR_BAD_LENGTH;
    int rc = ensure_initialised(v, Precision, Scale, kind_for(Precision));
    if (rc != LD_OK) return rc;
    v->Precision = static_cast<int16_t>(Precision);
    v->Scale = static_cast<int16_t>(Scale);
    v->Kind = kind_for(Precision);
    if (length == 0) {
        mp_int_zero(&v->Value);
        settle(v, 0);
        return LD_OK;
    }
    rc = read_mantissa(&v->Value, column);
    if (rc != LD_OK) return rc;
    int scale = read_exponent_field(column);
    // A fixed type holds whole powers of ten in the integer, at scale 0.
    if (v->Kind == BN_KIND_FIXED_NUMBER && scale < 0) {
        rc = map_result(multiply_by_power(&v->Value, -scale));
        if (rc != LD_OK) return rc;
        scale = 0;
    }
    settle(v, scale);
    return LD_OK;
}

int NU_ExportValueToDBSColumn(const BN_BigNumber* v, unsigned char* column, int* Size) noexcept {
    if (!holds_value(v) || column == nullptr || Size == nullptr) return LD_NULL_OR_BAD_LENGTH;
    mp_int z = integer_of(v);
    if (mp_int_compare_zero(z) == 0) {
        column[NU_COLUMN_LENGTH_OFFSET] = 0;
        *Size = 1;
        return LD_OK;
    }
    const int bytes = mp_int_binary_len(z);
    if (bytes > kMaxMantissaBytes) return LD_TOO_WIDE;
    unsigned char big_endian[kMaxMantissaBytes];
    const mp_result r = mp_int_to_binary(z, big_endian, bytes);
    if (r != MP_RESULT_OK) return map_result(r);
    column[NU_COLUMN_LENGTH_OFFSET] = static_cast<unsigned char>(bytes + 2);
    const int16_t field = v->CurScale;
    std::memcpy(column + NU_COLUMN_EXPONENT_OFFSET, &field, sizeof field);
    unsigned char* mantissa = column + NU_COLUMN_MANTISSA_OFFSET;
    if (little_endian()) {
        for (int i = 0; i < bytes; ++i) mantissa[i] = big_endian[bytes - 1 - i];
    } else {
        std::memcpy(mantissa, big_endian, static_cast<size_t>(bytes));
    }
    *Size = bytes + 3;
    return LD_OK;
}

int NU_ExportMantissaToString(BN_BigNumber* v, const unsigned char* column, char* text, int Size,
                              int* Exponent) noexcept {
    if (v == nullptr || column == nullptr || text == nullptr) return LD_NULL_OR_BAD_LENGTH;
    const int length = column[NU_COLUMN_LENGTH_OFFSET];
    if (length == 0) {
        if (Size < 2) return MP_RESULT_TRUNC;
        text[0] = '0';
        text[1] = '\0';
        if (Exponent != nullptr) *Exponent = 0;
        return LD_OK;
    }
    if (length > NU_COLUMN_MAX_LENGTH) return LD_NULL_OR_BAD_LENGTH;
    // Storage is made once; later calls reuse it.
    int rc = create_floating_if_raw(v);
    if (rc != LD_OK) return rc;
    rc = read_mantissa(&v->Value, column);
    if (rc != LD_OK) return rc;
    const int scale = read_exponent_field(column);
    v->CurScale = static_cast<int16_t>(scale);
    v->Exponent = static_cast<int16_t>(-scale);
    if (Exponent != nullptr) *Exponent = -scale;
    return map_result(mp_int_to_string(&v->Value, 10, text, Size));
}

// ---- arithmetic and comparison; most share the LD_ code ----

int NU_Add(const BN_BigNumber* a, const BN_BigNumber* b, BN_BigNumber* r) noexcept {
    return LD_Add(a, b, r);
}

int NU_Subtract(const BN_BigNumber* a, const BN_BigNumber* b, BN_BigNumber* r) noexcept {
    return LD_Subtract(a, b, r);
}

int NU_Negate(const BN_BigNumber* v, BN_BigNumber* r) noexcept {
    return LD_Negate(v, r);
}

int NU_ScaleUp(BN_BigNumber* v, int n) noexcept {
    return LD_ScaleUp(v, n);
}

int NU_ScaleDown(BN_BigNumber* v, int n) noexcept {
    return LD_ScaleDown(v, n);
}

int NU_Compare(const BN_BigNumber* a, const BN_BigNumber* b) noexcept {
    return LD_Compare(a, b);
}

int NU_CompareToZero(const BN_BigNumber* v) noexcept {
    return LD_CompareToZero(v);
}

int NU_CompareToOne(const BN_BigNumber* v) noexcept {
    return LD_CompareToOne(v);
}

int NU_Divide(const BN_BigNumber* a, const BN_BigNumber* b, BN_BigNumber* r, int Scale) noexcept {
    return LD_Divide(a, b, r, Scale);
}

int NU_Multiply(const BN_BigNumber* a, const BN_BigNumber* b, BN_BigNumber* r, int Scale) noexcept {
    if (!holds_value(a) || !holds_value(b) || r == nullptr) return LD_NULL_OR_BAD_LENGTH;
    const int sum_scale = a->CurScale + b->CurScale;
    const int sum_exponent = a->Exponent + b->Exponent;
    const int digits = a->Digits + b->Digits - 1;
    int rc = ensure_initialised(r, a->Precision, a->Scale, a->Kind);
    if (rc != LD_OK) return rc;
    if (Scale > 0 && Scale != sum_scale) {
        // Multiply into a temporary and bring it to the wanted scale.
        BN_BigNumber t{};
        rc = initialise(&t, a->Precision, a->Scale, a->Kind);
        if (rc != LD_OK) return rc;
        mp_result m = mp_int_mul(integer_of(a), integer_of(b), &t.Value);
        if (m == MP_RESULT_OK) {
            t.CurScale = static_cast<int16_t>(sum_scale);
            t.Exponent = static_cast<int16_t>(sum_exponent);
            t.Digits = static_cast<int16_t>(digits);
            rc = Scale > sum_scale ? scale_up(&t, Scale - sum_scale)
                                   : scale_down(&t, sum_scale - Scale);
            if (rc == LD_OK) {
                rc = map_result(mp_int_copy(&t.Value, &r->Value));
                r->CurScale = t.CurScale;
                r->Exponent = t.Exponent;
                r->Digits = t.Digits;
            }
        } else {
            rc = map_result(m);
        }
        LD_Destroy(&t);
        return rc;
    }
    const mp_result m = mp_int_mul(integer_of(a), integer_of(b), &r->Value);
    if (m != MP_RESULT_OK) return map_result(m);
    r->CurScale = static_cast<int16_t>(sum_scale);
    r->Exponent = static_cast<int16_t>(sum_exponent);
    r->Digits = static_cast<int16_t>(digits);
    return LD_OK;
}

int NU_RangeCheck(const BN_BigNumber* v, int Precision, int Scale) noexcept {
    if (!holds_value(v)) return LD_NULL_OR_BAD_LENGTH;
    if (v->Kind != BN_KIND_FLOATING_NUMBER) return LD_RangeCheck(v, Precision, Scale);
    if (!is_floating_precision(Precision)) return LD_NOT_FLOATING_PRECISION;
    if (Scale < 0 && Scale != -128) return LD_SCALE_NOT_ALLOWED;
    ScopedInt t;
    mp_result m = mp_int_copy(integer_of(v), t.get());
    if (m != MP_RESULT_OK) return map_result(m);
    int exponent = v->Exponent;
    if (Scale > 0) {
        if (Scale - v->CurScale > kMaxScaleStep || v->CurScale - Scale > kMaxScaleStep)
            return LD_SCALE_TOO_FAR;
        m = rescale_integer(t.get(), v->CurScale, Scale);
        if (m != MP_RESULT_OK) return map_result(m);
        exponent = -Scale;
    }
    if (mp_int_unsigned_len(t.get()) > kFloatingMaxBytes) return LD_OUT_OF_RANGE;
    const int digits = digit_count(t.get());
    if (digits > kFloatingMaxDigits) return LD_OUT_OF_RANGE;
    if (exponent + digits - 1 >= kFloatingMaxExponent) return LD_OUT_OF_RANGE;
    return LD_OK;
}
