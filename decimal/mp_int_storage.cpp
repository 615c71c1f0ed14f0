// mp_int_storage.cpp - life of an mp_int: storage, copies, machine values,
// and the result codes with their texts.
#include <climits>
#include <cstdlib>
#include <cstring>

#include "mp_int_internal.h"

const mp_result MP_OK = MP_RESULT_OK;
const mp_result MP_FALSE = MP_RESULT_OK;
const mp_result MP_TRUE = MP_RESULT_TRUE;
const mp_result MP_MEMORY = MP_RESULT_MEMORY;
const mp_result MP_RANGE = MP_RESULT_RANGE;
const mp_result MP_UNDEF = MP_RESULT_UNDEF;
const mp_result MP_TRUNC = MP_RESULT_TRUNC;
const mp_result MP_BADARG = MP_RESULT_BADARG;
const mp_result MP_MINERR = MP_RESULT_BADARG;
const mp_sign MP_ZPOS = MP_SIGN_ZPOS;
const mp_sign MP_NEG = MP_SIGN_NEG;

namespace bu::mp {

namespace {

// Room is rounded up to even digit counts so that small growth steps
// (one digit more) don't reallocate every time.
mp_size rounded_room(mp_size n) noexcept {
    return n < 2 ? 2 : (n + 1) & ~mp_size{1};
}

}  // namespace

bool ensure(mp_int z, mp_size n) noexcept {
    if (n <= z->alloc) return true;
    const mp_size room = rounded_room(n);
    mp_digit* fresh;
    if (z->digits == &z->single || z->digits == nullptr) {
        fresh = static_cast<mp_digit*>(std::malloc(sizeof(mp_digit) * room));
        if (fresh == nullptr) return false;
        if (z->digits != nullptr) std::memcpy(fresh, z->digits, sizeof(mp_digit) * z->used);
    } else {
        fresh = static_cast<mp_digit*>(std::realloc(z->digits, sizeof(mp_digit) * room));
        if (fresh == nullptr) return false;
    }
    z->digits = fresh;
    z->alloc = room;
    return true;
}

}  // namespace bu::mp

using namespace bu::mp;

const char* mp_error_string(mp_result res) noexcept {
    switch (res) {
        case MP_RESULT_OK:
            return "error code 0";
        case MP_RESULT_TRUE:
            return "boolean true";
        case MP_RESULT_MEMORY:
            return "out of memory";
        case MP_RESULT_RANGE:
            return "argument out of range";
        case MP_RESULT_UNDEF:
            return "result undefined";
        case MP_RESULT_TRUNC:
            return "output truncated";
        case MP_RESULT_BADARG:
            return "invalid argument";
        default:
            return "unknown result code";
    }
}

mp_result mp_int_init(mp_int z) noexcept {
    if (z == nullptr) return MP_RESULT_BADARG;
    z->single = 0;
    z->digits = &z->single;
    z->alloc = 1;
    z->used = 1;
    z->sign = MP_SIGN_ZPOS;
    return MP_RESULT_OK;
}

mp_int mp_int_alloc(void) noexcept {
    auto* z = static_cast<mp_int>(std::malloc(sizeof(mpz_t)));
    if (z != nullptr) mp_int_init(z);
    return z;
}

mp_result mp_int_init_size(mp_int z, mp_size prec) noexcept {
    if (z == nullptr) return MP_RESULT_BADARG;
    mp_int_init(z);
    if (prec <= 1) return MP_RESULT_OK;
    if (!ensure(z, prec)) return MP_RESULT_MEMORY;
    z->digits[0] = 0;
    return MP_RESULT_OK;
}

mp_result mp_int_init_copy(mp_int z, mp_int old) noexcept {
    if (z == nullptr || old == nullptr) return MP_RESULT_BADARG;
    mp_result res = mp_int_init_size(z, old->used);
    if (res != MP_RESULT_OK) return res;
    return mp_int_copy(old, z);
}

mp_result mp_int_init_value(mp_int z, mp_small value) noexcept {
    mp_result res = mp_int_init_size(z, 2);
    if (res != MP_RESULT_OK) return res;
    return mp_int_set_value(z, value);
}

mp_result mp_int_set_value(mp_int z, mp_small value) noexcept {
    if (z == nullptr) return MP_RESULT_BADARG;
    if (!ensure(z, 2)) return MP_RESULT_MEMORY;
    z->sign = value < 0 ? MP_SIGN_NEG : MP_SIGN_ZPOS;
    set_magnitude64(z, unsigned_magnitude(value));
    return MP_RESULT_OK;
}

void mp_int_clear(mp_int z) noexcept {
    if (z == nullptr) return;
    if (z->digits != nullptr && z->digits != &z->single) std::free(z->digits);
    z->digits = nullptr;
    z->alloc = 0;
    z->used = 0;
}

void mp_int_free(mp_int z) noexcept {
    if (z == nullptr) return;
    mp_int_clear(z);
    std::free(z);
}

mp_result mp_int_copy(mp_int a, mp_int c) noexcept {
    if (a == nullptr || c == nullptr) return MP_RESULT_BADARG;
    if (a == c) return MP_RESULT_OK;
    if (!ensure(c, a->used)) return MP_RESULT_MEMORY;
    std::memcpy(c->digits, a->digits, sizeof(mp_digit) * a->used);
    c->used = a->used;
    c->sign = a->sign;
    return MP_RESULT_OK;
}

void mp_int_swap(mp_int a, mp_int c) noexcept {
    if (a == nullptr || c == nullptr || a == c) return;
    // The records move; a value held inline must follow its record.
    const bool a_inline = a->digits == &a->single;
    const bool c_inline = c->digits == &c->single;
    mpz_t tmp = *a;
    *a = *c;
    *c = tmp;
    if (c_inline) a->digits = &a->single;
    if (a_inline) c->digits = &c->single;
}

void mp_int_zero(mp_int z) noexcept {
    if (z == nullptr || z->digits == nullptr) return;
    z->digits[0] = 0;
    z->used = 1;
    z->sign = MP_SIGN_ZPOS;
}

mp_result mp_int_to_int(mp_int z, mp_small* out) noexcept {
    if (z == nullptr) return MP_RESULT_BADARG;
    uint64_t mag;
    if (!magnitude_u64(z, &mag)) return MP_RESULT_RANGE;
    const uint64_t limit = static_cast<uint64_t>(LONG_MAX) + (z->sign == MP_SIGN_NEG ? 1 : 0);
    if (mag > limit) return MP_RESULT_RANGE;
    if (out != nullptr) {
        *out = z->sign == MP_SIGN_NEG ? static_cast<mp_small>(0 - mag) : static_cast<mp_small>(mag);
    }
    return MP_RESULT_OK;
}

mp_result mp_int_to_uint(mp_int z, mp_usmall* out) noexcept {
    if (z == nullptr) return MP_RESULT_BADARG;
    uint64_t mag;
    if (z->sign == MP_SIGN_NEG || !magnitude_u64(z, &mag)) return MP_RESULT_RANGE;
    if (out != nullptr) *out = mag;
    return MP_RESULT_OK;
}
