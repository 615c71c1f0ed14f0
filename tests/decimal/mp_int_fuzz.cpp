// Fuzz target: operands and an operation picked from the input bytes, each
// result compared with GMP. A difference aborts.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "gmp_oracle.h"

namespace {

using bu::test::Gz;
using bu::test::Mp;

[[noreturn]] void differ(const char* what, mpz_ptr want) {
    char* s = mpz_get_str(nullptr, 10, want);
    std::fprintf(stderr, "mp_int_ differs from GMP in %s (want %s)\n", what, s);
    std::abort();
}

void check(bool ok, const char* what, mpz_ptr want) {
    if (!ok) differ(what, want);
}

// Takes n bytes as a big-endian two's complement operand, into both.
void take_operand(const uint8_t*& p, const uint8_t* end, Mp& ours, Gz& theirs) {
    size_t n = p < end ? *p++ % 24 : 0;
    if (n > static_cast<size_t>(end - p)) n = static_cast<size_t>(end - p);
    std::vector<unsigned char> bytes(p, p + n);
    p += n;
    mp_int_read_binary(ours.get(), bytes.data(), static_cast<int>(n));
    mpz_import(theirs.get(), n, 1, 1, 1, 0, bytes.data());
    if (n > 0 && (bytes[0] & 0x80)) {
        Gz wrap(1);
        mpz_mul_2exp(wrap.get(), wrap.get(), 8 * n);
        mpz_sub(theirs.get(), theirs.get(), wrap.get());
    }
    check(bu::test::same(ours.get(), theirs.get()), "read_binary", theirs.get());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 1) return 0;
    const uint8_t* p = data + 1;
    const uint8_t* end = data + size;
    const int op = data[0] % 14;
    Mp a, b, c, d;
    Gz ga, gb, want, want2;
    take_operand(p, end, a, ga);
    take_operand(p, end, b, gb);
    switch (op) {
        case 0:
            mpz_add(want.get(), ga.get(), gb.get());
            check(mp_int_add(a.get(), b.get(), c.get()) == MP_OK &&
                      bu::test::same(c.get(), want.get()),
                  "add", want.get());
            break;
        case 1:
            mpz_sub(want.get(), ga.get(), gb.get());
            check(mp_int_sub(a.get(), b.get(), a.get()) == MP_OK &&
                      bu::test::same(a.get(), want.get()),
                  "sub", want.get());
            break;
        case 2:
            mpz_mul(want.get(), ga.get(), gb.get());
            check(mp_int_mul(a.get(), b.get(), b.get()) == MP_OK &&
                      bu::test::same(b.get(), want.get()),
                  "mul", want.get());
            break;
        case 3:
        case 4:
            if (mpz_sgn(gb.get()) == 0) {
                check(mp_int_div(a.get(), b.get(), c.get(), d.get()) == MP_UNDEF, "div by zero",
                      gb.get());
                break;
            }
            mpz_tdiv_qr(want.get(), want2.get(), ga.get(), gb.get());
            check(mp_int_div(a.get(), b.get(), c.get(), d.get()) == MP_OK, "div", want.get());
            check(bu::test::same(c.get(), want.get()), "quotient", want.get());
            check(bu::test::same(d.get(), want2.get()), "remainder", want2.get());
            break;
        case 5: {
            const int cmp = mp_int_compare(a.get(), b.get());
            const int gcmp = mpz_cmp(ga.get(), gb.get());
            check((cmp > 0) == (gcmp > 0) && (cmp < 0) == (gcmp < 0), "compare", ga.get());
            break;
        }
        case 6:
        case 7: {
            const mp_size radix = op == 6 ? 10 : 2 + (size % 35);
            const int len = mp_int_string_len(a.get(), radix);
            std::string text(static_cast<size_t>(len), '\0');
            check(mp_int_to_string(a.get(), radix, text.data(), len) == MP_OK, "to_string",
                  ga.get());
            char* s = mpz_get_str(nullptr, static_cast<int>(radix), ga.get());
            check(std::strcmp(text.c_str(), s) == 0, "to_string text", ga.get());
            void (*release)(void*, size_t);
            mp_get_memory_functions(nullptr, nullptr, &release);
            release(s, std::strlen(s) + 1);
            check(mp_int_read_string(c.get(), radix, text.c_str()) == MP_OK &&
                      bu::test::same(c.get(), ga.get()),
                  "read_string", ga.get());
            break;
        }
        case 8: {
            const int len = mp_int_binary_len(a.get());
            std::vector<unsigned char> out(static_cast<size_t>(len));
            check(mp_int_to_binary(a.get(), out.data(), len) == MP_OK, "to_binary", ga.get());
            check(mp_int_read_binary(c.get(), out.data(), len) == MP_OK &&
                      bu::test::same(c.get(), ga.get()),
                  "binary round trip", ga.get());
            break;
        }
        case 10: {
            const long shift = static_cast<long>(size % 97);
            mpz_mul_2exp(want.get(), ga.get(), static_cast<mp_bitcnt_t>(shift));
            check(mp_int_mul_pow2(a.get(), shift, c.get()) == MP_OK &&
                      bu::test::same(c.get(), want.get()),
                  "mul_pow2", want.get());
            mpz_tdiv_q_2exp(want.get(), ga.get(), static_cast<mp_bitcnt_t>(shift));
            mpz_tdiv_r_2exp(want2.get(), ga.get(), static_cast<mp_bitcnt_t>(shift));
            check(mp_int_div_pow2(a.get(), shift, c.get(), d.get()) == MP_OK, "div_pow2",
                  want.get());
            check(bu::test::same(c.get(), want.get()) && bu::test::same(d.get(), want2.get()),
                  "div_pow2 result", want.get());
            break;
        }
        case 11: {
            mp_small v = 0;
            if (mp_int_to_int(b.get(), &v) != MP_OK || v == 0) break;
            mp_small rem = 0;
            mpz_set_si(want2.get(), v);
            mpz_tdiv_q(want.get(), ga.get(), want2.get());
            check(mp_int_div_value(a.get(), v, c.get(), &rem) == MP_OK &&
                      bu::test::same(c.get(), want.get()),
                  "div_value", want.get());
            mpz_tdiv_r(want.get(), ga.get(), want2.get());
            check(mpz_cmp_si(want.get(), rem) == 0, "div_value remainder", want.get());
            break;
        }
        case 12:
            if (mpz_sgn(ga.get()) == 0 && mpz_sgn(gb.get()) == 0) break;
            mpz_gcd(want.get(), ga.get(), gb.get());
            check(mp_int_gcd(a.get(), b.get(), c.get()) == MP_OK &&
                      bu::test::same(c.get(), want.get()),
                  "gcd", want.get());
            break;
        case 13:
            if (mpz_sgn(gb.get()) <= 0) break;
            mpz_powm_ui(want.get(), ga.get(), size, gb.get());
            check(mp_int_exptmod_evalue(a.get(), static_cast<mp_small>(size), b.get(), c.get()) ==
                          MP_OK &&
                      bu::test::same(c.get(), want.get()),
                  "exptmod", want.get());
            break;
        default:
            if (mpz_sgn(gb.get()) == 0) break;
            mpz_abs(gb.get(), gb.get());
            mp_int_abs(b.get(), b.get());
            mpz_mod(want.get(), ga.get(), gb.get());
            check(mp_int_mod(a.get(), b.get(), c.get()) == MP_OK &&
                      bu::test::same(c.get(), want.get()),
                  "mod", want.get());
            break;
    }
    return 0;
}
