// gmp_oracle.h - conversions between our mp_int values and GMP integers,
// which serve the tests as the reference.
#ifndef BU_TESTS_DECIMAL_GMP_ORACLE_H
#define BU_TESTS_DECIMAL_GMP_ORACLE_H

#include <gmp.h>

// Our record is also named mpz_t; here it goes by its struct name.
#define mpz_t bu_mp_int_record_t
#include "mp_int.h"
#undef mpz_t

#include <string>

namespace bu::test {

using Record = struct mp_int_record;

// An mp_int that initialises and clears itself.
class Mp {
  public:
    Mp() { mp_int_init(&z_); }
    explicit Mp(long v) { mp_int_init_value(&z_, v); }
    ~Mp() { mp_int_clear(&z_); }
    Mp(const Mp&) = delete;
    Mp& operator=(const Mp&) = delete;
    mp_int operator->() { return &z_; }
    operator mp_int() { return &z_; }

  private:
    Record z_;
};

// A GMP integer that initialises and clears itself.
class Gz {
  public:
    Gz() { mpz_init(v_); }
    explicit Gz(long v) { mpz_init_set_si(v_, v); }
    ~Gz() { mpz_clear(v_); }
    Gz(const Gz&) = delete;
    Gz& operator=(const Gz&) = delete;
    mpz_ptr operator->() { return v_; }  // the mpz_sgn macros reach inside
    operator mpz_ptr() { return v_; }
    std::string str(int base = 10) const {
        char* s = mpz_get_str(nullptr, base, v_);
        std::string out(s);
        void (*release)(void*, size_t);
        mp_get_memory_functions(nullptr, nullptr, &release);
        release(s, out.size() + 1);
        return out;
    }

  private:
    mpz_t v_;
};

// Builds the GMP value from the digits of z directly, without our text code.
inline void to_gmp(const Record* z, mpz_ptr out) {
    mpz_import(out, z->used, -1, sizeof(mp_digit), 0, 0, z->digits);
    if (z->sign == MP_SIGN_NEG) mpz_neg(out, out);
}

// Sets z from a GMP value through our binary reader of magnitudes.
inline void from_gmp(mpz_srcptr v, mp_int z) {
    size_t count = 0;
    unsigned char* bytes = static_cast<unsigned char*>(mpz_export(nullptr, &count, 1, 1, 1, 0, v));
    mp_int_read_unsigned(z, bytes, static_cast<int>(count));
    if (mpz_sgn(v) < 0) mp_int_neg(z, z);
    void (*release)(void*, size_t);
    mp_get_memory_functions(nullptr, nullptr, &release);
    if (bytes != nullptr) release(bytes, count);
}

// True when z holds a well-formed value equal to v: no leading zero digit,
// zero positive, used within alloc.
inline bool same(const Record* z, mpz_srcptr v) {
    if (z->used == 0 || z->used > z->alloc) return false;
    if (z->used > 1 && z->digits[z->used - 1] == 0) return false;
    if (z->used == 1 && z->digits[0] == 0 && z->sign != MP_SIGN_ZPOS) return false;
    mpz_t mine;
    mpz_init(mine);
    to_gmp(z, mine);
    const bool eq = mpz_cmp(mine, v) == 0;
    mpz_clear(mine);
    return eq;
}

}  // namespace bu::test

#endif  // BU_TESTS_DECIMAL_GMP_ORACLE_H
