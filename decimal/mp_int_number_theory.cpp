// mp_int_number_theory.cpp - modular powers and inverses, gcd, lcm and roots.
// None of these is on the row path, so they stand on GMP: operands are
// converted in and out, and the GMP temporaries live for one call.
#include <gmp.h>

// Our record is also called mpz_t; inside this file it goes by its struct
// name so that GMP's mpz_t keeps its meaning.
#define mpz_t bu_mp_int_record_t
#include "mp_int_internal.h"
#undef mpz_t

using namespace bu::mp;
using Record = struct mp_int_record;

namespace {

// A GMP integer that clears itself.
class Gmp {
  public:
    Gmp() { mpz_init(v_); }
    ~Gmp() { mpz_clear(v_); }
    Gmp(const Gmp&) = delete;
    Gmp& operator=(const Gmp&) = delete;
    mpz_ptr get() { return v_; }

  private:
    mpz_t v_;
};

void to_gmp(const Record* z, mpz_ptr out) {
    mpz_import(out, z->used, -1, sizeof(mp_digit), 0, 0, z->digits);
    if (z->sign == MP_SIGN_NEG) mpz_neg(out, out);
}

mp_result from_gmp(mpz_srcptr v, mp_int z) {
    const size_t bits = mpz_sizeinbase(v, 2);
    const size_t n = (bits + 31) / 32;
    if (n > 0x7FFFFFFFu) return MP_RESULT_MEMORY;
    if (!ensure(z, static_cast<mp_size>(n == 0 ? 1 : n))) return MP_RESULT_MEMORY;
    size_t count = 0;
    z->digits[0] = 0;
    mpz_export(z->digits, &count, -1, sizeof(mp_digit), 0, 0, v);
    z->used = count == 0 ? 1 : static_cast<mp_size>(count);
    z->sign = mpz_sgn(v) < 0 ? MP_SIGN_NEG : MP_SIGN_ZPOS;
    clamp(z);
    return MP_RESULT_OK;
}

}  // namespace

mp_result mp_int_exptmod(mp_int a, mp_int b, mp_int m, mp_int c) noexcept {
    if (a == nullptr || b == nullptr || m == nullptr || c == nullptr) return MP_RESULT_BADARG;
    mp_result res = check_modulus(m);
    if (res != MP_RESULT_OK) return res;
    if (b->sign == MP_SIGN_NEG) return MP_RESULT_RANGE;
    Gmp ga, gb, gm, gc;
    to_gmp(a, ga.get());
    to_gmp(b, gb.get());
    to_gmp(m, gm.get());
    mpz_powm(gc.get(), ga.get(), gb.get(), gm.get());
    return from_gmp(gc.get(), c);
}

mp_result mp_int_exptmod_evalue(mp_int a, mp_small value, mp_int m, mp_int c) noexcept {
    SmallValue e(value);
    return mp_int_exptmod(a, e.get(), m, c);
}

mp_result mp_int_exptmod_bvalue(mp_small value, mp_int b, mp_int m, mp_int c) noexcept {
    SmallValue base(value);
    return mp_int_exptmod(base.get(), b, m, c);
}

mp_result mp_int_exptmod_known(mp_int a, mp_int b, mp_int m, mp_int mu, mp_int c) noexcept {
    // The reduction constant only speeds up reduction; GMP has its own.
    if (mu == nullptr) return MP_RESULT_BADARG;
    return mp_int_exptmod(a, b, m, c);
}

mp_result mp_int_redux_const(mp_int m, mp_int c) noexcept {
    if (m == nullptr || c == nullptr) return MP_RESULT_BADARG;
    if (is_zero(m)) return MP_RESULT_UNDEF;
    Record power;
    mp_int_init_value(&power, 1);
    mp_result res = mp_int_mul_pow2(&power, static_cast<mp_small>(m->used) * 64, &power);
    if (res == MP_RESULT_OK) res = mp_int_div(&power, m, c, nullptr);
    mp_int_clear(&power);
    return res;
}

mp_result mp_int_invmod(mp_int a, mp_int m, mp_int c) noexcept {
    if (a == nullptr || m == nullptr || c == nullptr) return MP_RESULT_BADARG;
    if (is_zero(m) || m->sign == MP_SIGN_NEG) return MP_RESULT_RANGE;
    Gmp ga, gm, gc;
    to_gmp(a, ga.get());
    to_gmp(m, gm.get());
    if (mpz_invert(gc.get(), ga.get(), gm.get()) == 0) return MP_RESULT_UNDEF;
    return from_gmp(gc.get(), c);
}

namespace {

// gcd and lcm: undefined when both operands are zero.
mp_result gcd_or_lcm(mp_int a, mp_int b, mp_int c,
                     void (*op)(mpz_ptr, mpz_srcptr, mpz_srcptr)) noexcept {
    if (a == nullptr || b == nullptr || c == nullptr) return MP_RESULT_BADARG;
    if (is_zero(a) && is_zero(b)) return MP_RESULT_UNDEF;
    Gmp ga, gb, gc;
    to_gmp(a, ga.get());
    to_gmp(b, gb.get());
    op(gc.get(), ga.get(), gb.get());
    return from_gmp(gc.get(), c);
}

// (a / gcd(a, b)) * b: the sign is that of a times b, not GMP's non-negative
// lcm.
void signed_lcm(mpz_ptr c, mpz_srcptr a, mpz_srcptr b) {
    mpz_lcm(c, a, b);
    if (mpz_sgn(a) * mpz_sgn(b) < 0) mpz_neg(c, c);
}

}  // namespace

mp_result mp_int_gcd(mp_int a, mp_int b, mp_int c) noexcept {
    return gcd_or_lcm(a, b, c, mpz_gcd);
}

mp_result mp_int_egcd(mp_int a, mp_int b, mp_int c, mp_int x, mp_int y) noexcept {
    if (a == nullptr || b == nullptr || c == nullptr) return MP_RESULT_BADARG;
    if (is_zero(a) && is_zero(b)) return MP_RESULT_UNDEF;
    Gmp ga, gb, gc, gx, gy;
    to_gmp(a, ga.get());
    to_gmp(b, gb.get());
    mpz_gcdext(gc.get(), gx.get(), gy.get(), ga.get(), gb.get());
    mp_result res = from_gmp(gc.get(), c);
    if (res == MP_RESULT_OK && x != nullptr) res = from_gmp(gx.get(), x);
    if (res == MP_RESULT_OK && y != nullptr) res = from_gmp(gy.get(), y);
    return res;
}

mp_result mp_int_lcm(mp_int a, mp_int b, mp_int c) noexcept {
    return gcd_or_lcm(a, b, c, signed_lcm);
}

mp_result mp_int_root(mp_int a, mp_small b, mp_int c) noexcept {
    if (a == nullptr || c == nullptr) return MP_RESULT_BADARG;
    if (b <= 0) return MP_RESULT_RANGE;
    if (a->sign == MP_SIGN_NEG && !is_zero(a) && b % 2 == 0) return MP_RESULT_UNDEF;
    Gmp ga, gc;
    to_gmp(a, ga.get());
    mpz_root(gc.get(), ga.get(), static_cast<unsigned long>(b));
    return from_gmp(gc.get(), c);
}
