// mp_int_arith.cpp - signed add, subtract, multiply, divide, powers and
// comparisons over the magnitude kernels.
#include <cstring>

#include "mp_int_internal.h"

using namespace bu::mp;

namespace bu::mp {

bool udivmod(const mp_digit* u, mp_size nu, const mp_digit* v, mp_size nv, mp_digit* q,
             mp_digit* r) noexcept {
    if (ucmp(u, nu, v, nv) < 0) {
        if (q != nullptr) std::memset(q, 0, sizeof(mp_digit) * (nu >= nv ? nu - nv + 1 : 1));
        if (r != nullptr) {
            std::memset(r, 0, sizeof(mp_digit) * nv);
            std::memcpy(r, u, sizeof(mp_digit) * nu);
        }
        return true;
    }
    if (nv == 1) {
        ScratchDigits quot(nu);
        if (!quot.ok()) return false;
        const mp_digit rem = udiv_small(u, nu, v[0], quot.get());
        if (q != nullptr) std::memcpy(q, quot.get(), sizeof(mp_digit) * nu);
        if (r != nullptr) r[0] = rem;
        return true;
    }
    // Long division on normalised operands: the divisor's top bit is set so
    // that each estimated quotient digit is at most two too large.
    const int shift = __builtin_clz(v[nv - 1]);
    ScratchDigits un_store(nu + 1);
    ScratchDigits vn_store(nv);
    if (!un_store.ok() || !vn_store.ok()) return false;
    mp_digit* un = un_store.get();
    mp_digit* vn = vn_store.get();
    for (mp_size i = nv - 1; i > 0; --i) {
        vn[i] = shift == 0 ? v[i] : (v[i] << shift) | (v[i - 1] >> (32 - shift));
    }
    vn[0] = v[0] << shift;
    un[nu] = shift == 0 ? 0 : u[nu - 1] >> (32 - shift);
    for (mp_size i = nu - 1; i > 0; --i) {
        un[i] = shift == 0 ? u[i] : (u[i] << shift) | (u[i - 1] >> (32 - shift));
    }
    un[0] = u[0] << shift;

    const mp_word base = mp_word{1} << 32;
    for (mp_size j = nu - nv + 1; j-- > 0;) {
        const mp_word top = (static_cast<mp_word>(un[j + nv]) << 32) | un[j + nv - 1];
        mp_word qhat = top / vn[nv - 1];
        mp_word rhat = top % vn[nv - 1];
        while (qhat >= base || qhat * vn[nv - 2] > ((rhat << 32) | un[j + nv - 2])) {
            --qhat;
            rhat += vn[nv - 1];
            if (rhat >= base) break;
        }
        // Multiply and subtract qhat * vn from un[j .. j + nv].
        int64_t borrow = 0;
        mp_word carry = 0;
        for (mp_size i = 0; i < nv; ++i) {
            const mp_word p = qhat * vn[i] + carry;
            carry = p >> 32;
            const int64_t t =
                static_cast<int64_t>(un[i + j]) - borrow - static_cast<int64_t>(p & 0xFFFFFFFFu);
            un[i + j] = static_cast<mp_digit>(t);
            borrow = t < 0 ? 1 : 0;
        }
        const int64_t t = static_cast<int64_t>(un[j + nv]) - borrow - static_cast<int64_t>(carry);
        un[j + nv] = static_cast<mp_digit>(t);
        if (t < 0) {
            // The estimate was one too large: add the divisor back.
            --qhat;
            mp_word c = 0;
            for (mp_size i = 0; i < nv; ++i) {
                c += static_cast<mp_word>(un[i + j]) + vn[i];
                un[i + j] = static_cast<mp_digit>(c);
                c >>= 32;
            }
            un[j + nv] += static_cast<mp_digit>(c);
        }
        if (q != nullptr) q[j] = static_cast<mp_digit>(qhat);
    }
    if (r != nullptr) {
        for (mp_size i = 0; i < nv; ++i) {
            r[i] = shift == 0 ? un[i] : (un[i] >> shift) | (un[i + 1] << (32 - shift));
        }
    }
    return true;
}

}  // namespace bu::mp

namespace {

// c = a + b (subtract: a - b) on signed values; c may alias either.
mp_result add_signed(mp_int a, mp_int b, mp_int c, bool subtract) noexcept {
    if (a == nullptr || b == nullptr || c == nullptr) return MP_RESULT_BADARG;
    const mp_sign sb =
        subtract ? static_cast<mp_sign>(is_zero(b) ? MP_SIGN_ZPOS : b->sign ^ 1) : b->sign;
    if (a->sign == sb) {
        mp_int big = a->used >= b->used ? a : b;
        mp_int small = big == a ? b : a;
        if (!ensure(c, big->used + 1)) return MP_RESULT_MEMORY;
        c->used = uadd(big->digits, big->used, small->digits, small->used, c->digits);
        c->sign = sb;
        clamp(c);
        return MP_RESULT_OK;
    }
    const int cmp = ucmp(a->digits, a->used, b->digits, b->used);
    if (cmp == 0) {
        mp_int_zero(c);
        return MP_RESULT_OK;
    }
    mp_int big = cmp > 0 ? a : b;
    mp_int small = cmp > 0 ? b : a;
    const mp_sign sign = cmp > 0 ? a->sign : sb;
    if (!ensure(c, big->used)) return MP_RESULT_MEMORY;
    usub(big->digits, big->used, small->digits, small->used, c->digits);
    c->used = big->used;
    c->sign = sign;
    clamp(c);
    return MP_RESULT_OK;
}

// Stores the magnitude m[0 .. n) with the given sign into c.
mp_result store_magnitude(const mp_digit* m, mp_size n, mp_sign sign, mp_int c) noexcept {
    if (!ensure(c, n)) return MP_RESULT_MEMORY;
    std::memmove(c->digits, m, sizeof(mp_digit) * n);
    c->used = n;
    c->sign = sign;
    clamp(c);
    return MP_RESULT_OK;
}

}  // namespace

mp_result mp_int_abs(mp_int a, mp_int c) noexcept {
    mp_result res = mp_int_copy(a, c);
    if (res == MP_RESULT_OK) c->sign = MP_SIGN_ZPOS;
    return res;
}

mp_result mp_int_neg(mp_int a, mp_int c) noexcept {
    mp_result res = mp_int_copy(a, c);
    if (res == MP_RESULT_OK && !is_zero(c)) c->sign = static_cast<mp_sign>(c->sign ^ 1);
    return res;
}

mp_result mp_int_add(mp_int a, mp_int b, mp_int c) noexcept {
    return add_signed(a, b, c, false);
}

mp_result mp_int_sub(mp_int a, mp_int b, mp_int c) noexcept {
    return add_signed(a, b, c, true);
}

mp_result mp_int_add_value(mp_int a, mp_small value, mp_int c) noexcept {
    SmallValue v(value);
    return add_signed(a, v.get(), c, false);
}

mp_result mp_int_sub_value(mp_int a, mp_small value, mp_int c) noexcept {
    SmallValue v(value);
    return add_signed(a, v.get(), c, true);
}

mp_result mp_int_mul(mp_int a, mp_int b, mp_int c) noexcept {
    if (a == nullptr || b == nullptr || c == nullptr) return MP_RESULT_BADARG;
    const mp_sign sign = static_cast<mp_sign>(a->sign ^ b->sign);
    const mp_size n = a->used + b->used;
    if (c != a && c != b) {
        if (!ensure(c, n)) return MP_RESULT_MEMORY;
        umul(a->digits, a->used, b->digits, b->used, c->digits);
        c->used = n;
        c->sign = sign;
        clamp(c);
        return MP_RESULT_OK;
    }
    ScratchDigits product(n);
    if (!product.ok()) return MP_RESULT_MEMORY;
    umul(a->digits, a->used, b->digits, b->used, product.get());
    return store_magnitude(product.get(), n, sign, c);
}

mp_result mp_int_mul_value(mp_int a, mp_small value, mp_int c) noexcept {
    SmallValue v(value);
    return mp_int_mul(a, v.get(), c);
}

mp_result mp_int_sqr(mp_int a, mp_int c) noexcept {
    return mp_int_mul(a, a, c);
}

mp_result mp_int_mul_pow2(mp_int a, mp_small p2, mp_int c) noexcept {
    if (a == nullptr || c == nullptr) return MP_RESULT_BADARG;
    if (p2 < 0) return MP_RESULT_RANGE;
    if (p2 > (mp_small{1} << 36)) return MP_RESULT_MEMORY;
    const mp_size whole = static_cast<mp_size>(p2 / 32);
    const int bits = static_cast<int>(p2 % 32);
    const mp_size ua = a->used;
    if (!ensure(c, ua + whole + 1)) return MP_RESULT_MEMORY;
    if (c != a) {
        std::memcpy(c->digits, a->digits, sizeof(mp_digit) * ua);
        c->sign = a->sign;
    }
    // Shift from the top down so that c may be a.
    mp_digit* d = c->digits;
    d[ua + whole] = bits == 0 ? 0 : d[ua - 1] >> (32 - bits);
    for (mp_size i = ua; i-- > 0;) {
        mp_digit lo = (bits != 0 && i > 0) ? d[i - 1] >> (32 - bits) : 0;
        d[i + whole] = (d[i] << bits) | lo;
    }
    std::memset(d, 0, sizeof(mp_digit) * whole);
    c->used = ua + whole + 1;
    clamp(c);
    return MP_RESULT_OK;
}

mp_result mp_int_div(mp_int a, mp_int b, mp_int q, mp_int r) noexcept {
    if (a == nullptr || b == nullptr || (q != nullptr && q == r)) return MP_RESULT_BADARG;
    if (is_zero(b)) return MP_RESULT_UNDEF;
    const mp_sign qsign = static_cast<mp_sign>(a->sign ^ b->sign);
    const mp_sign rsign = a->sign;
    const mp_size nu = a->used;
    const mp_size nv = b->used;
    const mp_size nq = nu >= nv ? nu - nv + 1 : 1;
    // Fast path: both fit a machine word.
    uint64_t ua, ub;
    if (magnitude_u64(a, &ua) && magnitude_u64(b, &ub)) {
        const uint64_t uq = ua / ub, ur = ua % ub;
        if (q != nullptr) {
            if (!ensure(q, 2)) return MP_RESULT_MEMORY;
            q->sign = qsign;
            set_magnitude64(q, uq);
        }
        if (r != nullptr) {
            if (!ensure(r, 2)) return MP_RESULT_MEMORY;
            r->sign = rsign;
            set_magnitude64(r, ur);
        }
        return MP_RESULT_OK;
    }
    ScratchDigits quot(nq);
    ScratchDigits rem(nv > nu ? nv : nu);
    if (!quot.ok() || !rem.ok()) return MP_RESULT_MEMORY;
    if (!udivmod(a->digits, nu, b->digits, nv, quot.get(), rem.get())) return MP_RESULT_MEMORY;
    // Write the remainder first: q may alias a or b, r may too, and both
    // results are already in scratch.
    if (r != nullptr) {
        mp_result res = store_magnitude(rem.get(), nv < nu ? nv : nu, rsign, r);
        if (res != MP_RESULT_OK) return res;
    }
    if (q != nullptr) return store_magnitude(quot.get(), nq, qsign, q);
    return MP_RESULT_OK;
}

mp_result mp_int_mod(mp_int a, mp_int m, mp_int c) noexcept {
    if (a == nullptr || m == nullptr || c == nullptr) return MP_RESULT_BADARG;
    if (mp_result res = check_modulus(m); res != MP_RESULT_OK) return res;
    // The remainder lands in a temporary when c is m, which is still needed.
    mpz_t tmp;
    mp_int_init(&tmp);
    mp_int out = c == m ? &tmp : c;
    mp_result res = mp_int_div(a, m, nullptr, out);
    if (res == MP_RESULT_OK && out->sign == MP_SIGN_NEG) res = mp_int_add(out, m, out);
    if (res == MP_RESULT_OK && out != c) res = mp_int_copy(out, c);
    mp_int_clear(&tmp);
    return res;
}

mp_result mp_int_div_value(mp_int a, mp_small value, mp_int q, mp_small* r) noexcept {
    if (a == nullptr) return MP_RESULT_BADARG;
    if (value == 0) return MP_RESULT_UNDEF;
    SmallValue v(value);
    mpz_t rem;
    mp_digit rem_digits[2];
    rem.single = 0;
    rem.digits = rem_digits;
    rem.alloc = 2;
    rem.used = 1;
    rem_digits[0] = 0;
    rem.sign = MP_SIGN_ZPOS;
    // |remainder| < |value|, so it always fits the two inline digits.
    mp_result res = mp_int_div(a, v.get(), q, &rem);
    if (res != MP_RESULT_OK) return res;
    if (r != nullptr) {
        uint64_t mag = 0;
        magnitude_u64(&rem, &mag);
        *r = rem.sign == MP_SIGN_NEG ? -static_cast<mp_small>(mag) : static_cast<mp_small>(mag);
    }
    return MP_RESULT_OK;
}

mp_result mp_int_div_pow2(mp_int a, mp_small p2, mp_int q, mp_int r) noexcept {
    if (a == nullptr || (q != nullptr && q == r)) return MP_RESULT_BADARG;
    if (p2 < 0) return MP_RESULT_RANGE;
    const mp_size ua = a->used;
    const mp_size whole = p2 / 32 >= ua ? ua : static_cast<mp_size>(p2 / 32);
    const int bits = p2 / 32 >= ua ? 0 : static_cast<int>(p2 % 32);
    const mp_sign sign = a->sign;
    // Remainder first (it reads the low digits of a, which q may overwrite).
    if (r != nullptr && r != a) {
        mp_result res = mp_int_copy(a, r);
        if (res != MP_RESULT_OK) return res;
    }
    if (q != nullptr) {
        const mp_size nq = ua - whole;
        if (!ensure(q, nq == 0 ? 1 : nq)) return MP_RESULT_MEMORY;
        const mp_digit* src = a->digits;  // read after ensure: q may be a
        for (mp_size i = 0; i < nq; ++i) {
            const mp_digit hi =
                (bits != 0 && i + whole + 1 < ua) ? src[i + whole + 1] << (32 - bits) : 0;
            q->digits[i] = (src[i + whole] >> bits) | hi;
        }
        if (nq == 0) q->digits[0] = 0;
        q->used = nq == 0 ? 1 : nq;
        q->sign = sign;
        clamp(q);
    }
    if (r != nullptr) {
        const mp_size keep = static_cast<mp_size>(p2 / 32 >= r->used ? r->used : p2 / 32 + 1);
        if (static_cast<mp_size>(p2 / 32) < r->used) {
            const int low_bits = static_cast<int>(p2 % 32);
            r->digits[keep - 1] &= low_bits == 0 ? 0 : (mp_digit{1} << low_bits) - 1;
        }
        r->used = keep;
        r->sign = sign;
        clamp(r);
    }
    return MP_RESULT_OK;
}

mp_result mp_int_expt(mp_int a, mp_small b, mp_int c) noexcept {
    if (a == nullptr || c == nullptr) return MP_RESULT_BADARG;
    if (b < 0) return MP_RESULT_RANGE;
    mpz_t base, acc;
    mp_result res = mp_int_init_copy(&base, a);
    if (res != MP_RESULT_OK) return res;
    mp_int_init_value(&acc, 1);
    for (mp_usmall e = static_cast<mp_usmall>(b); e != 0 && res == MP_RESULT_OK; e >>= 1) {
        if (e & 1) res = mp_int_mul(&acc, &base, &acc);
        if (res == MP_RESULT_OK && e > 1) res = mp_int_sqr(&base, &base);
    }
    if (res == MP_RESULT_OK) res = mp_int_copy(&acc, c);
    mp_int_clear(&base);
    mp_int_clear(&acc);
    return res;
}

mp_result mp_int_expt_value(mp_small a, mp_small b, mp_int c) noexcept {
    SmallValue base(a);
    return mp_int_expt(base.get(), b, c);
}

mp_result mp_int_expt_full(mp_int a, mp_int b, mp_int c) noexcept {
    if (a == nullptr || b == nullptr || c == nullptr) return MP_RESULT_BADARG;
    if (b->sign == MP_SIGN_NEG) return MP_RESULT_RANGE;
    mp_small e;
    if (mp_int_to_int(b, &e) != MP_RESULT_OK) {
        // Only 0 and +-1 survive an exponent beyond a machine word.
        if (mp_int_compare_value(a, 0) == 0 || mp_int_compare_value(a, 1) == 0)
            return mp_int_copy(a, c);
        if (mp_int_compare_value(a, -1) == 0)
            return mp_int_set_value(c, (b->digits[0] & 1) ? -1 : 1);
        return MP_RESULT_MEMORY;
    }
    return mp_int_expt(a, e, c);
}

int mp_int_compare_unsigned(mp_int a, mp_int b) noexcept {
    return ucmp(a->digits, a->used, b->digits, b->used);
}

int mp_int_compare(mp_int a, mp_int b) noexcept {
    if (a->sign != b->sign) return a->sign == MP_SIGN_NEG ? -1 : 1;
    const int cmp = ucmp(a->digits, a->used, b->digits, b->used);
    return a->sign == MP_SIGN_NEG ? -cmp : cmp;
}

int mp_int_compare_zero(mp_int z) noexcept {
    if (is_zero(z)) return 0;
    return z->sign == MP_SIGN_NEG ? -1 : 1;
}

int mp_int_compare_value(mp_int z, mp_small v) noexcept {
    SmallValue value(v);
    return mp_int_compare(z, value.get());
}

int mp_int_compare_uvalue(mp_int z, mp_usmall uv) noexcept {
    if (z->sign == MP_SIGN_NEG) return -1;
    const mp_digit d[2] = {static_cast<mp_digit>(uv), static_cast<mp_digit>(uv >> 32)};
    return ucmp(z->digits, z->used, d, d[1] != 0 ? 2 : 1);
}

int mp_int_divisible_value(mp_int a, mp_small v) noexcept {
    mp_small rem = 1;
    if (mp_int_div_value(a, v, nullptr, &rem) != MP_RESULT_OK) return 0;
    return rem == 0 ? 1 : 0;
}

int mp_int_is_pow2(mp_int z) noexcept {
    if (z->sign == MP_SIGN_NEG || is_zero(z)) return -1;
    const mp_digit top = z->digits[z->used - 1];
    if ((top & (top - 1)) != 0) return -1;
    for (mp_size i = 0; i + 1 < z->used; ++i) {
        if (z->digits[i] != 0) return -1;
    }
    return static_cast<int>((z->used - 1) * 32) + __builtin_ctz(top);
}
