/*
 * mp_int.h - signed arbitrary-precision integers, the mp_int_ family.
 *
 * A value is an mpz_t record: 32-bit digits, least significant first, a
 * digit count in use and a sign. A fresh record keeps its one digit inline
 * (`single`); larger values get heap storage that grows and is kept, so a
 * value that already has room is worked on without allocating.
 *
 * Every operation returns an mp_result; on failure its outputs are undefined.
 * Outputs may alias inputs.
 */
#ifndef BU_DECIMAL_MP_INT_H
#define BU_DECIMAL_MP_INT_H

#include <stddef.h>
#include <stdint.h>

#include "bu_export.h"

typedef unsigned char mp_sign;
typedef uint32_t mp_size;
typedef int mp_result;
typedef long mp_small;
typedef unsigned long mp_usmall;
typedef uint32_t mp_digit;
typedef uint64_t mp_word;

typedef struct mp_int_record {
    mp_digit single;  /* inline storage of a one-digit value */
    mp_digit* digits; /* least significant first; &single or heap */
    mp_size alloc;    /* digits allocated */
    mp_size used;     /* digits in use; a zero value uses 1 */
    mp_sign sign;     /* MP_ZPOS or MP_NEG */
} mpz_t, *mp_int;

#ifdef __cplusplus
#define BU_MP_STATIC_ASSERT(cond, msg) static_assert(cond, msg)
#else
#define BU_MP_STATIC_ASSERT(cond, msg) _Static_assert(cond, msg)
#endif
BU_MP_STATIC_ASSERT(offsetof(struct mp_int_record, single) == 0, "single");
BU_MP_STATIC_ASSERT(offsetof(struct mp_int_record, digits) == 8, "digits");
BU_MP_STATIC_ASSERT(offsetof(struct mp_int_record, alloc) == 16, "alloc");
BU_MP_STATIC_ASSERT(offsetof(struct mp_int_record, used) == 20, "used");
BU_MP_STATIC_ASSERT(offsetof(struct mp_int_record, sign) == 24, "sign");
BU_MP_STATIC_ASSERT(sizeof(struct mp_int_record) == 32, "mpz_t size");

/* Result codes. */
BU_API const mp_result MP_OK;     /* 0 */
BU_API const mp_result MP_FALSE;  /* 0 */
BU_API const mp_result MP_TRUE;   /* -1 */
BU_API const mp_result MP_MEMORY; /* -2 */
BU_API const mp_result MP_RANGE;  /* -3 */
BU_API const mp_result MP_UNDEF;  /* -4 */
BU_API const mp_result MP_TRUNC;  /* -5 */
BU_API const mp_result MP_BADARG; /* -6 */
BU_API const mp_result MP_MINERR; /* -6 */
BU_API const mp_sign MP_ZPOS;     /* 0 */
BU_API const mp_sign MP_NEG;      /* 1 */

/* The same values for switch labels and constant expressions. */
enum {
    MP_RESULT_OK = 0,
    MP_RESULT_TRUE = -1,
    MP_RESULT_MEMORY = -2,
    MP_RESULT_RANGE = -3,
    MP_RESULT_UNDEF = -4,
    MP_RESULT_TRUNC = -5,
    MP_RESULT_BADARG = -6,
    MP_SIGN_ZPOS = 0,
    MP_SIGN_NEG = 1
};

#define MP_MIN_RADIX 2
#define MP_MAX_RADIX 36

BU_API const char* mp_error_string(mp_result res) BU_NOEXCEPT;

/* Life. */
BU_API mp_result mp_int_init(mp_int z) BU_NOEXCEPT;
BU_API mp_int mp_int_alloc(void) BU_NOEXCEPT;
BU_API mp_result mp_int_init_size(mp_int z, mp_size prec) BU_NOEXCEPT;
BU_API mp_result mp_int_init_copy(mp_int z, mp_int old) BU_NOEXCEPT;
BU_API mp_result mp_int_init_value(mp_int z, mp_small value) BU_NOEXCEPT;
BU_API mp_result mp_int_set_value(mp_int z, mp_small value) BU_NOEXCEPT;
BU_API void mp_int_clear(mp_int z) BU_NOEXCEPT;
BU_API void mp_int_free(mp_int z) BU_NOEXCEPT;
BU_API mp_result mp_int_copy(mp_int a, mp_int c) BU_NOEXCEPT;
BU_API void mp_int_swap(mp_int a, mp_int c) BU_NOEXCEPT;
BU_API void mp_int_zero(mp_int z) BU_NOEXCEPT;

/* Arithmetic. Division truncates toward zero; the remainder takes the
 * sign of the dividend. */
BU_API mp_result mp_int_abs(mp_int a, mp_int c) BU_NOEXCEPT;
BU_API mp_result mp_int_neg(mp_int a, mp_int c) BU_NOEXCEPT;
BU_API mp_result mp_int_add(mp_int a, mp_int b, mp_int c) BU_NOEXCEPT;
BU_API mp_result mp_int_add_value(mp_int a, mp_small value, mp_int c) BU_NOEXCEPT;
BU_API mp_result mp_int_sub(mp_int a, mp_int b, mp_int c) BU_NOEXCEPT;
BU_API mp_result mp_int_sub_value(mp_int a, mp_small value, mp_int c) BU_NOEXCEPT;
BU_API mp_result mp_int_mul(mp_int a, mp_int b, mp_int c) BU_NOEXCEPT;
BU_API mp_result mp_int_mul_value(mp_int a, mp_small value, mp_int c) BU_NOEXCEPT;
BU_API mp_result mp_int_mul_pow2(mp_int a, mp_small p2, mp_int c) BU_NOEXCEPT;
BU_API mp_result mp_int_sqr(mp_int a, mp_int c) BU_NOEXCEPT;
BU_API mp_result mp_int_div(mp_int a, mp_int b, mp_int q, mp_int r) BU_NOEXCEPT;
BU_API mp_result mp_int_div_value(mp_int a, mp_small value, mp_int q, mp_small* r) BU_NOEXCEPT;
BU_API mp_result mp_int_div_pow2(mp_int a, mp_small p2, mp_int q, mp_int r) BU_NOEXCEPT;
/* c = a mod m, with 0 <= c < |m|. */
BU_API mp_result mp_int_mod(mp_int a, mp_int m, mp_int c) BU_NOEXCEPT;
BU_API mp_result mp_int_expt(mp_int a, mp_small b, mp_int c) BU_NOEXCEPT;
BU_API mp_result mp_int_expt_value(mp_small a, mp_small b, mp_int c) BU_NOEXCEPT;
BU_API mp_result mp_int_expt_full(mp_int a, mp_int b, mp_int c) BU_NOEXCEPT;

/* Comparison: negative, 0 or positive. */
BU_API int mp_int_compare(mp_int a, mp_int b) BU_NOEXCEPT;
BU_API int mp_int_compare_unsigned(mp_int a, mp_int b) BU_NOEXCEPT;
BU_API int mp_int_compare_zero(mp_int z) BU_NOEXCEPT;
BU_API int mp_int_compare_value(mp_int z, mp_small v) BU_NOEXCEPT;
BU_API int mp_int_compare_uvalue(mp_int z, mp_usmall uv) BU_NOEXCEPT;
/* 1 when v divides a, 0 otherwise (also for v == 0). */
BU_API int mp_int_divisible_value(mp_int a, mp_small v) BU_NOEXCEPT;
/* k when z == 2^k, -1 otherwise (negative values are never powers of 2). */
BU_API int mp_int_is_pow2(mp_int z) BU_NOEXCEPT;

/* Number theory. Moduli must be positive; results lie in [0, m). */
BU_API mp_result mp_int_exptmod(mp_int a, mp_int b, mp_int m, mp_int c) BU_NOEXCEPT;
BU_API mp_result mp_int_exptmod_evalue(mp_int a, mp_small value, mp_int m, mp_int c) BU_NOEXCEPT;
BU_API mp_result mp_int_exptmod_bvalue(mp_small value, mp_int b, mp_int m, mp_int c) BU_NOEXCEPT;
BU_API mp_result mp_int_exptmod_known(mp_int a, mp_int b, mp_int m, mp_int mu,
                                      mp_int c) BU_NOEXCEPT;
/* c = floor(2^(64 * used(m)) / m), the reduction constant of m. */
BU_API mp_result mp_int_redux_const(mp_int m, mp_int c) BU_NOEXCEPT;
BU_API mp_result mp_int_invmod(mp_int a, mp_int m, mp_int c) BU_NOEXCEPT;
BU_API mp_result mp_int_gcd(mp_int a, mp_int b, mp_int c) BU_NOEXCEPT;
BU_API mp_result mp_int_egcd(mp_int a, mp_int b, mp_int c, mp_int x, mp_int y) BU_NOEXCEPT;
BU_API mp_result mp_int_lcm(mp_int a, mp_int b, mp_int c) BU_NOEXCEPT;
/* The b-th root, truncated toward zero. */
BU_API mp_result mp_int_root(mp_int a, mp_small b, mp_int c) BU_NOEXCEPT;

/* Conversion to machine integers: MP_RANGE when the value doesn't fit. */
BU_API mp_result mp_int_to_int(mp_int z, mp_small* out) BU_NOEXCEPT;
BU_API mp_result mp_int_to_uint(mp_int z, mp_usmall* out) BU_NOEXCEPT;

/* Text, radix 2 to 36, lower-case digits. to_string writes a terminator and
 * answers MP_TRUNC when text and terminator don't fit in limit bytes.
 * string_len is a size that is always enough (sign and terminator included).
 * read_cstring skips leading white space, takes an optional sign and stops at
 * the first character that isn't a digit of the radix; *end (if given) points
 * there, and MP_TRUNC tells that characters were left over. */
BU_API mp_result mp_int_to_string(mp_int z, mp_size radix, char* str, int limit) BU_NOEXCEPT;
BU_API mp_result mp_int_string_len(mp_int z, mp_size radix) BU_NOEXCEPT;
BU_API mp_result mp_int_read_string(mp_int z, mp_size radix, const char* str) BU_NOEXCEPT;
BU_API mp_result mp_int_read_cstring(mp_int z, mp_size radix, const char* str,
                                     char** end) BU_NOEXCEPT;
/* Significant bits of the magnitude; 1 for zero. */
BU_API mp_result mp_int_count_bits(mp_int z) BU_NOEXCEPT;

/* Binary: big-endian two's complement whose first byte carries the sign
 * (a magnitude whose top bit falls on a byte boundary gets a sign byte);
 * unsigned: the big-endian magnitude. The input buffers are not changed. */
BU_API mp_result mp_int_to_binary(mp_int z, unsigned char* buf, int limit) BU_NOEXCEPT;
BU_API mp_result mp_int_read_binary(mp_int z, unsigned char* buf, int len) BU_NOEXCEPT;
BU_API mp_result mp_int_binary_len(mp_int z) BU_NOEXCEPT;
BU_API mp_result mp_int_to_unsigned(mp_int z, unsigned char* buf, int limit) BU_NOEXCEPT;
BU_API mp_result mp_int_read_unsigned(mp_int z, unsigned char* buf, int len) BU_NOEXCEPT;
BU_API mp_result mp_int_unsigned_len(mp_int z) BU_NOEXCEPT;

#endif /* BU_DECIMAL_MP_INT_H */
