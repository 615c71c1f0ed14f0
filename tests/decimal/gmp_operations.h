// gmp_operations.h - each group of mp_int_ operations checked against GMP on
// given operands, with the outputs also aliasing the inputs. The
// differential test feeds them shaped random operands, the fuzz target
// operands made from its input.
#ifndef BU_TESTS_DECIMAL_GMP_OPERATIONS_H
#define BU_TESTS_DECIMAL_GMP_OPERATIONS_H

#include <cctype>
#include <climits>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "gmp_oracle.h"

namespace bu::test {

// A value held both ways.
struct Operand {
    Mp z;
    Gz g;
    void set(mpz_srcptr v) {
        mpz_set(g, v);
        from_gmp(v, z);
    }
};

// What disagreed with GMP, one line each; empty when all agreed.
class Verdict {
  public:
    void gives(const std::string& what, mp_result rc, Record* z, mpz_srcptr want) {
        if (rc != MP_OK)
            fail(what + ": result " + std::to_string(rc));
        else
            same(what, z, want);
    }
    void same(const std::string& what, Record* z, mpz_srcptr want) {
        if (bu::test::same(z, want)) return;
        Gz mine, wanted;
        to_gmp(z, mine);
        mpz_set(wanted, want);
        fail(what + ": got " + mine.str() + " (used " + std::to_string(z->used) + ") want " +
             wanted.str());
    }
    void result(const std::string& what, mp_result rc, mp_result want) {
        if (rc != want) fail(what + ": result " + std::to_string(rc));
    }
    void truth(const std::string& what, bool ok) {
        if (!ok) fail(what);
    }
    const std::string& failures() const { return failures_; }

  private:
    void fail(const std::string& line) { failures_ += line + "\n"; }
    std::string failures_;
};

inline int sgn(int v) {
    return (v > 0) - (v < 0);
}

// A machine value from k: often at the limits of mp_small, else small.
inline long smallOf(uint64_t k) {
    switch (k % 4) {
        case 0:
            return LONG_MIN + static_cast<long>((k >> 2) % 2);
        case 1:
            return LONG_MAX - static_cast<long>((k >> 2) % 2);
        default:
            return static_cast<long>((k >> 2) % 2001) - 1000;
    }
}

using Check = void (*)(Operand& a, Operand& b, Operand& m, uint64_t k, Verdict& v);

// Each result into a fresh value, into the first operand, the second, and
// both operands at once.
inline void arithmetic(Operand& a, Operand& b, Operand&, uint64_t, Verdict& v) {
    struct Binary {
        const char* name;
        mp_result (*ours)(mp_int, mp_int, mp_int);
        void (*theirs)(mpz_ptr, mpz_srcptr, mpz_srcptr);
    };
    struct Unary {
        const char* name;
        mp_result (*ours)(mp_int, mp_int);
        void (*theirs)(mpz_ptr, mpz_srcptr);
    };
    static const Binary binary[] = {
        {"add", mp_int_add, mpz_add}, {"sub", mp_int_sub, mpz_sub}, {"mul", mp_int_mul, mpz_mul}};
    static const Unary unary[] = {
        {"neg", mp_int_neg, mpz_neg},
        {"abs", mp_int_abs, mpz_abs},
        {"sqr", mp_int_sqr, [](mpz_ptr r, mpz_srcptr x) { mpz_mul(r, x, x); }}};
    Gz want;
    Mp c, x;
    for (const Binary& op : binary) {
        const std::string name = op.name;
        op.theirs(want, a.g, b.g);
        v.gives(name, op.ours(a.z, b.z, c), c, want);
        mp_int_copy(a.z, x);
        v.gives(name + " into a", op.ours(x, b.z, x), x, want);
        mp_int_copy(b.z, x);
        v.gives(name + " into b", op.ours(a.z, x, x), x, want);
        op.theirs(want, a.g, a.g);
        mp_int_copy(a.z, x);
        v.gives(name + " of a with itself", op.ours(x, x, x), x, want);
    }
    for (const Unary& op : unary) {
        const std::string name = op.name;
        op.theirs(want, a.g);
        v.gives(name, op.ours(a.z, c), c, want);
        mp_int_copy(a.z, x);
        v.gives(name + " in place", op.ours(x, x), x, want);
    }
}

// Truncating division: the remainder has the dividend's sign; mod wants a
// positive divisor.
inline void division(Operand& a, Operand& b, Operand&, uint64_t, Verdict& v) {
    Mp q, r, x, y;
    if (mpz_sgn(b.g) == 0) {
        v.result("div by zero", mp_int_div(a.z, b.z, q, r), MP_UNDEF);
        v.result("mod by zero", mp_int_mod(a.z, b.z, r), MP_UNDEF);
        return;
    }
    Gz wq, wr;
    mpz_tdiv_qr(wq, wr, a.g, b.g);
    v.gives("div", mp_int_div(a.z, b.z, q, r), q, wq);
    v.same("div remainder", r, wr);
    v.gives("div without remainder", mp_int_div(a.z, b.z, q, nullptr), q, wq);
    mp_int_copy(a.z, x);
    mp_int_copy(b.z, y);
    v.gives("div into the operands", mp_int_div(x, y, y, x), y, wq);
    v.same("div remainder into the dividend", x, wr);
    if (mpz_sgn(b.g) < 0) {
        v.result("mod by a negative", mp_int_mod(a.z, b.z, r), MP_RANGE);
        return;
    }
    mpz_mod(wr, a.g, b.g);
    v.gives("mod", mp_int_mod(a.z, b.z, r), r, wr);
    mp_int_copy(b.z, y);
    v.gives("mod into the divisor", mp_int_mod(a.z, y, y), y, wr);
}

inline void machineValues(Operand& a, Operand&, Operand&, uint64_t k, Verdict& v) {
    const long s = smallOf(k);
    Gz gs(s), want, wr;
    Mp c;
    mpz_add(want, a.g, gs);
    v.gives("add_value", mp_int_add_value(a.z, s, c), c, want);
    mpz_sub(want, a.g, gs);
    v.gives("sub_value", mp_int_sub_value(a.z, s, c), c, want);
    mpz_mul(want, a.g, gs);
    v.gives("mul_value", mp_int_mul_value(a.z, s, c), c, want);
    v.truth("compare_value", sgn(mp_int_compare_value(a.z, s)) == sgn(mpz_cmp_si(a.g, s)));
    const unsigned long u = static_cast<unsigned long>((k >> 16) % 3 ? s : LONG_MAX) * 2 + 1;
    v.truth("compare_uvalue", sgn(mp_int_compare_uvalue(a.z, u)) == sgn(mpz_cmp_ui(a.g, u)));
    mp_small out = 0;
    const bool fits = mpz_fits_slong_p(a.g) != 0;
    v.result("to_int", mp_int_to_int(a.z, &out), fits ? MP_OK : MP_RANGE);
    v.truth("to_int value", !fits || out == mpz_get_si(a.g));
    mp_usmall uout = 0;
    const bool ufits = mpz_sgn(a.g) >= 0 && mpz_fits_ulong_p(a.g) != 0;
    v.result("to_uint", mp_int_to_uint(a.z, &uout), ufits ? MP_OK : MP_RANGE);
    v.truth("to_uint value", !ufits || uout == mpz_get_ui(a.g));
    if (s == 0) {
        v.result("div_value by zero", mp_int_div_value(a.z, s, c, nullptr), MP_UNDEF);
        v.truth("divisible_value by zero", mp_int_divisible_value(a.z, s) == 0);
        return;
    }
    mp_small rem = 0;
    mpz_tdiv_qr(want, wr, a.g, gs);
    v.gives("div_value", mp_int_div_value(a.z, s, c, &rem), c, want);
    v.truth("div_value remainder", mpz_cmp_si(wr, rem) == 0);
    v.truth("divisible_value", mp_int_divisible_value(a.z, s) == (mpz_sgn(wr) == 0));
}

// Shifts, like truncating division by powers of two, also in place.
inline void powersOfTwo(Operand& a, Operand&, Operand&, uint64_t k, Verdict& v) {
    const long p = static_cast<long>(k % 200);
    Gz want, wr;
    Mp q, r, x;
    mpz_mul_2exp(want, a.g, static_cast<mp_bitcnt_t>(p));
    v.gives("mul_pow2", mp_int_mul_pow2(a.z, p, q), q, want);
    mp_int_copy(a.z, x);
    v.gives("mul_pow2 in place", mp_int_mul_pow2(x, p, x), x, want);
    mpz_tdiv_q_2exp(want, a.g, static_cast<mp_bitcnt_t>(p));
    mpz_tdiv_r_2exp(wr, a.g, static_cast<mp_bitcnt_t>(p));
    v.gives("div_pow2", mp_int_div_pow2(a.z, p, q, r), q, want);
    v.same("div_pow2 remainder", r, wr);
    mp_int_copy(a.z, x);
    v.gives("div_pow2 quotient in place", mp_int_div_pow2(x, p, x, r), x, want);
    v.same("its remainder", r, wr);
    mp_int_copy(a.z, x);
    v.gives("div_pow2 remainder in place", mp_int_div_pow2(x, p, q, x), q, want);
    v.same("the remainder in place", x, wr);
    const int bits = mpz_sgn(a.g) == 0 ? 1 : static_cast<int>(mpz_sizeinbase(a.g, 2));
    v.truth("count_bits", mp_int_count_bits(a.z) == bits);
    const int pow2 = mpz_sgn(a.g) > 0 && mpz_popcount(a.g) == 1 ? bits - 1 : -1;
    v.truth("is_pow2", mp_int_is_pow2(a.z) == pow2);
}

inline void comparisons(Operand& a, Operand& b, Operand&, uint64_t, Verdict& v) {
    v.truth("compare", sgn(mp_int_compare(a.z, b.z)) == sgn(mpz_cmp(a.g, b.g)));
    v.truth("compare_unsigned",
            sgn(mp_int_compare_unsigned(a.z, b.z)) == sgn(mpz_cmpabs(a.g, b.g)));
    v.truth("compare_zero", sgn(mp_int_compare_zero(a.z)) == mpz_sgn(a.g));
    Mp x;
    mp_int_copy(a.z, x);
    v.truth("compare with a copy", mp_int_compare(a.z, x) == 0);
    mp_int_neg(x, x);
    v.truth("compare_unsigned with the negated copy", mp_int_compare_unsigned(a.z, x) == 0);
}

inline void powers(Operand& a, Operand&, Operand&, uint64_t k, Verdict& v) {
    const long e = static_cast<long>(k % 40);
    Gz want;
    Mp c, be(e);
    mpz_pow_ui(want, a.g, static_cast<unsigned long>(e));
    v.gives("expt", mp_int_expt(a.z, e, c), c, want);
    v.gives("expt_full", mp_int_expt_full(a.z, be, c), c, want);
    const long base = smallOf(k >> 6) % 1000;
    Gz gbase(base);
    mpz_pow_ui(want, gbase, static_cast<unsigned long>(e));
    v.gives("expt_value", mp_int_expt_value(base, e, c), c, want);
}

// Text in a radix from k: exactly enough room, then one byte short; read
// back in either case of letters.
inline void text(Operand& a, Operand&, Operand&, uint64_t k, Verdict& v) {
    const mp_size radix = 2 + static_cast<mp_size>(k % 35);
    const std::string want = a.g.str(static_cast<int>(radix));
    const int exact = static_cast<int>(want.size()) + 1;
    v.truth("string_len", mp_int_string_len(a.z, radix) >= exact);
    std::vector<char> out(static_cast<size_t>(exact));
    v.result("to_string", mp_int_to_string(a.z, radix, out.data(), exact), MP_OK);
    v.truth("to_string gives " + want, want == out.data());
    v.result("to_string a byte short", mp_int_to_string(a.z, radix, out.data(), exact - 1),
             MP_TRUNC);
    std::string upper = want;
    for (char& ch : upper) ch = static_cast<char>(std::toupper(static_cast<unsigned char>(ch)));
    Mp b;
    v.gives("read_string of " + want,
            mp_int_read_string(b, radix, ((k >> 8) % 2 ? upper : want).c_str()), b, a.g);
}

// Big-endian two's complement in the fewest bytes that keep the sign, and
// magnitudes; each read back.
inline void binary(Operand& a, Operand&, Operand&, uint64_t, Verdict& v) {
    const int len = mp_int_binary_len(a.z);
    Gz wrap(1), wrapped;
    mpz_mul_2exp(wrap, wrap, static_cast<mp_bitcnt_t>(8 * len));
    mpz_mod(wrapped, a.g, wrap);
    std::vector<unsigned char> want(static_cast<size_t>(len)), raw(want.size() + 8);
    size_t count = 0;
    mpz_export(raw.data(), &count, 1, 1, 1, 0, wrapped);
    std::memcpy(want.data() + (want.size() - count), raw.data(), count);
    v.truth("binary_len keeps the sign", len > 0 && ((want[0] & 0x80) != 0) == (mpz_sgn(a.g) < 0));
    std::vector<unsigned char> out(want.size());
    v.result("to_binary", mp_int_to_binary(a.z, out.data(), len), MP_OK);
    v.truth("to_binary bytes", out == want);
    if (len > 1)
        v.result("to_binary a byte short", mp_int_to_binary(a.z, out.data(), len - 1), MP_TRUNC);
    const std::vector<unsigned char> kept = want;
    Mp b;
    v.gives("read_binary", mp_int_read_binary(b, want.data(), len), b, a.g);
    v.truth("read_binary leaves its input", want == kept);
    Gz magnitude;
    mpz_abs(magnitude, a.g);
    const int ulen = mp_int_unsigned_len(a.z);
    std::vector<unsigned char> bytes(static_cast<size_t>(ulen));
    v.result("to_unsigned", mp_int_to_unsigned(a.z, bytes.data(), ulen), MP_OK);
    v.gives("read_unsigned", mp_int_read_unsigned(b, bytes.data(), ulen), b, magnitude);
}

// Modular powers and inverses by |m|, gcd, Bezout and lcm with |b|.
inline void numberTheory(Operand& a, Operand& signed_b, Operand& signed_m, uint64_t k, Verdict& v) {
    Operand b, m;
    Gz t, want, wx, wy;
    mpz_abs(t, signed_b.g);
    b.set(t);
    mpz_abs(t, signed_m.g);
    m.set(t);
    Mp c, x, y, mu;
    if (mpz_sgn(m.g) == 0) {
        v.result("exptmod by zero", mp_int_exptmod(a.z, b.z, m.z, c), MP_UNDEF);
        v.result("invmod by zero", mp_int_invmod(a.z, m.z, c), MP_RANGE);
    } else {
        mpz_powm(want, a.g, b.g, m.g);
        v.gives("exptmod", mp_int_exptmod(a.z, b.z, m.z, c), c, want);
        Gz wmu, power(1);
        mpz_mul_2exp(power, power, 64 * m.z->used);
        mpz_fdiv_q(wmu, power, m.g);
        v.gives("redux_const", mp_int_redux_const(m.z, mu), mu, wmu);
        v.gives("exptmod_known", mp_int_exptmod_known(a.z, b.z, m.z, mu, c), c, want);
        const long ev = static_cast<long>(k % 1000);
        mpz_powm_ui(want, a.g, static_cast<unsigned long>(ev), m.g);
        v.gives("exptmod_evalue", mp_int_exptmod_evalue(a.z, ev, m.z, c), c, want);
        Gz gbase(ev);
        mpz_powm(want, gbase, b.g, m.g);
        v.gives("exptmod_bvalue", mp_int_exptmod_bvalue(ev, b.z, m.z, c), c, want);
        if (mpz_invert(want, a.g, m.g) != 0)
            v.gives("invmod", mp_int_invmod(a.z, m.z, c), c, want);
        else
            v.result("invmod without inverse", mp_int_invmod(a.z, m.z, c), MP_UNDEF);
    }
    if (mpz_sgn(a.g) == 0 && mpz_sgn(b.g) == 0) {
        v.result("gcd of zeros", mp_int_gcd(a.z, b.z, c), MP_UNDEF);
        v.result("lcm of zeros", mp_int_lcm(a.z, b.z, c), MP_UNDEF);
        v.result("egcd of zeros", mp_int_egcd(a.z, b.z, c, x, y), MP_UNDEF);
        return;
    }
    mpz_gcd(want, a.g, b.g);
    v.gives("gcd", mp_int_gcd(a.z, b.z, c), c, want);
    v.gives("egcd", mp_int_egcd(a.z, b.z, c, x, y), c, want);
    to_gmp(x, wx);
    to_gmp(y, wy);
    mpz_mul(wx, wx, a.g);
    mpz_addmul(wx, wy, b.g);
    v.truth("egcd cofactors: x a + y b is the gcd", mpz_cmp(wx, want) == 0);
    // (a / gcd(a, b)) * b: the sign is that of the product.
    mpz_divexact(want, a.g, want);
    mpz_mul(want, want, b.g);
    v.gives("lcm", mp_int_lcm(a.z, b.z, c), c, want);
}

inline void roots(Operand& a, Operand&, Operand&, uint64_t k, Verdict& v) {
    const long n = 1 + static_cast<long>(k % 7);
    Mp c;
    if (mpz_sgn(a.g) < 0 && n % 2 == 0) {
        v.result("even root of a negative", mp_int_root(a.z, n, c), MP_UNDEF);
        return;
    }
    Gz want;
    mpz_root(want, a.g, static_cast<unsigned long>(n));
    v.gives("root " + std::to_string(n), mp_int_root(a.z, n, c), c, want);
}

struct Operation {
    const char* name;
    Check check;
};

inline constexpr Operation kOperations[] = {
    {"arithmetic", arithmetic},
    {"division", division},
    {"machine values", machineValues},
    {"powers of two", powersOfTwo},
    {"comparisons", comparisons},
    {"powers", powers},
    {"text", text},
    {"binary", binary},
    {"number theory", numberTheory},
    {"roots", roots},
};

}  // namespace bu::test

#endif  // BU_TESTS_DECIMAL_GMP_OPERATIONS_H
