// mp_int_internal.h - what the mp_int_ sources share: storage growth,
// normalisation and the magnitude kernels (digit arrays, no signs).
#ifndef BU_DECIMAL_MP_INT_INTERNAL_H
#define BU_DECIMAL_MP_INT_INTERNAL_H

#include <cstdlib>
#include <cstring>

#include "mp_int.h"

namespace bu::mp {

constexpr int kDigitBits = 32;

// Grows z's storage to at least n digits, keeping its value. False when
// memory runs out (z is unchanged then).
bool ensure(mp_int z, mp_size n) noexcept;

// Drops leading zero digits; zero keeps one digit and a positive sign.
inline void clamp(mp_int z) noexcept {
    mp_size u = z->used;
    while (u > 1 && z->digits[u - 1] == 0) --u;
    z->used = u;
    if (u == 1 && z->digits[0] == 0) z->sign = MP_SIGN_ZPOS;
}

inline bool is_zero(const mpz_t* z) noexcept {
    return z->used == 1 && z->digits[0] == 0;
}

// Sets z to an unsigned machine value; z must have room for 2 digits.
// A modulus: zero is undefined, a negative one out of range.
inline mp_result check_modulus(const mpz_t* m) noexcept {
    if (is_zero(m)) return MP_RESULT_UNDEF;
    return m->sign == MP_SIGN_NEG ? MP_RESULT_RANGE : MP_RESULT_OK;
}

inline void set_magnitude64(mp_int z, uint64_t v) noexcept {
    z->digits[0] = static_cast<mp_digit>(v);
    z->digits[1] = static_cast<mp_digit>(v >> 32);
    z->used = 2;
    clamp(z);
}

// Compares magnitudes given as digit arrays without leading zero digits.
inline int ucmp(const mp_digit* a, mp_size na, const mp_digit* b, mp_size nb) noexcept {
    if (na != nb) return na < nb ? -1 : 1;
    for (mp_size i = na; i-- > 0;) {
        if (a[i] != b[i]) return a[i] < b[i] ? -1 : 1;
    }
    return 0;
}

// out = a + b with na >= nb; out has room for na + 1 digits and may alias
// a or b. Returns the digit count written (na or na + 1).
inline mp_size uadd(const mp_digit* a, mp_size na, const mp_digit* b, mp_size nb,
                    mp_digit* out) noexcept {
    mp_word carry = 0;
    mp_size i = 0;
    for (; i < nb; ++i) {
        carry += static_cast<mp_word>(a[i]) + b[i];
        out[i] = static_cast<mp_digit>(carry);
        carry >>= 32;
    }
    for (; i < na; ++i) {
        carry += a[i];
        out[i] = static_cast<mp_digit>(carry);
        carry >>= 32;
    }
    if (carry != 0) {
        out[na] = static_cast<mp_digit>(carry);
        return na + 1;
    }
    return na;
}

// out = a - b for a >= b (magnitudes, na >= nb); out may alias a or b.
inline void usub(const mp_digit* a, mp_size na, const mp_digit* b, mp_size nb,
                 mp_digit* out) noexcept {
    mp_word borrow = 0;
    mp_size i = 0;
    for (; i < nb; ++i) {
        mp_word d = static_cast<mp_word>(a[i]) - b[i] - borrow;
        out[i] = static_cast<mp_digit>(d);
        borrow = (d >> 63) & 1;
    }
    for (; i < na; ++i) {
        mp_word d = static_cast<mp_word>(a[i]) - borrow;
        out[i] = static_cast<mp_digit>(d);
        borrow = (d >> 63) & 1;
    }
}

// out[0 .. na + nb) = a * b; out must not overlap a or b.
inline void umul(const mp_digit* a, mp_size na, const mp_digit* b, mp_size nb,
                 mp_digit* out) noexcept {
    std::memset(out, 0, sizeof(mp_digit) * (na + nb));
    for (mp_size i = 0; i < na; ++i) {
        mp_word carry = 0;
        const mp_word ai = a[i];
        if (ai == 0) continue;
        for (mp_size j = 0; j < nb; ++j) {
            carry += ai * b[j] + out[i + j];
            out[i + j] = static_cast<mp_digit>(carry);
            carry >>= 32;
        }
        out[i + nb] = static_cast<mp_digit>(carry);
    }
}

// a[0 .. n) = a * m + add in place; returns the digit carried out.
inline mp_digit umul_add_small(mp_digit* a, mp_size n, mp_digit m, mp_digit add) noexcept {
    mp_word carry = add;
    for (mp_size i = 0; i < n; ++i) {
        carry += static_cast<mp_word>(a[i]) * m;
        a[i] = static_cast<mp_digit>(carry);
        carry >>= 32;
    }
    return static_cast<mp_digit>(carry);
}

// q[0 .. n) = a / d (may alias a); returns the remainder. d != 0.
inline mp_digit udiv_small(const mp_digit* a, mp_size n, mp_digit d, mp_digit* q) noexcept {
    mp_word rem = 0;
    for (mp_size i = n; i-- > 0;) {
        const mp_word cur = (rem << 32) | a[i];
        q[i] = static_cast<mp_digit>(cur / d);
        rem = cur % d;
    }
    return static_cast<mp_digit>(rem);
}

// Working digits for a temporary: on the stack when small, else on the heap.
// Temporaries of values up to kInline digits never allocate.
class ScratchDigits {
  public:
    static constexpr mp_size kInline = 72;
    explicit ScratchDigits(mp_size n) noexcept
        : data_(n <= kInline ? inline_
                             : static_cast<mp_digit*>(std::malloc(sizeof(mp_digit) * n))) {}
    ~ScratchDigits() {
        if (data_ != inline_) std::free(data_);
    }
    ScratchDigits(const ScratchDigits&) = delete;
    ScratchDigits& operator=(const ScratchDigits&) = delete;
    bool ok() const noexcept { return data_ != nullptr; }
    mp_digit* get() noexcept { return data_; }

  private:
    mp_digit inline_[kInline];
    mp_digit* data_;
};

// Magnitude division: q = u / v, r = u % v, both optional. nv >= 1 and
// v[nv - 1] != 0; q needs nu - nv + 1 digits, r nv digits. No aliasing of
// q or r with u or v. False when scratch memory runs out.
bool udivmod(const mp_digit* u, mp_size nu, const mp_digit* v, mp_size nv, mp_digit* q,
             mp_digit* r) noexcept;

// Unsigned value of |z| when it fits 64 bits.
inline bool magnitude_u64(const mpz_t* z, uint64_t* out) noexcept {
    if (z->used > 2) return false;
    uint64_t v = z->digits[0];
    if (z->used == 2) v |= static_cast<uint64_t>(z->digits[1]) << 32;
    *out = v;
    return true;
}

// |v| of a machine value without overflow for the most negative one.
inline uint64_t unsigned_magnitude(mp_small v) noexcept {
    return v < 0 ? 0 - static_cast<uint64_t>(v) : static_cast<uint64_t>(v);
}

// Holds a machine value as a two-digit mp_int without heap storage, to feed
// the *_value functions into the general ones.
struct SmallValue {
    mpz_t z;
    mp_digit buf[2];
    explicit SmallValue(mp_small v) noexcept {
        z.digits = buf;
        z.alloc = 2;
        z.single = 0;
        z.sign = v < 0 ? MP_SIGN_NEG : MP_SIGN_ZPOS;
        set_magnitude64(&z, unsigned_magnitude(v));
    }
    SmallValue(const SmallValue&) = delete;
    SmallValue& operator=(const SmallValue&) = delete;
    mp_int get() noexcept { return &z; }
};

}  // namespace bu::mp

#endif  // BU_DECIMAL_MP_INT_INTERNAL_H
