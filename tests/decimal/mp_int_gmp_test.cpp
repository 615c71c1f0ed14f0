// Differential tests: every mp_int_ operation against GMP on edge operands
// (zero, one digit, carries across digits, a quotient estimate that
// overshoots) and on random ones shaped the same way; then what GMP can't
// judge: refusals, text that stops early, and storage.
#include <gtest/gtest.h>

#include <climits>
#include <random>
#include <string>
#include <vector>

#include "gmp_operations.h"

namespace {

using bu::test::Gz;
using bu::test::kOperations;
using bu::test::Mp;
using bu::test::Operand;
using bu::test::Operation;

// Operands shaped to reach the places where carries and borrows go wrong.
class Operands {
  public:
    explicit Operands(uint64_t seed) : rng_(seed) {}

    void next(Operand& out) {
        std::vector<uint32_t> d(1 + rng_() % 12);
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
        Gz v;
        mpz_import(v, d.size(), -1, sizeof(uint32_t), 0, 0, d.data());
        if (rng_() % 3 == 0) mpz_neg(v, v);
        out.set(v);
    }

    uint64_t raw() { return rng_(); }

  private:
    std::mt19937_64 rng_;
};

void setHex(Operand& out, const char* hex) {
    Gz v;
    mpz_set_str(v, hex, 16);
    out.set(v);
}

std::string failuresOf(const Operation& op, Operand& a, Operand& b, Operand& m, uint64_t k) {
    bu::test::Verdict v;
    op.check(a, b, m, k, v);
    if (v.failures().empty()) return "";
    return "a=" + a.g.str() + " b=" + b.g.str() + " m=" + m.g.str() + " k=" + std::to_string(k) +
           "\n" + v.failures();
}

TEST(MpIntVersusGmp, EveryOperationOnEdgeAndRandomOperands) {
    const char* const edges[][3] = {
        {"0", "0", "0"},
        {"1", "-1", "1"},
        {"-ffffffff", "ffffffff", "2"},
        {"100000000", "-1", "ffffffffffffffff"},
        {"-ffffffffffffffffffffffff", "100000000", "10000000000000000"},
        // A divisor whose first quotient digit estimate survives its test
        // and is still one too large: it must be added back.
        {"7fffffff800000000000000000000000", "800000000000000000000001", "7"},
        // The limits of the machine values, and one beyond each.
        {"7fffffffffffffff", "-8000000000000000", "3"},
        {"8000000000000000", "-8000000000000001", "5"},
        {"ffffffffffffffff", "10000000000000000", "fffffffffffffffff"},
    };
    for (const Operation& op : kOperations) {
        SCOPED_TRACE(op.name);
        Operand a, b, m;
        for (const auto& edge : edges) {
            setHex(a, edge[0]);
            setHex(b, edge[1]);
            setHex(m, edge[2]);
            for (uint64_t k : {0, 1, 2, 3, 6, 33, 64, 199, 4097}) {
                ASSERT_EQ(failuresOf(op, a, b, m, k), "");
                ASSERT_EQ(failuresOf(op, b, a, m, k), "");
            }
        }
        Operands gen(7);
        for (int i = 0; i < 1000; ++i) {
            gen.next(a);
            gen.next(b);
            gen.next(m);
            ASSERT_EQ(failuresOf(op, a, b, m, gen.raw()), "");
        }
    }
}

TEST(MpIntRefusals, NegativeCountsBadRadixesAndNoRoom) {
    Mp a(5), c, neg(-1);
    char out[8];
    const struct {
        const char* call;
        mp_result got, want;
    } cases[] = {
        {"mul_pow2 by -1", mp_int_mul_pow2(a, -1, c), MP_RANGE},
        {"div_pow2 by -1", mp_int_div_pow2(a, -1, c, nullptr), MP_RANGE},
        {"expt -1", mp_int_expt(a, -1, c), MP_RANGE},
        {"expt_full -1", mp_int_expt_full(a, neg, c), MP_RANGE},
        {"root 0", mp_int_root(a, 0, c), MP_RANGE},
        {"to_string radix 40", mp_int_to_string(a, 40, out, 8), MP_RANGE},
        {"read_string radix 1", mp_int_read_string(c, 1, "1"), MP_RANGE},
        {"read_string radix 37", mp_int_read_string(c, 37, "1"), MP_RANGE},
    };
    for (const auto& c : cases) EXPECT_EQ(c.got, c.want) << c.call;
}

// Reading stops at the first character that is not a digit of the radix
// and says so; blanks and a sign lead; a negative zero is a positive one.
TEST(MpIntText, ReadingStopsAtTheFirstNonDigit) {
    const struct {
        const char* text;
        mp_size radix;
        mp_result result;
        long value;
        int consumed;
    } cases[] = {
        {"  -00123x9", 10, MP_TRUNC, -123, 8},
        {"+42", 10, MP_OK, 42, 3},
        {"19", 8, MP_TRUNC, 1, 1},
        {"-0000", 10, MP_OK, 0, 5},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        Mp z;
        char* end = nullptr;
        EXPECT_EQ(mp_int_read_cstring(z, c.radix, c.text, &end), c.result);
        EXPECT_EQ(mp_int_compare_value(z, c.value), 0);
        EXPECT_EQ(end, c.text + c.consumed);
        EXPECT_EQ(z->sign, c.value < 0 ? MP_NEG : MP_ZPOS);
    }
}

TEST(MpIntStorage, AValueWithRoomIsWorkedOnWithoutReallocation) {
    Mp a, b(1000000007), c;
    mp_int_init_size(a, 16);  // replaces the inline digit: no leak
    mp_int_clear(c);
    mp_int_init_size(c, 16);
    const mp_digit* storage = c->digits;
    mp_int_read_string(a, 10, "99999999999999999999999999999999999999");
    ASSERT_EQ(a->alloc, 16u);
    ASSERT_EQ(mp_int_mul(a, b, c), MP_OK);
    ASSERT_EQ(mp_int_div(c, b, c, nullptr), MP_OK);
    ASSERT_EQ(mp_int_add(c, a, c), MP_OK);
    ASSERT_EQ(mp_int_mul_value(c, 10, c), MP_OK);
    EXPECT_EQ(c->digits, storage);
    EXPECT_EQ(c->alloc, 16u);
}

TEST(MpIntStorage, SwapKeepsInlineValuesWithTheirRecords) {
    Mp small, big;  // small is a zero in its inline digit
    mp_int_read_string(big, 10, "-340282366920938463463374607431768211456");
    mp_int_swap(small, big);
    EXPECT_EQ(big->digits, &big->single);
    EXPECT_EQ(mp_int_compare_zero(big), 0);
    char text[64];
    mp_int_to_string(small, 10, text, sizeof text);
    EXPECT_STREQ(text, "-340282366920938463463374607431768211456");
    mp_int x = mp_int_alloc();
    ASSERT_NE(x, nullptr);
    EXPECT_EQ(mp_int_copy(small, x), MP_OK);
    EXPECT_EQ(mp_int_compare(x, small), 0);
    mp_int_free(x);
}

}  // namespace
