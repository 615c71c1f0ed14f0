// decimal_support.h - what the LD_ and NU_ sources share: the power tables,
// value set-up, result mapping, digit counts and rescaling of integers.
#ifndef BU_DECIMAL_DECIMAL_SUPPORT_H
#define BU_DECIMAL_DECIMAL_SUPPORT_H

#include "ld_nu.h"

namespace bu::dec {

// Powers of ten as integers reach this exponent; beyond it they are built
// when needed.
constexpr int kMaxTablePower = 127;
// Scaling moves at most this many digits at once.
constexpr int kMaxScaleStep = 40;
// Digits a large decimal holds, and a NUMBER read from text.
constexpr int kMaxLargeDecimalDigits = 38;
constexpr int kMaxTextDigits = 40;

// The integer tables, built once on first need: 10^n, and the half units
// +5 * 10^(n-1) and -5 * 10^(n-1) used for rounding (n >= 1). Null entries
// mean the tables couldn't be built (no memory).
mp_int power_of_ten(int n) noexcept;
mp_int half_unit(int n, bool negative) noexcept;

// Doubles: 10^0 .. 10^125 and 10^-0 .. 10^-130.
constexpr int kMaxDoublePower = 125;
constexpr int kMaxDoubleReciprocal = 130;
extern const double kDoublePowers[kMaxDoublePower + 1];
extern const double kDoubleReciprocals[kMaxDoubleReciprocal + 1];

// True on a little-endian machine; tested once per process.
bool little_endian() noexcept;

// An integer temporary that clears itself.
class ScopedInt {
  public:
    ScopedInt() noexcept { mp_int_init(&z_); }
    ~ScopedInt() { mp_int_clear(&z_); }
    ScopedInt(const ScopedInt&) = delete;
    ScopedInt& operator=(const ScopedInt&) = delete;
    mp_int get() noexcept { return &z_; }

  private:
    mpz_t z_;
};

// Integer-layer results -2 to -6 pass; anything else negative becomes -7.
inline int map_result(mp_result r) noexcept {
    if (r == MP_RESULT_OK) return LD_OK;
    if (r <= MP_RESULT_MEMORY && r >= MP_RESULT_BADARG) return r;
    return LD_INTEGER_FAILURE;
}

inline bool has_storage(const BN_BigNumber* v) noexcept {
    return v->State == BN_STATE_CREATED || v->State == BN_STATE_INITIALIZED;
}

// A value that can be read: a record whose integer has storage. Raw memory
// has no integer to read and counts as a null record.
inline bool holds_value(const BN_BigNumber* v) noexcept {
    return v != nullptr && has_storage(v);
}

// The value's integer for the integer layer, which takes no const.
inline mp_int integer_of(const BN_BigNumber* v) noexcept {
    return const_cast<mp_int>(&v->Value);
}

// Sets up v with room for 16 digits and the declared attributes; keeps
// State 1 of a created value.
int initialise(BN_BigNumber* v, int Precision, int Scale, uint32_t kind) noexcept;

// A value on the heap, State 1: the body of LD_Create and NU_Create.
int create_value(int Precision, int Scale, uint32_t kind, BN_BigNumber** Out) noexcept;

// Initialises v unless it already holds storage.
inline int ensure_initialised(BN_BigNumber* v, int Precision, int Scale, uint32_t kind) noexcept {
    return has_storage(v) ? LD_OK : initialise(v, Precision, Scale, kind);
}

// Decimal digits of |z|; 1 for zero.
int digit_count(mp_int z) noexcept;

// z *= 10^n, n >= 0, without the limit of the public scaling.
mp_result multiply_by_power(mp_int z, int n) noexcept;
// z = z / 10^n rounded half away from zero, n >= 0.
mp_result divide_by_power_rounded(mp_int z, int n) noexcept;
// Brings z from scale `from` to scale `to` (rounding when going down).
mp_result rescale_integer(mp_int z, int from, int to) noexcept;

// The LD_ scaling rules on a value, shared by the NU_ aliases.
int scale_up(BN_BigNumber* v, int n) noexcept;
int scale_down(BN_BigNumber* v, int n) noexcept;

// Copies value and attributes; To is initialised first when it has none.
int copy_value(BN_BigNumber* To, const BN_BigNumber* From) noexcept;

// Reads `count` decimal digits (at most kMaxTextDigits) into z, negated
// when `negative`.
int read_digits(mp_int z, const char* digits, bool negative, int count) noexcept;

inline bool is_digit(char c) noexcept {
    return c >= '0' && c <= '9';
}

// A number's text: a digit run, then optionally a point and a second run.
struct DigitRuns {
    const char* int_part;
    int int_len;
    const char* frac_part;
    int frac_len;
};

// Scans the runs from p and returns where they end.
inline const char* scan_digit_runs(const char* p, DigitRuns* runs) noexcept {
    runs->int_part = p;
    while (is_digit(*p)) ++p;
    runs->int_len = static_cast<int>(p - runs->int_part);
    runs->frac_part = p;
    runs->frac_len = 0;
    if (*p == '.') {
        runs->frac_part = ++p;
        while (is_digit(*p)) ++p;
        runs->frac_len = static_cast<int>(p - runs->frac_part);
    }
    return p;
}

// Sets v (already initialised) from a double: the shared body of LD_ and
// NU_SetValueFromFloat.
int set_from_float(BN_BigNumber* v, int Scale, double value) noexcept;
int export_to_float(const BN_BigNumber* v, double* out) noexcept;

}  // namespace bu::dec

#endif  // BU_DECIMAL_DECIMAL_SUPPORT_H
