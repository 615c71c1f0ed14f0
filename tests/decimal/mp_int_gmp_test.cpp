// Differential tests: every mp_int_ operation against GMP on random and
// edge operands (zero, one digit, carries across digits, negatives).
#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "gmp_oracle.h"

namespace {

using bu::test::Gz;
using bu::test::Mp;
using bu::test::Record;

// Operands shaped to reach the places where carries and borrows go wrong.
class Operands {
  public:
    explicit Operands(uint64_t seed) : rng_(seed) {}

    void next(mpz_ptr out, int max_digits = 12) {
        std::vector<uint32_t> d(1 + rng_() % max_digits);
        switch (rng_() % 7) {
            case 0:
                d.assign(1, 0);
                break;
            case 1:
                d.assign(1, static_cast<uint32_t>(rng_() % 1000));
                break;
            case 2:  // all ones: every addition carries through
                for (auto& x : d) x = 0xFFFFFFFFu;
                break;
            case 3:  // a power of two, often plus or minus one below
                for (auto& x : d) x = 0;
                d.back() = 1u << (rng_() % 32);
                if (rng_() % 2) d[0] |= 1;
                break;
            case 4:  // a top digit of one bit: division normalises hardest
                for (auto& x : d) x = static_cast<uint32_t>(rng_());
                d.back() = rng_() % 2 ? 0x80000000u : 1u;
                break;
            default:
                for (auto& x : d) x = static_cast<uint32_t>(rng_());
        }
        mpz_import(out, d.size(), -1, sizeof(uint32_t), 0, 0, d.data());
        if (rng_() % 3 == 0) mpz_neg(out, out);
    }

    long small() {
        switch (rng_() % 4) {
            case 0:
                return LONG_MIN + static_cast<long>(rng_() % 2);
            case 1:
                return LONG_MAX - static_cast<long>(rng_() % 2);
            default:
                return static_cast<long>(rng_() % 2001) - 1000;
        }
    }

    uint64_t raw() { return rng_(); }

  private:
    std::mt19937_64 rng_;
};

::testing::AssertionResult Same(Record* z, mpz_ptr v) {
    if (bu::test::same(z, v)) return ::testing::AssertionSuccess();
    Gz mine;
    bu::test::to_gmp(z, mine.get());
    Gz want;
    mpz_set(want.get(), v);
    return ::testing::AssertionFailure() << "got " << mine.str() << " (used " << z->used
                                         << ", sign " << int(z->sign) << ") want " << want.str();
}

// A call that must succeed and leave `want` in z.
::testing::AssertionResult Gives(mp_result result, Record* z, mpz_ptr want) {
    if (result != MP_OK) return ::testing::AssertionFailure() << "result " << result;
    return Same(z, want);
}

constexpr int kRounds = 1500;

// Each operation also with its output as an operand: the first, the second,
// both at once.
TEST(MpIntVersusGmp, AddSubMulNegAbsSqrMatchIncludingAliasedOutputs) {
    using Binary =
        std::pair<mp_result (*)(mp_int, mp_int, mp_int), void (*)(mpz_ptr, mpz_srcptr, mpz_srcptr)>;
    using Unary = std::pair<mp_result (*)(mp_int, mp_int), void (*)(mpz_ptr, mpz_srcptr)>;
    const Binary binary[] = {{mp_int_add, mpz_add}, {mp_int_sub, mpz_sub}, {mp_int_mul, mpz_mul}};
    const Unary unary[] = {{mp_int_neg, mpz_neg},
                           {mp_int_abs, mpz_abs},
                           {mp_int_sqr, [](mpz_ptr r, mpz_srcptr a) { mpz_mul(r, a, a); }}};
    Operands gen(1);
    for (int i = 0; i < kRounds; ++i) {
        Gz ga, gb, want;
        gen.next(ga.get());
        gen.next(gb.get());
        Mp a, b, c, x;
        bu::test::from_gmp(ga.get(), a.get());
        bu::test::from_gmp(gb.get(), b.get());
        for (const auto& [ours, theirs] : binary) {
            theirs(want.get(), ga.get(), gb.get());
            ASSERT_TRUE(Gives(ours(a.get(), b.get(), c.get()), c.get(), want.get()));
            mp_int_copy(a.get(), x.get());
            ASSERT_TRUE(Gives(ours(x.get(), b.get(), x.get()), x.get(), want.get()));
            mp_int_copy(b.get(), x.get());
            ASSERT_TRUE(Gives(ours(a.get(), x.get(), x.get()), x.get(), want.get()));
            theirs(want.get(), ga.get(), ga.get());
            mp_int_copy(a.get(), x.get());
            ASSERT_TRUE(Gives(ours(x.get(), x.get(), x.get()), x.get(), want.get()));
        }
        for (const auto& [ours, theirs] : unary) {
            theirs(want.get(), ga.get());
            ASSERT_TRUE(Gives(ours(a.get(), c.get()), c.get(), want.get()));
            mp_int_copy(a.get(), x.get());
            ASSERT_TRUE(Gives(ours(x.get(), x.get()), x.get(), want.get()));
        }
    }
}

TEST(MpIntVersusGmp, DivisionTruncatesTowardZeroWithDividendSignedRemainder) {
    Operands gen(2);
    for (int i = 0; i < kRounds; ++i) {
        Gz ga, gb, wq, wr;
        gen.next(ga.get(), 16);
        gen.next(gb.get(), 8);
        Mp a, b, q, r;
        bu::test::from_gmp(ga.get(), a.get());
        bu::test::from_gmp(gb.get(), b.get());
        if (mpz_sgn(gb.get()) == 0) {
            EXPECT_EQ(mp_int_div(a.get(), b.get(), q.get(), r.get()), MP_UNDEF);
            EXPECT_EQ(mp_int_mod(a.get(), b.get(), r.get()), MP_UNDEF);
            continue;
        }
        mpz_tdiv_qr(wq.get(), wr.get(), ga.get(), gb.get());
        ASSERT_TRUE(Gives(mp_int_div(a.get(), b.get(), q.get(), r.get()), q.get(), wq.get()))
            << ga.str() << " / " << gb.str();
        ASSERT_TRUE(Same(r.get(), wr.get())) << ga.str() << " % " << gb.str();
        // Null remainder, and outputs aliasing the operands.
        ASSERT_TRUE(Gives(mp_int_div(a.get(), b.get(), q.get(), nullptr), q.get(), wq.get()));
        Mp x, y;
        mp_int_copy(a.get(), x.get());
        mp_int_copy(b.get(), y.get());
        ASSERT_TRUE(Gives(mp_int_div(x.get(), y.get(), y.get(), x.get()), y.get(), wq.get()));
        ASSERT_TRUE(Same(x.get(), wr.get()));

        if (mpz_sgn(gb.get()) < 0) {
            EXPECT_EQ(mp_int_mod(a.get(), b.get(), r.get()), MP_RANGE);
            continue;
        }
        mpz_mod(wr.get(), ga.get(), gb.get());
        ASSERT_TRUE(Gives(mp_int_mod(a.get(), b.get(), r.get()), r.get(), wr.get()))
            << ga.str() << " mod " << gb.str();
        mp_int_copy(b.get(), y.get());
        ASSERT_TRUE(Gives(mp_int_mod(a.get(), y.get(), y.get()), y.get(), wr.get()));
    }
}

TEST(MpIntVersusGmp, DivisionWhoseFirstQuotientEstimateOvershoots) {
    // Operands for which the estimated quotient digit survives its test
    // and is still one too large: the divisor must be added back.
    const uint32_t u_digits[] = {0, 0, 0x80000000u, 0x7FFFFFFFu};
    const uint32_t v_digits[] = {1, 0, 0x80000000u};
    Gz gu, gv, wq, wr;
    mpz_import(gu.get(), 4, -1, 4, 0, 0, u_digits);
    mpz_import(gv.get(), 3, -1, 4, 0, 0, v_digits);
    mpz_tdiv_qr(wq.get(), wr.get(), gu.get(), gv.get());
    Mp u, v, q, r;
    bu::test::from_gmp(gu.get(), u.get());
    bu::test::from_gmp(gv.get(), v.get());
    ASSERT_EQ(mp_int_div(u.get(), v.get(), q.get(), r.get()), MP_OK);
    EXPECT_TRUE(Same(q.get(), wq.get()));
    EXPECT_TRUE(Same(r.get(), wr.get()));
}

TEST(MpIntVersusGmp, MachineValueOperationsMatch) {
    Operands gen(3);
    for (int i = 0; i < kRounds; ++i) {
        Gz ga, gv, want, wr;
        gen.next(ga.get());
        const long v = gen.small();
        mpz_set_si(gv.get(), v);
        Mp a, c;
        bu::test::from_gmp(ga.get(), a.get());

        mpz_add(want.get(), ga.get(), gv.get());
        ASSERT_TRUE(Gives(mp_int_add_value(a.get(), v, c.get()), c.get(), want.get()));
        mpz_sub(want.get(), ga.get(), gv.get());
        ASSERT_TRUE(Gives(mp_int_sub_value(a.get(), v, c.get()), c.get(), want.get()));
        mpz_mul(want.get(), ga.get(), gv.get());
        ASSERT_TRUE(Gives(mp_int_mul_value(a.get(), v, c.get()), c.get(), want.get()));

        const int cmp = mpz_cmp_si(ga.get(), v);
        const int mine = mp_int_compare_value(a.get(), v);
        EXPECT_EQ((cmp > 0) - (cmp < 0), (mine > 0) - (mine < 0));
        const unsigned long uv = static_cast<unsigned long>(gen.raw() % 3 ? v : LONG_MAX) * 2 + 1;
        const int ucmp = mpz_cmp_ui(ga.get(), uv);
        const int umine = mp_int_compare_uvalue(a.get(), uv);
        EXPECT_EQ((ucmp > 0) - (ucmp < 0), (umine > 0) - (umine < 0));

        if (v == 0) {
            EXPECT_EQ(mp_int_div_value(a.get(), v, c.get(), nullptr), MP_UNDEF);
            EXPECT_EQ(mp_int_divisible_value(a.get(), v), 0);
            continue;
        }
        mp_small rem = 0;
        mpz_tdiv_qr(want.get(), wr.get(), ga.get(), gv.get());
        ASSERT_TRUE(Gives(mp_int_div_value(a.get(), v, c.get(), &rem), c.get(), want.get()));
        EXPECT_EQ(rem, mpz_get_si(wr.get()));
        EXPECT_EQ(mp_int_divisible_value(a.get(), v), mpz_sgn(wr.get()) == 0 ? 1 : 0);
    }
}

TEST(MpIntVersusGmp, PowersOfTwoShiftLikeTruncatingDivision) {
    Operands gen(4);
    for (int i = 0; i < kRounds; ++i) {
        Gz ga, want, wr;
        gen.next(ga.get());
        const long p = static_cast<long>(gen.raw() % 200);
        Mp a, q, r;
        bu::test::from_gmp(ga.get(), a.get());
        mpz_mul_2exp(want.get(), ga.get(), p);
        ASSERT_TRUE(Gives(mp_int_mul_pow2(a.get(), p, q.get()), q.get(), want.get()))
            << ga.str() << " << " << p;

        mpz_tdiv_q_2exp(want.get(), ga.get(), p);
        mpz_tdiv_r_2exp(wr.get(), ga.get(), p);
        ASSERT_TRUE(Gives(mp_int_div_pow2(a.get(), p, q.get(), r.get()), q.get(), want.get()))
            << ga.str() << " >> " << p;
        ASSERT_TRUE(Same(r.get(), wr.get())) << ga.str() << " low " << p;
        // In place, each way round.
        Mp x;
        mp_int_copy(a.get(), x.get());
        ASSERT_TRUE(Gives(mp_int_div_pow2(x.get(), p, x.get(), r.get()), x.get(), want.get()));
        ASSERT_TRUE(Same(r.get(), wr.get()));
        mp_int_copy(a.get(), x.get());
        ASSERT_TRUE(Gives(mp_int_div_pow2(x.get(), p, q.get(), x.get()), q.get(), want.get()));
        ASSERT_TRUE(Same(x.get(), wr.get()));
        mp_int_copy(a.get(), x.get());
        ASSERT_EQ(mp_int_mul_pow2(x.get(), p, x.get()), MP_OK);
        mpz_mul_2exp(want.get(), ga.get(), p);
        ASSERT_TRUE(Same(x.get(), want.get()));

        const int bits = mpz_sgn(ga.get()) == 0 ? 1 : static_cast<int>(mpz_sizeinbase(ga.get(), 2));
        EXPECT_EQ(mp_int_count_bits(a.get()), bits);
        int pow2 = -1;
        if (mpz_sgn(ga.get()) > 0 && mpz_popcount(ga.get()) == 1) pow2 = bits - 1;
        EXPECT_EQ(mp_int_is_pow2(a.get()), pow2) << ga.str();
    }
    Mp a(5), c;
    EXPECT_EQ(mp_int_mul_pow2(a.get(), -1, c.get()), MP_RANGE);
    EXPECT_EQ(mp_int_div_pow2(a.get(), -1, c.get(), nullptr), MP_RANGE);
}

TEST(MpIntVersusGmp, ComparisonsAgreeInSignAndMagnitude) {
    Operands gen(5);
    for (int i = 0; i < kRounds; ++i) {
        Gz ga, gb;
        gen.next(ga.get(), 4);
        if (gen.raw() % 4 == 0)
            mpz_set(gb.get(), ga.get());
        else
            gen.next(gb.get(), 4);
        Mp a, b;
        bu::test::from_gmp(ga.get(), a.get());
        bu::test::from_gmp(gb.get(), b.get());
        auto sgn = [](int v) { return (v > 0) - (v < 0); };
        EXPECT_EQ(sgn(mp_int_compare(a.get(), b.get())), sgn(mpz_cmp(ga.get(), gb.get())));
        EXPECT_EQ(sgn(mp_int_compare_unsigned(a.get(), b.get())),
                  sgn(mpz_cmpabs(ga.get(), gb.get())));
        EXPECT_EQ(sgn(mp_int_compare_zero(a.get())), mpz_sgn(ga.get()));
    }
}

TEST(MpIntVersusGmp, PowersMatch) {
    Operands gen(6);
    for (int i = 0; i < 300; ++i) {
        Gz ga, want;
        gen.next(ga.get(), 3);
        const long e = static_cast<long>(gen.raw() % 40);
        Mp a, c, be(e);
        bu::test::from_gmp(ga.get(), a.get());
        mpz_pow_ui(want.get(), ga.get(), static_cast<unsigned long>(e));
        ASSERT_TRUE(Gives(mp_int_expt(a.get(), e, c.get()), c.get(), want.get()));
        ASSERT_TRUE(Gives(mp_int_expt_full(a.get(), be.get(), c.get()), c.get(), want.get()));
        const long base = gen.small() % 1000;
        Gz gbase(base);
        mpz_pow_ui(want.get(), gbase.get(), static_cast<unsigned long>(e));
        ASSERT_TRUE(Gives(mp_int_expt_value(base, e, c.get()), c.get(), want.get()));
    }
    Mp a(3), c, neg(-1);
    EXPECT_EQ(mp_int_expt(a.get(), -1, c.get()), MP_RANGE);
    EXPECT_EQ(mp_int_expt_full(a.get(), neg.get(), c.get()), MP_RANGE);
}

TEST(MpIntVersusGmp, TextInEveryRadixMatches) {
    Operands gen(7);
    for (int i = 0; i < kRounds; ++i) {
        Gz ga, back;
        gen.next(ga.get(), 20);
        const mp_size radix = 2 + static_cast<mp_size>(gen.raw() % 35);
        Mp a, b;
        bu::test::from_gmp(ga.get(), a.get());
        const std::string want = ga.str(static_cast<int>(radix));
        const int len = mp_int_string_len(a.get(), radix);
        ASSERT_GE(len, static_cast<int>(want.size()) + 1);
        std::vector<char> text(static_cast<size_t>(len));
        ASSERT_EQ(mp_int_to_string(a.get(), radix, text.data(), len), MP_OK);
        ASSERT_EQ(std::string(text.data()), want) << "radix " << radix;
        // Exactly enough room, then one byte short.
        const int exact = static_cast<int>(want.size()) + 1;
        ASSERT_EQ(mp_int_to_string(a.get(), radix, text.data(), exact), MP_OK);
        ASSERT_EQ(std::string(text.data()), want);
        ASSERT_EQ(mp_int_to_string(a.get(), radix, text.data(), exact - 1), MP_TRUNC);

        // Read back, in upper case too.
        std::string upper = want;
        for (auto& ch : upper) ch = static_cast<char>(std::toupper(static_cast<unsigned char>(ch)));
        ASSERT_EQ(mp_int_read_string(b.get(), radix, (gen.raw() % 2 ? upper : want).c_str()),
                  MP_OK);
        ASSERT_TRUE(Same(b.get(), ga.get())) << want << " radix " << radix;
    }
}

// Reading stops at the first non-digit and reports the rest; a negative
// zero is a positive one; the chunked path of text beyond 64 bits keeps
// the limit of text and terminator.
TEST(MpIntText, EdgesOfReadingAndWriting) {
    Mp z;
    char* end = nullptr;
    const char* text = "  -00123x9";
    EXPECT_EQ(mp_int_read_cstring(z.get(), 10, text, &end), MP_TRUNC);
    EXPECT_EQ(mp_int_compare_value(z.get(), -123), 0);
    EXPECT_EQ(end, text + 8);
    EXPECT_EQ(mp_int_read_string(z.get(), 10, "+42"), MP_OK);
    EXPECT_EQ(mp_int_compare_value(z.get(), 42), 0);
    EXPECT_EQ(mp_int_read_string(z.get(), 16, "fF"), MP_OK);
    EXPECT_EQ(mp_int_compare_value(z.get(), 255), 0);
    EXPECT_EQ(mp_int_read_string(z.get(), 8, "19"), MP_TRUNC);
    EXPECT_EQ(mp_int_compare_value(z.get(), 1), 0);
    EXPECT_EQ(mp_int_read_string(z.get(), 1, "1"), MP_RANGE);
    EXPECT_EQ(mp_int_read_string(z.get(), 37, "1"), MP_RANGE);
    EXPECT_EQ(mp_int_read_string(z.get(), 10, "-0000"), MP_OK);
    EXPECT_EQ(z->sign, MP_ZPOS);
    char out[32];
    EXPECT_EQ(mp_int_to_string(z.get(), 40, out, 8), MP_RANGE);
    mp_int_read_string(z.get(), 10, "123456789012345678901234567890");
    EXPECT_EQ(mp_int_to_string(z.get(), 10, out, 31), MP_OK);
    EXPECT_STREQ(out, "123456789012345678901234567890");
    EXPECT_EQ(mp_int_to_string(z.get(), 10, out, 30), MP_TRUNC);
    EXPECT_EQ(mp_int_to_string(z.get(), 10, out, 0), MP_TRUNC);
}

TEST(MpIntVersusGmp, BinaryIsBigEndianTwosComplementAndRoundTrips) {
    Operands gen(8);
    for (int i = 0; i < kRounds; ++i) {
        Gz ga, wrap;
        gen.next(ga.get(), 10);
        Mp a, b;
        bu::test::from_gmp(ga.get(), a.get());
        const int len = mp_int_binary_len(a.get());
        // Expected bytes: the value modulo 2^(8 len), big-endian.
        mpz_set_ui(wrap.get(), 1);
        mpz_mul_2exp(wrap.get(), wrap.get(), static_cast<unsigned long>(8 * len));
        Gz modv;
        mpz_mod(modv.get(), ga.get(), wrap.get());
        std::vector<unsigned char> want(static_cast<size_t>(len), 0);
        size_t count = 0;
        std::vector<unsigned char> raw(static_cast<size_t>(len) + 8);
        mpz_export(raw.data(), &count, 1, 1, 1, 0, modv.get());
        ASSERT_LE(count, want.size());
        std::memcpy(want.data() + (want.size() - count), raw.data(), count);
        // The sign bit of the first byte tells the sign.
        ASSERT_EQ((want[0] & 0x80) != 0, mpz_sgn(ga.get()) < 0) << ga.str();

        std::vector<unsigned char> out(static_cast<size_t>(len));
        ASSERT_EQ(mp_int_to_binary(a.get(), out.data(), len), MP_OK);
        ASSERT_EQ(out, want) << ga.str();
        if (len > 1) {
            ASSERT_EQ(mp_int_to_binary(a.get(), out.data(), len - 1), MP_TRUNC);
        }
        const std::vector<unsigned char> before = out;
        ASSERT_TRUE(Gives(mp_int_read_binary(b.get(), out.data(), len), b.get(), ga.get()));
        ASSERT_EQ(out, before);  // the input bytes are left as they were

        Gz mag;
        mpz_abs(mag.get(), ga.get());
        const int ulen = mp_int_unsigned_len(a.get());
        std::vector<unsigned char> ubytes(static_cast<size_t>(ulen));
        ASSERT_EQ(mp_int_to_unsigned(a.get(), ubytes.data(), ulen), MP_OK);
        ASSERT_TRUE(Gives(mp_int_read_unsigned(b.get(), ubytes.data(), ulen), b.get(), mag.get()));
    }
    Mp none;
    ASSERT_EQ(mp_int_read_binary(none.get(), nullptr, 0), MP_OK);
    EXPECT_EQ(mp_int_compare_zero(none.get()), 0);
}

TEST(MpIntVersusGmp, NumberTheoryMatches) {
    Operands gen(9);
    for (int i = 0; i < 600; ++i) {
        Gz ga, gb, gm, want, wx, wy;
        gen.next(ga.get(), 6);
        gen.next(gb.get(), 4);
        gen.next(gm.get(), 4);
        mpz_abs(gb.get(), gb.get());
        mpz_abs(gm.get(), gm.get());
        Mp a, b, m, c, x, y;
        bu::test::from_gmp(ga.get(), a.get());
        bu::test::from_gmp(gb.get(), b.get());
        bu::test::from_gmp(gm.get(), m.get());

        if (mpz_sgn(gm.get()) == 0) {
            EXPECT_EQ(mp_int_exptmod(a.get(), b.get(), m.get(), c.get()), MP_UNDEF);
            EXPECT_EQ(mp_int_invmod(a.get(), m.get(), c.get()), MP_RANGE);
        } else {
            mpz_powm(want.get(), ga.get(), gb.get(), gm.get());
            ASSERT_TRUE(
                Gives(mp_int_exptmod(a.get(), b.get(), m.get(), c.get()), c.get(), want.get()));
            Mp mu;
            ASSERT_EQ(mp_int_redux_const(m.get(), mu.get()), MP_OK);
            Gz wmu, power(1);
            mpz_mul_2exp(power.get(), power.get(), 64 * m->used);
            mpz_fdiv_q(wmu.get(), power.get(), gm.get());
            ASSERT_TRUE(Same(mu.get(), wmu.get()));
            ASSERT_TRUE(Gives(mp_int_exptmod_known(a.get(), b.get(), m.get(), mu.get(), c.get()),
                              c.get(), want.get()));
            const long ev = static_cast<long>(gen.raw() % 1000);
            mpz_powm_ui(want.get(), ga.get(), static_cast<unsigned long>(ev), gm.get());
            ASSERT_TRUE(
                Gives(mp_int_exptmod_evalue(a.get(), ev, m.get(), c.get()), c.get(), want.get()));
            Gz gbase(ev);
            mpz_powm(want.get(), gbase.get(), gb.get(), gm.get());
            ASSERT_TRUE(
                Gives(mp_int_exptmod_bvalue(ev, b.get(), m.get(), c.get()), c.get(), want.get()));

            if (mpz_invert(want.get(), ga.get(), gm.get()) != 0) {
                ASSERT_TRUE(Gives(mp_int_invmod(a.get(), m.get(), c.get()), c.get(), want.get()));
            } else {
                EXPECT_EQ(mp_int_invmod(a.get(), m.get(), c.get()), MP_UNDEF);
            }
        }

        if (mpz_sgn(ga.get()) == 0 && mpz_sgn(gb.get()) == 0) {
            EXPECT_EQ(mp_int_gcd(a.get(), b.get(), c.get()), MP_UNDEF);
            EXPECT_EQ(mp_int_lcm(a.get(), b.get(), c.get()), MP_UNDEF);
            EXPECT_EQ(mp_int_egcd(a.get(), b.get(), c.get(), x.get(), y.get()), MP_UNDEF);
            continue;
        }
        mpz_gcd(want.get(), ga.get(), gb.get());
        ASSERT_TRUE(Gives(mp_int_gcd(a.get(), b.get(), c.get()), c.get(), want.get()));
        // Bezout: x a + y b == gcd.
        ASSERT_TRUE(
            Gives(mp_int_egcd(a.get(), b.get(), c.get(), x.get(), y.get()), c.get(), want.get()));
        bu::test::to_gmp(x.get(), wx.get());
        bu::test::to_gmp(y.get(), wy.get());
        mpz_mul(wx.get(), wx.get(), ga.get());
        mpz_addmul(wx.get(), wy.get(), gb.get());
        EXPECT_EQ(mpz_cmp(wx.get(), want.get()), 0);
        // (a / gcd(a, b)) * b, so the sign is that of the product.
        mpz_divexact(want.get(), ga.get(), want.get());
        mpz_mul(want.get(), want.get(), gb.get());
        ASSERT_TRUE(Gives(mp_int_lcm(a.get(), b.get(), c.get()), c.get(), want.get()))
            << ga.str() << " lcm " << gb.str();
    }
}

TEST(MpIntVersusGmp, RootsTruncateTowardZero) {
    Operands gen(10);
    for (int i = 0; i < 600; ++i) {
        Gz ga, want;
        gen.next(ga.get(), 8);
        const long k = 1 + static_cast<long>(gen.raw() % 7);
        Mp a, c;
        bu::test::from_gmp(ga.get(), a.get());
        if (mpz_sgn(ga.get()) < 0 && k % 2 == 0) {
            EXPECT_EQ(mp_int_root(a.get(), k, c.get()), MP_UNDEF);
            continue;
        }
        mpz_root(want.get(), ga.get(), static_cast<unsigned long>(k));
        ASSERT_TRUE(Gives(mp_int_root(a.get(), k, c.get()), c.get(), want.get()))
            << ga.str() << " root " << k;
    }
    Mp a(8), c;
    EXPECT_EQ(mp_int_root(a.get(), 0, c.get()), MP_RANGE);
}

TEST(MpIntMachineValues, ConversionsHoldAtTheLimitsAndRefuseBeyond) {
    mp_small out = 0;
    mp_usmall uout = 0;
    Mp min(LONG_MIN), max(LONG_MAX), c;
    ASSERT_EQ(mp_int_to_int(min.get(), &out), MP_OK);
    EXPECT_EQ(out, LONG_MIN);
    ASSERT_EQ(mp_int_to_int(max.get(), &out), MP_OK);
    EXPECT_EQ(out, LONG_MAX);
    EXPECT_EQ(mp_int_to_uint(min.get(), &uout), MP_RANGE);
    mp_int_sub_value(min.get(), 1, c.get());
    EXPECT_EQ(mp_int_to_int(c.get(), &out), MP_RANGE);
    mp_int_add_value(max.get(), 1, c.get());
    EXPECT_EQ(mp_int_to_int(c.get(), &out), MP_RANGE);
    ASSERT_EQ(mp_int_to_uint(c.get(), &uout), MP_OK);
    EXPECT_EQ(uout, static_cast<mp_usmall>(LONG_MAX) + 1);
    mp_int_mul_pow2(c.get(), 1, c.get());
    EXPECT_EQ(mp_int_to_uint(c.get(), &uout), MP_RANGE);
}

TEST(MpIntStorage, AValueWithRoomIsWorkedOnWithoutReallocation) {
    Mp a, b(1000000007), c;
    mp_int_init_size(a.get(), 16);  // replaces the inline digit: no leak
    mp_int_clear(c.get());
    mp_int_init_size(c.get(), 16);
    const mp_digit* storage = c->digits;
    mp_int_read_string(a.get(), 10, "99999999999999999999999999999999999999");
    ASSERT_EQ(a->alloc, 16u);
    ASSERT_EQ(mp_int_mul(a.get(), b.get(), c.get()), MP_OK);
    ASSERT_EQ(mp_int_div(c.get(), b.get(), c.get(), nullptr), MP_OK);
    ASSERT_EQ(mp_int_add(c.get(), a.get(), c.get()), MP_OK);
    ASSERT_EQ(mp_int_mul_value(c.get(), 10, c.get()), MP_OK);
    EXPECT_EQ(c->digits, storage);
    EXPECT_EQ(c->alloc, 16u);
}

TEST(MpIntStorage, SwapKeepsInlineValuesWithTheirRecords) {
    Mp small, big;  // small is a zero in its inline digit
    mp_int_read_string(big.get(), 10, "-340282366920938463463374607431768211456");
    mp_int_swap(small.get(), big.get());
    EXPECT_EQ(big->digits, &big->single);
    EXPECT_EQ(mp_int_compare_zero(big.get()), 0);
    char text[64];
    mp_int_to_string(small.get(), 10, text, sizeof text);
    EXPECT_STREQ(text, "-340282366920938463463374607431768211456");
    mp_int x = mp_int_alloc();
    ASSERT_NE(x, nullptr);
    EXPECT_EQ(mp_int_copy(small.get(), x), MP_OK);
    EXPECT_EQ(mp_int_compare(x, small.get()), 0);
    mp_int_free(x);
}

}  // namespace
