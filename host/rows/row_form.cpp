// Building and checking rows in the row form.
#include "rows/row_form.h"

#include <array>
#include <bit>
#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <cstring>

namespace buhost {
namespace {

[[noreturn]] void bad(const ColumnDefinition& c, const std::string& what) {
    throw JobError("column '" + c.name + "': " + what);
}

void storeLE(uint8_t* at, __int128 v, uint32_t width) {
    for (uint32_t i = 0; i < width; ++i) {
        at[i] = static_cast<uint8_t>(v & 0xff);
        v >>= 8;
    }
}

bool fitsSigned(__int128 v, uint32_t width) {
    if (width >= 16) return true;
    __int128 lim = static_cast<__int128>(1) << (8 * width - 1);
    return v >= -lim && v < lim;
}

// A column's length from the 1, 2 or 8 bytes in front of it, low byte first.
uint64_t lengthAt(const uint8_t* p, uint32_t prefix) {
    if (prefix == 2) return p[0] | static_cast<uint64_t>(p[1]) << 8;
    if (prefix == 1) return p[0];
    uint64_t len = 0;
    for (uint32_t b = prefix; b-- > 0;) len = len << 8 | p[b];
    return len;
}

// Each indicator byte as the eight indicator entries it stands for, the high
// bit first, ready to be stored in one go.
static_assert(std::endian::native == std::endian::little, "entries are stored low byte first");
constexpr auto kIndicatorEntries = [] {
    std::array<uint64_t, 256> entries{};
    for (unsigned byte = 0; byte < 256; ++byte)
        for (unsigned bit = 0; bit < 8; ++bit)
            if (byte & (0x80u >> bit)) entries[byte] |= uint64_t{1} << (8 * bit);
    return entries;
}();

// The entries of a row's indicator bytes, eight at a time; the bits of the
// last byte behind the last column are left out, so its entries stay 0.
void spreadIndicators(const uint8_t* bytes, uint32_t count, uint8_t lastMask, uint8_t* entries) {
    for (uint32_t k = 0; k < count; ++k) {
        const uint8_t byte = k + 1 < count ? bytes[k] : bytes[k] & lastMask;
        std::memcpy(entries + 8 * k, &kIndicatorEntries[byte], 8);
    }
}

// Powers of ten up to 10^38, the widest a DECIMAL or NUMBER holds.
constexpr int kMaxDigits = 38;
constexpr auto kPowersOfTen = [] {
    std::array<__int128, kMaxDigits + 1> p{};
    p[0] = 1;
    for (size_t i = 1; i < p.size(); ++i) p[i] = p[i - 1] * 10;
    return p;
}();

__int128 pow10i(int n) {
    return kPowersOfTen[static_cast<size_t>(n)];
}

// A scaled value moved from one scale to another; digits dropped on the way
// round half away from zero, as in a decimal text.
__int128 rescale(__int128 v, int from, int to) {
    if (to >= from) return v * pow10i(to - from);
    const __int128 unit = pow10i(from - to);
    const __int128 half = unit / 2;
    return v < 0 ? -((-v + half) / unit) : (v + half) / unit;
}

std::string scaledText(__int128 v, int scale) {
    char digits[kMaxDigits + 2];
    size_t n = 0;
    for (__int128 x = v < 0 ? -v : v; x != 0 || n <= static_cast<size_t>(scale); x /= 10)
        digits[n++] = static_cast<char>('0' + static_cast<int>(x % 10));
    std::string out = v < 0 ? "-" : "";
    while (n-- > 0) {
        out.push_back(digits[n]);
        if (n == static_cast<size_t>(scale) && scale > 0) out.push_back('.');
    }
    return out;
}

// Parses "[-]digits[.digits]" into an integer scaled by 10^scale, rounding
// surplus fraction digits half away from zero. False on any other text.
bool parseScaled(std::string_view s, int scale, __int128& out) {
    size_t i = 0;
    bool neg = false;
    while (i < s.size() && s[i] == ' ') ++i;
    if (i < s.size() && (s[i] == '-' || s[i] == '+')) neg = s[i++] == '-';
    __int128 v = 0;
    int fracDigits = 0;
    int roundDigit = -1;  // first fraction digit beyond `scale`
    bool anyDigit = false, inFraction = false;
    for (; i < s.size(); ++i) {
        char ch = s[i];
        if (ch == '.' && !inFraction) {
            inFraction = true;
            continue;
        }
        if (ch < '0' || ch > '9') break;
        anyDigit = true;
        if (inFraction && fracDigits == scale) {
            if (roundDigit < 0) roundDigit = ch - '0';
            continue;
        }
        if (v >= pow10i(kMaxDigits - 1)) return false;
        v = v * 10 + (ch - '0');
        if (inFraction) ++fracDigits;
    }
    while (i < s.size() && s[i] == ' ') ++i;
    if (!anyDigit || i != s.size()) return false;
    v *= pow10i(scale - fracDigits);
    if (roundDigit >= 5) ++v;
    out = neg ? -v : v;
    return true;
}

std::string textOf(const ColumnDefinition& c, const CellValue& v) {
    switch (v.type) {
        case CellValue::Type::Text:
            return std::string(v.text);
        case CellValue::Type::Integer:
            return std::to_string(v.integer);
        case CellValue::Type::Real: {
            char buf[64];
            std::snprintf(buf, sizeof buf, "%.17g", v.real);
            return buf;
        }
        case CellValue::Type::Scaled:
            if (v.scale < 0 || v.scale > kMaxDigits) bad(c, "scale out of range");
            return scaledText(v.scaled, v.scale);
        case CellValue::Type::Null:
            break;
    }
    return {};
}

__int128 decimalValue(const ColumnDefinition& c, const CellValue& v) {
    __int128 scaled = 0;
    switch (v.type) {
        case CellValue::Type::Integer:
            scaled = static_cast<__int128>(v.integer) * pow10i(c.scale);
            break;
        case CellValue::Type::Real: {
            long double x = std::round(static_cast<long double>(v.real) *
                                       static_cast<long double>(std::pow(10.0L, c.scale)));
            if (!std::isfinite(static_cast<double>(x))) bad(c, "not a finite number");
            scaled = static_cast<__int128>(x);
            break;
        }
        case CellValue::Type::Text:
            if (!parseScaled(v.text, c.scale, scaled))
                bad(c, "'" + std::string(v.text) + "' is not a decimal number");
            break;
        case CellValue::Type::Scaled:
            scaled = rescale(v.scaled, v.scale, c.scale);
            break;
        case CellValue::Type::Null:
            break;
    }
    __int128 limit = pow10i(c.precision);
    if (scaled >= limit || scaled <= -limit) bad(c, "value exceeds DECIMAL precision");
    return scaled;
}

int64_t integerValue(const ColumnDefinition& c, const CellValue& v) {
    switch (v.type) {
        case CellValue::Type::Integer:
            return v.integer;
        case CellValue::Type::Real:
            if (!std::isfinite(v.real)) bad(c, "not a finite number");
            return static_cast<int64_t>(v.real);
        case CellValue::Type::Text:
        case CellValue::Type::Scaled: {
            std::string s = textOf(c, v);
            errno = 0;
            char* end = nullptr;
            long long n = std::strtoll(s.c_str(), &end, 10);
            if (s.empty() || *end != '\0' || errno != 0) bad(c, "'" + s + "' is not an integer");
            return n;
        }
        case CellValue::Type::Null:
            return 0;
    }
    return 0;
}

int32_t intDateValue(const ColumnDefinition& c, const CellValue& v) {
    if (v.type != CellValue::Type::Text) return static_cast<int32_t>(integerValue(c, v));
    int y = 0, m = 0, d = 0;
    char tail = 0;
    std::string s(v.text);
    if (std::sscanf(s.c_str(), "%d-%d-%d%c", &y, &m, &d, &tail) != 3 || m < 1 || m > 12 || d < 1 ||
        d > 31)
        bad(c, "'" + s + "' is not a date YYYY-MM-DD");
    return (y - 1900) * 10000 + m * 100 + d;
}

// A NUMBER column's bytes from a decimal text: the scale is the count of
// fraction digits given.
uint32_t numberFromText(std::string_view decimalText, uint8_t* out) {
    size_t dot = decimalText.find('.');
    int fraction =
        dot == std::string_view::npos ? 0 : static_cast<int>(decimalText.size() - dot - 1);
    __int128 mantissa = 0;
    if (fraction > kMaxDigits || !parseScaled(decimalText, fraction, mantissa))
        throw JobError("'" + std::string(decimalText) + "' is not a number");
    return encodeNumber(mantissa, fraction, out);
}

}  // namespace

uint32_t encodeNumber(__int128 mantissa, int scale, uint8_t* out) {
    // The field in front of the mantissa holds the scale: the value is the
    // mantissa times 10 to minus it, as the operator's number layer reads it.
    if (mantissa == 0) return 0;
    while (mantissa % 10 == 0) {
        mantissa /= 10;
        --scale;
    }
    uint32_t width = 1;
    while (!fitsSigned(mantissa, width)) ++width;
    storeLE(out, static_cast<int16_t>(scale), 2);
    storeLE(out + 2, mantissa, width);
    return 2 + width;
}

RowForm::RowForm(const std::vector<ColumnDefinition>& schema)
    : schema_(schema),
      distance_(schema.size(), 0),
      indicatorBytes_(static_cast<uint32_t>((schema.size() + 7) / 8)),
      maxRowLength_(indicatorBytes_),
      lastIndicatorMask_(
          static_cast<uint8_t>(0xFF00u >> (schema.size() % 8 ? schema.size() % 8 : 8))) {
    runs_.push_back({0, 0, 0, 0, 0});
    for (uint32_t i = 0; i < schema_.size(); ++i) {
        const ColumnDefinition& c = schema_[i];
        bounds_.push_back({prefixSize(c.type.family), c.length});
        maxRowLength_ += bounds_.back().prefix + c.length;
        if (bounds_.back().prefix > 0) {
            runs_.push_back({bounds_.back().prefix, c.length, i, i + 1, 0});
            continue;
        }
        Run& run = runs_.back();
        distance_[i] = run.fixedBytes;
        run.fixedBytes += c.length;
        run.end = i + 1;
    }
    if (runs_.front().end == 0) runs_.erase(runs_.begin());
}

void RowForm::prepare(RowBuffer& row) const {
    row.data.assign(maxRowLength_, 0);
    row.indicators.assign(size_t{8} * indicatorBytes_, 0);
    row.offsets.assign(schema_.size(), 0);
    row.lengths.assign(schema_.size(), 0);
    resetWidths(row);
    row.length = 0;
}

void RowForm::resetWidths(RowBuffer& row) const {
    for (size_t i = 0; i < bounds_.size(); ++i) row.lengths[i] = bounds_[i].length;
}

void RowForm::build(const CellValue* values, RowBuffer& row) const {
    std::memset(row.data.data(), 0, indicatorBytes_);
    uint32_t pos = indicatorBytes_;
    for (size_t i = 0; i < schema_.size(); ++i) putColumn(i, values[i], row, pos);
    row.at = row.data.data();
    row.length = pos;
}

void RowForm::putColumn(size_t i, const CellValue& v, RowBuffer& row, uint32_t& pos) const {
    const ColumnDefinition& c = schema_[i];
    const bool isNull = v.type == CellValue::Type::Null;
    if (isNull && !c.nullable) bad(c, "NULL in a column that is not nullable");
    row.indicators[i] = isNull ? 1 : 0;
    if (isNull) row.data[i / 8] |= static_cast<uint8_t>(0x80u >> (i % 8));

    uint8_t* base = row.data.data();
    const uint32_t prefix = prefixSize(c.type.family);
    const uint32_t dataAt = pos + prefix;
    uint32_t len = c.type.family == RowFamily::Fixed ? c.length : 0;

    if (isNull) {
        std::memset(base + dataAt, 0, len);
    } else {
        switch (c.type.kind) {
            case ValueKind::Integer: {
                int64_t n = integerValue(c, v);
                if (!fitsSigned(n, c.length)) bad(c, "integer out of range");
                storeLE(base + dataAt, n, c.length);
                break;
            }
            case ValueKind::Float: {
                double d = v.type == CellValue::Type::Real ? v.real
                           : v.type == CellValue::Type::Integer
                               ? static_cast<double>(v.integer)
                               : std::strtod(textOf(c, v).c_str(), nullptr);
                std::memcpy(base + dataAt, &d, 8);
                break;
            }
            case ValueKind::Decimal:
                storeLE(base + dataAt, decimalValue(c, v), c.length);
                break;
            case ValueKind::IntDate: {
                int32_t d = intDateValue(c, v);
                std::memcpy(base + dataAt, &d, 4);
                break;
            }
            case ValueKind::Number: {
                uint8_t bytes[kMaxNumberBytes];
                const uint32_t n = v.type == CellValue::Type::Scaled
                                       ? encodeNumber(v.scaled, v.scale, bytes)
                                       : numberFromText(textOf(c, v), bytes);
                if (n > c.length) bad(c, "NUMBER needs more than its length");
                std::memcpy(base + dataAt, bytes, n);
                len = n;
                break;
            }
            case ValueKind::Text:
            case ValueKind::Bytes: {
                std::string owned;
                std::string_view bytes = v.text;
                if (v.type != CellValue::Type::Text) {
                    owned = textOf(c, v);
                    bytes = owned;
                }
                if (bytes.size() > c.length)
                    bad(c, std::to_string(bytes.size()) + " bytes exceed the length " +
                               std::to_string(c.length));
                std::memcpy(base + dataAt, bytes.data(), bytes.size());
                if (c.type.family == RowFamily::Fixed) {
                    char pad = c.type.kind == ValueKind::Text ? ' ' : '\0';
                    std::memset(base + dataAt + bytes.size(), pad, c.length - bytes.size());
                } else {
                    len = static_cast<uint32_t>(bytes.size());
                }
                break;
            }
        }
    }
    if (prefix > 0) storeLE(base + pos, len, prefix);
    row.offsets[i] = dataAt;
    row.lengths[i] = len;
    pos = dataAt + len;
}

void RowForm::adopt(const uint8_t* bytes, uint32_t length, RowBuffer& row) const {
    measure(bytes, length, row);
    std::memcpy(row.data.data(), bytes, length);
    row.at = row.data.data();
}

void RowForm::measure(const uint8_t* bytes, uint32_t length, RowBuffer& row) const {
    if (length > maxRowLength_ || length < indicatorBytes_) refuse(bytes, length);
    spreadIndicators(bytes, indicatorBytes_, lastIndicatorMask_, row.indicators.data());
    uint32_t* const offsets = row.offsets.data();
    uint32_t* const lengths = row.lengths.data();
    uint64_t pos = indicatorBytes_;
    for (const Run& run : runs_) {
        uint32_t column = run.first;
        if (run.prefix > 0) {
            if (pos + run.prefix > length) refuse(bytes, length);
            const uint64_t len = lengthAt(bytes + pos, run.prefix);
            if (len > run.most) refuse(bytes, length);
            offsets[column] = static_cast<uint32_t>(pos + run.prefix);
            lengths[column] = static_cast<uint32_t>(len);
            pos += run.prefix + len;
            ++column;
        }
        // A fixed column's length is its width, in place since prepare().
        const auto at = static_cast<uint32_t>(pos);
        for (; column < run.end; ++column) offsets[column] = at + distance_[column];
        pos += run.fixedBytes;
    }
    // Positions only grow, so a row that ends where its last column does
    // holds every column whole.
    if (pos != length) refuse(bytes, length);
    row.at = bytes;
    row.length = length;
}

void RowForm::refuse(const uint8_t* bytes, uint32_t length) const {
    if (length > maxRowLength_)
        throw JobError("row of " + std::to_string(length) + " bytes exceeds the schema's " +
                       std::to_string(maxRowLength_));
    if (length < indicatorBytes_) throw JobError("row too short for its indicator bytes");
    uint32_t pos = indicatorBytes_;
    for (size_t i = 0; i < bounds_.size(); ++i) {
        const ColumnBounds c = bounds_[i];
        if (pos + c.prefix > length)
            throw JobError("row ends before column '" + schema_[i].name + "'");
        uint64_t len = c.prefix > 0 ? lengthAt(bytes + pos, c.prefix) : c.length;
        if (len > c.length)
            throw JobError("column '" + schema_[i].name + "' holds " + std::to_string(len) +
                           " bytes, more than its length " + std::to_string(c.length));
        if (pos + c.prefix + len > length)
            throw JobError("row ends inside column '" + schema_[i].name + "'");
        pos += c.prefix + static_cast<uint32_t>(len);
    }
    if (pos != length)
        throw JobError("row has " + std::to_string(length - pos) + " bytes behind its last column");
    throw JobError("row disagrees with the schema");
}

}  // namespace buhost
