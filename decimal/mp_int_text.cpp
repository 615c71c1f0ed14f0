// mp_int_text.cpp - mp_int_ values to and from text in radix 2 to 36 and
// big-endian bytes. Decimal output of values up to 128 bits stays in
// registers and stack memory: it is on the row path of delimited output.
#include <cctype>
#include <cmath>
#include <cstring>

#include "digit_pairs.h"
#include "mp_int_internal.h"

using namespace bu::mp;
using bu::kDigitPairs;

namespace {

constexpr char kDigitChars[] = "0123456789abcdefghijklmnopqrstuvwxyz";

// The largest power of radix that fits a Word, and its exponent: the text
// of a chunk below that power has at most `chars` characters.
template <typename Word>
struct ChunkPower {
    Word power;
    int chars;
};

template <typename Word>
constexpr ChunkPower<Word> chunk_power(mp_size radix) {
    Word p = radix;
    int k = 1;
    while (p <= static_cast<Word>(~Word{0}) / radix) {
        p *= radix;
        ++k;
    }
    return {p, k};
}

bool radix_ok(mp_size radix) {
    return radix >= MP_MIN_RADIX && radix <= MP_MAX_RADIX;
}

int char_value(unsigned char ch) {
    if (ch >= '0' && ch <= '9') return ch - '0';
    if (ch >= 'a' && ch <= 'z') return ch - 'a' + 10;
    if (ch >= 'A' && ch <= 'Z') return ch - 'A' + 10;
    return 99;
}

// Appends the digits of v in reverse order at out[*pos], at most `room`
// characters in all; exactly `min_chars` when v has fewer digits (zero
// padding inside a chunk). False when the room runs out.
bool put_reversed(uint64_t v, mp_size radix, int min_chars, char* out, int* pos, int room) {
    int written = 0;
    if (radix == 10) {
        // Constant divisors: the compiler turns them into multiplications.
        while (v >= 10000) {
            if (*pos + 4 > room) return false;
            const uint64_t q = v / 10000;
            const unsigned four = static_cast<unsigned>(v - q * 10000);
            const unsigned low = (four % 100) * 2, high = (four / 100) * 2;
            out[(*pos)++] = kDigitPairs.text[low + 1];
            out[(*pos)++] = kDigitPairs.text[low];
            out[(*pos)++] = kDigitPairs.text[high + 1];
            out[(*pos)++] = kDigitPairs.text[high];
            written += 4;
            v = q;
        }
        while (v >= 100) {
            if (*pos + 2 > room) return false;
            const unsigned pair = static_cast<unsigned>(v % 100) * 2;
            v /= 100;
            out[(*pos)++] = kDigitPairs.text[pair + 1];
            out[(*pos)++] = kDigitPairs.text[pair];
            written += 2;
        }
        if (v >= 10) {
            if (*pos + 2 > room) return false;
            out[(*pos)++] = kDigitPairs.text[v * 2 + 1];
            out[(*pos)++] = kDigitPairs.text[v * 2];
            written += 2;
        } else if (v != 0 || written == 0) {
            if (*pos + 1 > room) return false;
            out[(*pos)++] = static_cast<char>('0' + v);
            ++written;
        }
    } else {
        while (v != 0 || written == 0) {
            if (*pos + 1 > room) return false;
            out[(*pos)++] = kDigitChars[v % radix];
            v /= radix;
            ++written;
        }
    }
    if (written < min_chars) {
        if (*pos + (min_chars - written) > room) return false;
        for (; written < min_chars; ++written) out[(*pos)++] = '0';
    }
    return true;
}

}  // namespace

mp_result mp_int_count_bits(mp_int z) noexcept {
    if (z == nullptr) return MP_RESULT_BADARG;
    if (is_zero(z)) return 1;
    return static_cast<mp_result>((z->used - 1) * 32 +
                                  (32 - __builtin_clz(z->digits[z->used - 1])));
}

mp_result mp_int_string_len(mp_int z, mp_size radix) noexcept {
    if (z == nullptr) return MP_RESULT_BADARG;
    if (!radix_ok(radix)) return MP_RESULT_RANGE;
    const double bits = mp_int_count_bits(z);
    // A value below 2^bits has at most bits / log2(radix) + 1 digits; one
    // more covers rounding of the quotient.
    const int chars = static_cast<int>(bits / std::log2(static_cast<double>(radix))) + 2;
    return chars + (z->sign == MP_SIGN_NEG ? 1 : 0) + 1;
}

mp_result mp_int_to_string(mp_int z, mp_size radix, char* str, int limit) noexcept {
    if (z == nullptr || str == nullptr) return MP_RESULT_BADARG;
    if (!radix_ok(radix)) return MP_RESULT_RANGE;
    if (limit < 1) return MP_RESULT_TRUNC;
    const int room = limit - 1;  // the terminator always needs its byte
    int pos = 0;
    if (z->sign == MP_SIGN_NEG) {
        if (room < 1) {
            str[0] = '\0';
            return MP_RESULT_TRUNC;
        }
        str[pos++] = '-';
    }
    const int first = pos;
    bool fits = true;
    uint64_t small;
    if (magnitude_u64(z, &small)) {
        fits = put_reversed(small, radix, 0, str, &pos, room);
    } else if (z->used <= 4) {
        // Up to 128 bits: peel 64-bit chunks with 128-bit arithmetic, which
        // takes a couple of divisions where digit-wise division takes more.
        unsigned __int128 v = 0;
        for (mp_size i = z->used; i-- > 0;) v = v << 32 | z->digits[i];
        const auto cp = chunk_power<uint64_t>(radix);
        while (fits && (v >> 64) != 0) {
            const unsigned __int128 q = v / cp.power;
            fits = put_reversed(static_cast<uint64_t>(v - q * cp.power), radix, cp.chars, str, &pos,
                                room);
            v = q;
        }
        if (fits) fits = put_reversed(static_cast<uint64_t>(v), radix, 0, str, &pos, room);
    } else {
        // Peel off chunks of radix^k by single-digit division of a copy.
        const auto cp = chunk_power<mp_digit>(radix);
        ScratchDigits work(z->used);
        if (!work.ok()) return MP_RESULT_MEMORY;
        std::memcpy(work.get(), z->digits, sizeof(mp_digit) * z->used);
        mp_size n = z->used;
        while (fits && n > 2) {
            const mp_digit rem = udiv_small(work.get(), n, cp.power, work.get());
            while (n > 1 && work.get()[n - 1] == 0) --n;
            fits = put_reversed(rem, radix, cp.chars, str, &pos, room);
        }
        if (fits) {
            const uint64_t rest = work.get()[0] | (n == 2 ? uint64_t{work.get()[1]} << 32 : 0);
            fits = put_reversed(rest, radix, 0, str, &pos, room);
        }
    }
    if (!fits) {
        str[0] = '\0';
        return MP_RESULT_TRUNC;
    }
    for (int i = first, j = pos - 1; i < j; ++i, --j) {
        const char t = str[i];
        str[i] = str[j];
        str[j] = t;
    }
    str[pos] = '\0';
    return MP_RESULT_OK;
}

mp_result mp_int_read_cstring(mp_int z, mp_size radix, const char* str, char** end) noexcept {
    if (z == nullptr || str == nullptr) return MP_RESULT_BADARG;
    if (!radix_ok(radix)) return MP_RESULT_RANGE;
    while (std::isspace(static_cast<unsigned char>(*str))) ++str;
    mp_sign sign = MP_SIGN_ZPOS;
    if (*str == '-' || *str == '+') {
        if (*str == '-') sign = MP_SIGN_NEG;
        ++str;
    }
    while (char_value(static_cast<unsigned char>(*str)) == 0) ++str;
    const char* p = str;
    while (char_value(static_cast<unsigned char>(*p)) < static_cast<int>(radix)) ++p;
    const size_t count = static_cast<size_t>(p - str);
    // ceil(log2(radix)) bits per character is an upper bound of the room.
    const size_t bits_per_char = 32 - __builtin_clz(radix - 1);
    const size_t need = count * bits_per_char / 32 + 2;
    if (need > 0x7FFFFFFFu) return MP_RESULT_MEMORY;
    if (!ensure(z, static_cast<mp_size>(need))) return MP_RESULT_MEMORY;

    const auto cp = chunk_power<mp_digit>(radix);
    mp_size used = 1;
    z->digits[0] = 0;
    while (str < p) {
        mp_digit chunk = 0;
        mp_digit scale = 1;
        for (int k = 0; k < cp.chars && str < p; ++k, ++str) {
            chunk =
                chunk * radix + static_cast<mp_digit>(char_value(static_cast<unsigned char>(*str)));
            scale *= radix;
        }
        const mp_digit carry = umul_add_small(z->digits, used, scale, chunk);
        if (carry != 0) z->digits[used++] = carry;
    }
    z->used = used;
    z->sign = sign;
    clamp(z);
    if (end != nullptr) *end = const_cast<char*>(str);
    return *str != '\0' ? MP_RESULT_TRUNC : MP_RESULT_OK;
}

mp_result mp_int_read_string(mp_int z, mp_size radix, const char* str) noexcept {
    return mp_int_read_cstring(z, radix, str, nullptr);
}

mp_result mp_int_unsigned_len(mp_int z) noexcept {
    if (z == nullptr) return MP_RESULT_BADARG;
    return (mp_int_count_bits(z) + 7) / 8;
}

mp_result mp_int_binary_len(mp_int z) noexcept {
    if (z == nullptr) return MP_RESULT_BADARG;
    const mp_result bits = mp_int_count_bits(z);
    const mp_result bytes = (bits + 7) / 8;
    // A top bit on a byte boundary would read back as the sign: pad.
    return bytes * 8 == bits ? bytes + 1 : bytes;
}

namespace {

// Writes |z| big-endian into the last n bytes of buf, zero-filled in front.
void put_magnitude(const mpz_t* z, unsigned char* buf, int n) {
    std::memset(buf, 0, static_cast<size_t>(n));
    int pos = n;
    for (mp_size i = 0; i < z->used && pos > 0; ++i) {
        mp_digit d = z->digits[i];
        for (int b = 0; b < 4 && pos > 0; ++b, d >>= 8) buf[--pos] = static_cast<unsigned char>(d);
    }
}

// Reads n big-endian bytes (inverted when `invert`) as a magnitude into z.
mp_result get_magnitude(mp_int z, const unsigned char* buf, int n, bool invert) {
    const mp_size need = static_cast<mp_size>(n / 4 + 1);
    if (!ensure(z, need)) return MP_RESULT_MEMORY;
    const mp_digit mask = invert ? 0xFFFFFFFFu : 0;
    // Whole digits from the last byte backwards, then the partial top one.
    mp_size d = 0;
    int end = n;
    for (; end >= 4; end -= 4, ++d) {
        const unsigned char* b = buf + end - 4;
        const mp_digit word = static_cast<mp_digit>(b[0]) << 24 |
                              static_cast<mp_digit>(b[1]) << 16 | static_cast<mp_digit>(b[2]) << 8 |
                              b[3];
        z->digits[d] = word ^ mask;
    }
    mp_digit top = 0;
    for (int i = 0; i < end; ++i) top = top << 8 | buf[i];
    z->digits[d] = top ^ (end == 0 ? 0 : mask >> (32 - 8 * end));
    z->used = need;
    return MP_RESULT_OK;
}

}  // namespace

mp_result mp_int_to_unsigned(mp_int z, unsigned char* buf, int limit) noexcept {
    if (z == nullptr || buf == nullptr) return MP_RESULT_BADARG;
    const int len = mp_int_unsigned_len(z);
    if (len > limit) return MP_RESULT_TRUNC;
    put_magnitude(z, buf, len);
    return MP_RESULT_OK;
}

mp_result mp_int_to_binary(mp_int z, unsigned char* buf, int limit) noexcept {
    if (z == nullptr || buf == nullptr) return MP_RESULT_BADARG;
    const int len = mp_int_binary_len(z);
    if (len > limit) return MP_RESULT_TRUNC;
    put_magnitude(z, buf, len);
    if (z->sign == MP_SIGN_NEG) {
        // Two's complement: invert, then add one from the last byte up.
        unsigned carry = 1;
        for (int i = len; i-- > 0;) {
            const unsigned v = static_cast<unsigned char>(~buf[i]) + carry;
            buf[i] = static_cast<unsigned char>(v);
            carry = v >> 8;
        }
    }
    return MP_RESULT_OK;
}

mp_result mp_int_read_unsigned(mp_int z, unsigned char* buf, int len) noexcept {
    if (z == nullptr || (buf == nullptr && len > 0) || len < 0) return MP_RESULT_BADARG;
    mp_result res = get_magnitude(z, buf, len, false);
    if (res != MP_RESULT_OK) return res;
    z->sign = MP_SIGN_ZPOS;
    clamp(z);
    return MP_RESULT_OK;
}

mp_result mp_int_read_binary(mp_int z, unsigned char* buf, int len) noexcept {
    if (z == nullptr || (buf == nullptr && len > 0) || len < 0) return MP_RESULT_BADARG;
    const bool negative = len > 0 && (buf[0] & 0x80) != 0;
    mp_result res = get_magnitude(z, buf, len, negative);
    if (res != MP_RESULT_OK) return res;
    if (negative) {
        // The magnitude of a negative value is its inverted bytes plus one;
        // the sum never reaches the digit beyond the last byte's.
        for (mp_size i = 0; i < z->used && ++z->digits[i] == 0; ++i) {
        }
        z->sign = MP_SIGN_NEG;
    } else {
        z->sign = MP_SIGN_ZPOS;
    }
    clamp(z);
    return MP_RESULT_OK;
}
