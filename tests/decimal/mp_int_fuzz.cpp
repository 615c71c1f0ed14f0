// Fuzz target: an operation group, a small number and three operands picked
// from the input bytes, each result compared with GMP. A difference aborts.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <vector>

#include "gmp_operations.h"

namespace {

using bu::test::Gz;
using bu::test::Operand;

// Takes up to 23 bytes as a big-endian two's complement operand, read by
// both sides.
void takeOperand(const uint8_t*& p, const uint8_t* end, Operand& out) {
    size_t n = p < end ? *p++ % 24 : 0;
    if (n > static_cast<size_t>(end - p)) n = static_cast<size_t>(end - p);
    std::vector<unsigned char> bytes(p, p + n);
    p += n;
    mp_int_read_binary(out.z, bytes.data(), static_cast<int>(n));
    mpz_import(out.g, n, 1, 1, 1, 0, bytes.data());
    if (n > 0 && (bytes[0] & 0x80)) {
        Gz wrap(1);
        mpz_mul_2exp(wrap, wrap, 8 * n);
        mpz_sub(out.g, out.g, wrap);
    }
    if (!bu::test::same(out.z, out.g)) {
        std::fprintf(stderr, "read_binary differs from GMP (want %s)\n", out.g.str().c_str());
        std::abort();
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 2) return 0;
    const auto& op = bu::test::kOperations[data[0] % std::size(bu::test::kOperations)];
    const uint64_t k = data[1];
    const uint8_t* p = data + 2;
    Operand a, b, m;
    takeOperand(p, data + size, a);
    takeOperand(p, data + size, b);
    takeOperand(p, data + size, m);
    bu::test::Verdict v;
    op.check(a, b, m, k, v);
    if (!v.failures().empty()) {
        std::fprintf(stderr, "mp_int_ differs from GMP in %s:\n%s", op.name, v.failures().c_str());
        std::abort();
    }
    return 0;
}
