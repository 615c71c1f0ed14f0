#include "baseline_writers.h"

#include <charconv>
#include <cstdio>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <vector>

namespace bench {
namespace {

constexpr size_t kBlock = 1 << 20;
constexpr size_t kLongestRecord = 4096;  // far above what a row of the table can need

struct CloseFile {
    void operator()(std::FILE* f) const { std::fclose(f); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

File create(const std::string& path) {
    File f(std::fopen(path.c_str(), "wb"));
    if (!f) throw std::runtime_error("cannot create " + path);
    return f;
}

void finish(File f, const std::string& path) {
    const bool failed = std::ferror(f.get()) != 0;
    if (std::fclose(f.release()) != 0 || failed) throw std::runtime_error("cannot write " + path);
}

// Records are built straight into a block that goes out in one fwrite when
// it holds a MiB.
class BlockWriter {
  public:
    explicit BlockWriter(const std::string& path)
        : path_(path), file_(create(path)), block_(kBlock + kLongestRecord) {}

    char* at() { return block_.data() + used_; }
    void advance(char* to) {
        used_ = static_cast<size_t>(to - block_.data());
        if (used_ >= kBlock) flush();
    }
    uint64_t close() {
        flush();
        finish(std::move(file_), path_);
        return written_;
    }

  private:
    void flush() {
        if (used_ > 0 && std::fwrite(block_.data(), 1, used_, file_.get()) != used_)
            throw std::runtime_error("cannot write " + path_);
        written_ += used_;
        used_ = 0;
    }

    std::string path_;
    File file_;
    std::vector<char> block_;
    size_t used_ = 0;
    uint64_t written_ = 0;
};

char* copy(char* out, const char* from, size_t n) {
    std::memcpy(out, from, n);
    return out + n;
}

template <typename T>
char* integer(char* out, T value) {
    return std::to_chars(out, out + 24, value).ptr;
}

// DECIMAL of precision up to 18: trailing zeros of the fraction go, and the
// point with them; a zero before the point when there is no integer digit.
char* decimal(char* out, int64_t scaled, int scale) {
    if (scaled == 0) {
        *out = '0';
        return out + 1;
    }
    if (scaled < 0) *out++ = '-';
    uint64_t magnitude = scaled < 0 ? 0 - static_cast<uint64_t>(scaled) : scaled;
    while (scale > 0 && magnitude % 10 == 0) {
        magnitude /= 10;
        --scale;
    }
    char digits[24];
    int n = static_cast<int>(std::to_chars(digits, digits + sizeof digits, magnitude).ptr - digits);
    if (n <= scale) {  // no integer digit: "0.", zeros, the digits
        *out++ = '0';
        *out++ = '.';
        std::memset(out, '0', static_cast<size_t>(scale - n));
        return copy(out + scale - n, digits, static_cast<size_t>(n));
    }
    std::memcpy(out, digits, static_cast<size_t>(n - scale));
    out += n - scale;
    if (scale > 0) {
        *out++ = '.';
        std::memcpy(out, digits + n - scale, static_cast<size_t>(scale));
        out += scale;
    }
    return out;
}

// One or two digits, the one digit behind a zero; nothing for 0.
char* twoDigits(char* out, int value) {
    if (value == 0) return out;
    if (value < 10) *out++ = '0';
    return integer(out, value);
}

// INTDATE as YYYY/MM/DD.
char* date(char* out, int32_t intDate) {
    const int32_t v = intDate + 19000000;
    const int year = v / 10000, month = v / 100 % 100, day = v % 100;
    const int zeros = year == 0 ? 2 : year < 10 ? 3 : year < 100 ? 2 : year < 1000 ? 1 : 0;
    std::memset(out, '0', static_cast<size_t>(zeros));
    out += zeros;
    if (year != 0) out = integer(out, year);
    *out++ = '/';
    out = twoDigits(out, month);
    *out++ = '/';
    return twoDigits(out, day);
}

// FLOAT from its "%.14e" digits: a plain number for exponents 1 to 14, the
// scientific form otherwise, trailing zeros of the fraction removed. A
// negative value keeps one digit more behind its last non-zero one, as the
// operator's rendering does.
char* floating(char* out, double value) {
    if (value == 0.0) {
        *out = '0';
        return out + 1;
    }
    char text[40];
    const char* end =
        std::to_chars(text, text + sizeof text, value, std::chars_format::scientific, 14).ptr;
    const char* e =
        static_cast<const char*>(std::memchr(text, 'e', static_cast<size_t>(end - text)));
    int exponent = 0;
    std::from_chars(e + (e[1] == '+' ? 2 : 1), end, exponent);
    const bool negative = text[0] == '-';
    const char* mantissa = text + (negative ? 1 : 0);
    auto trimmed = [&](char* to) {
        const char* last = e;
        while (last[-1] == '0') --last;
        if (last[-1] == '.') --last;
        return copy(to, text, static_cast<size_t>(last - text));
    };
    if (exponent == 0) return trimmed(out);
    if (exponent < 0 || exponent >= 15) {
        out = trimmed(out);
        return copy(out, e, static_cast<size_t>(end - e));
    }
    if (negative) *out++ = '-';
    char digits[15];
    digits[0] = mantissa[0];
    std::memcpy(digits + 1, mantissa + 2, 14);
    out = copy(out, digits, static_cast<size_t>(exponent + 1));
    if (exponent == 14) return out;
    const int least = exponent + (negative ? 2 : 1);
    const int look = negative ? 2 : 1;
    int kept = 15;
    while (kept > least && digits[kept - look] == '0') --kept;
    const int fraction = kept - (exponent + 1);
    if (fraction > 0) {
        *out++ = '.';
        out = copy(out, digits + exponent + 1, static_cast<size_t>(fraction));
    }
    return out;
}

// A text column; with optional quoting, one that holds the delimiter or the
// quote, or is empty, goes in quotes with its quotes doubled.
char* text(char* out, std::string_view t, char delimiter, Quoting quoting) {
    const bool quote =
        quoting == Quoting::Optional && (t.empty() || t.find(delimiter) != std::string_view::npos ||
                                         t.find('"') != std::string_view::npos);
    if (!quote) return copy(out, t.data(), t.size());
    *out++ = '"';
    for (char c : t) {
        if (c == '"') *out++ = '"';
        *out++ = c;
    }
    *out++ = '"';
    return out;
}

}  // namespace

uint64_t writeDelimited(const ReferenceRows& rows, char delimiter, Quoting quoting,
                        const std::string& path) {
    BlockWriter w(path);
    rows.forEach([&](const uint8_t* row, uint32_t) {
        const ReferenceRow v = decodeReferenceRow(row);
        char* out = w.at();
        out = integer(out, v.id);
        *out++ = delimiter;
        if (!v.customerIsNull) out = text(out, v.customer, delimiter, quoting);
        *out++ = delimiter;
        out = decimal(out, v.amountCents, 2);
        *out++ = delimiter;
        out = integer(out, v.quantity);
        *out++ = delimiter;
        out = date(out, v.soldOn);
        *out++ = delimiter;
        out = text(out, v.code, delimiter, quoting);
        *out++ = delimiter;
        out = integer(out, v.big);
        *out++ = delimiter;
        if (!v.ratioIsNull) out = floating(out, v.ratio);
        *out++ = '\n';
        w.advance(out);
    });
    return w.close();
}

uint64_t writeLengthPrefixed(const ReferenceRows& rows, LengthPrefix form,
                             const std::string& path) {
    std::vector<char> buffer(kBlock);  // outlives the stream that uses it
    File f = create(path);
    std::setvbuf(f.get(), buffer.data(), _IOFBF, buffer.size());
    uint64_t written = 0;
    rows.forEach([&](const uint8_t* row, uint32_t length) {
        const uint16_t data = static_cast<uint16_t>(length - kIndicatorBytes);
        if (form != LengthPrefix::Unformatted) std::fwrite(&data, 2, 1, f.get());
        std::fwrite(row + kIndicatorBytes, 1, data, f.get());
        if (form == LengthPrefix::Formatted) std::fputc('\n', f.get());
        written += data + (form == LengthPrefix::Unformatted ? 0 : 2) +
                   (form == LengthPrefix::Formatted ? 1 : 0);
    });
    finish(std::move(f), path);
    return written;
}

}  // namespace bench
