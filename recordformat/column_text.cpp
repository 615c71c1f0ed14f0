// Columns rendered as text for delimited records. This runs per column per
// row, so digits are made from a table of digit pairs into small stack areas
// and nothing is allocated; a FLOAT keeps fifteen significant digits, as the
// records other programs read have always carried.
#include "column_text.h"

#include <algorithm>
#include <bit>
#include <cassert>
#include <charconv>
#include <cmath>
#include <cstring>
#include <string_view>

#include "charsets.h"
#include "dc_messages.h"
#include "digit_pairs.h"
#include "float_digits.h"
#include "ld_nu.h"

namespace {

static_assert(std::endian::native == std::endian::little,
              "row values are little-endian and are read in place");

constexpr const char* kFn = "BinaryToText";

enum TypeCode : int32_t {
    kInteger = 1,
    kSmallint = 2,
    kFloat = 3,
    kDecimal = 4,
    kByteint = 6,
    kIntDate = 11,
    kBigint = 37,
    kPeriodDate = 58,
    kPeriodTime = 59,
    kPeriodTimeZone = 60,
    kPeriodTimestamp = 61,
    kPeriodTimestampZone = 62,
    kNumber = 63,
};

// The longest narrow text (a period of zoned timestamps with invalid field
// values) stays below 100 characters; widened it must fit the 300 bytes of
// a ConvertRecord with its terminator.
constexpr size_t kNarrowCapacity = 150;
// A DECIMAL has at most 38 fraction digits; a larger scale from the host
// is taken as 38, which keeps the text within its area.
constexpr int kMaxDecimalScale = 38;

BN_BigNumber numberContext{};

// The write position in the narrow text.
struct Out {
    char* p;
    void put(char c) noexcept { *p++ = c; }
    void put(const char* s, size_t n) noexcept {
        std::memcpy(p, s, n);
        p += n;
    }
    void put(std::string_view s) noexcept { put(s.data(), s.size()); }
    void zeros(size_t n) noexcept {
        std::memset(p, '0', n);
        p += n;
    }
};

// Digits of a value with "-" in front when negative. Zero writes nothing:
// every caller decides what a zero looks like. These small helpers run for
// most columns of every row and are inlined, so that the write position
// stays in a register.
[[gnu::always_inline]] inline int32_t SignedToText(char* text, int64_t value) noexcept {
    if (value == 0) return 0;
    char* p = text;
    uint64_t magnitude = static_cast<uint64_t>(value);
    if (value < 0) {
        *p++ = '-';
        magnitude = 0 - magnitude;
    }
    return static_cast<int32_t>(bu::writeDecimalDigits(p, magnitude) - text);
}

[[gnu::always_inline]] inline int32_t UnsignedToText(char* text, uint32_t value) noexcept {
    if (value == 0) return 0;
    return static_cast<int32_t>(bu::writeDecimalDigits(text, value) - text);
}

// A month, a day or a zone hour: one digit gets a leading zero, and zero
// has no digits at all.
[[gnu::always_inline]] inline void putOneDigitRule(Out& out, uint32_t value) noexcept {
    if (value < 100) {
        if (value != 0) out.put(bu::kDigitPairs.of(value), 2);
        return;
    }
    char digits[10];
    int32_t n = UnsignedToText(digits, value);
    if (n == 1) out.put('0');
    out.put(digits, static_cast<size_t>(n));
}

// An hour or a minute: always at least two characters.
void putTwoCharacters(Out& out, uint32_t value) noexcept {
    char digits[10];
    int32_t n = UnsignedToText(digits, value);
    if (n < 2) out.zeros(static_cast<size_t>(2 - n));
    out.put(digits, static_cast<size_t>(n));
}

// A fixed-width value at `at` in the column; bytes the column lacks read as
// zeros.
template <typename T>
T readValue(const char* column, uint32_t length, uint32_t at = 0) noexcept {
    T value{};
    // A column of its full width, the common case, is one load.
    if (at + sizeof value <= length) {
        std::memcpy(&value, column + at, sizeof value);
    } else if (at < length) {
        std::memcpy(&value, column + at, length - at);
    }
    return value;
}

[[gnu::always_inline]] inline int64_t readSigned(const char* column, uint32_t length,
                                                 int32_t size) noexcept {
    switch (size) {
        case 1:
            return readValue<int8_t>(column, length);
        case 2:
            return readValue<int16_t>(column, length);
        case 4:
            return readValue<int32_t>(column, length);
        default:
            return readValue<int64_t>(column, length);
    }
}

[[gnu::always_inline]] inline void putInteger(Out& out, int64_t value) noexcept {
    if (value == 0) {
        out.put('0');
        return;
    }
    out.p += SignedToText(out.p, value);
}

int32_t decimalBytes(int precision) noexcept {
    if (precision <= 2) return 1;
    if (precision <= 4) return 2;
    if (precision <= 9) return 4;
    if (precision <= 18) return 8;
    return 16;
}

// The digits of a 16-byte value through the number layer: its record is a
// byte count of 18 (exponent field and mantissa), a zero exponent field and
// the 16 bytes. `text` is left empty should the layer refuse.
void wideDecimalDigits(const char* column, uint32_t length, char* text, int size) noexcept {
    unsigned char value[NU_COLUMN_MAX_BYTES] = {18};
    std::memcpy(value + NU_COLUMN_MANTISSA_OFFSET, column, std::min<uint32_t>(length, 16));
    int exponent = 0;
    text[0] = '\0';
    NU_ExportMantissaToString(&numberContext, value, text, size, &exponent);
}

// The digits, with zeros in front when they don't reach the point, and the
// last `scale` characters behind the point.
void putScaledDigits(Out& out, const char* digits, size_t count, int scale, int zeros) noexcept {
    char body[100];
    std::memset(body, '0', static_cast<size_t>(zeros));
    std::memcpy(body + zeros, digits, count);
    const size_t total = count + static_cast<size_t>(zeros);
    if (scale < 1) {
        out.put(body, total);
        return;
    }
    const size_t whole = total - static_cast<size_t>(scale);
    out.put(body, whole);
    out.put('.');
    out.put(body + whole, static_cast<size_t>(scale));
}

// Up to 18 digits the fraction loses its trailing zeros (123.00 is 123);
// wider values keep them. Records have always differed so, and other
// programs compare these bytes.
void putDecimal(Out& out, const char* column, uint32_t length, int precision, int scale) noexcept {
    scale = std::min(scale, kMaxDecimalScale);
    char area[100];
    const char* digits = area;
    size_t count = 0;
    if (precision <= 18) {
        const int64_t value = readSigned(column, length, decimalBytes(precision));
        if (value == 0) {
            out.put('0');
            return;
        }
        if (value < 0) out.put('-');
        uint64_t magnitude = static_cast<uint64_t>(value);
        if (value < 0) magnitude = 0 - magnitude;
        // The digits go straight to the text; the fraction moves one place
        // to make room for the point.
        char* const text = out.p;
        count = static_cast<size_t>(bu::writeDecimalDigits(text, magnitude) - text);
        while (scale > 0 && text[count - 1] == '0') {
            --count;
            --scale;
        }
        if (count > static_cast<size_t>(std::max(scale, 0))) {
            const size_t whole = count - static_cast<size_t>(std::max(scale, 0));
            for (size_t i = count; i > whole; --i) text[i] = text[i - 1];
            if (scale > 0) text[whole] = '.';
            out.p = text + count + (scale > 0 ? 1 : 0);
            return;
        }
        std::memcpy(area, text, count);
    } else {
        wideDecimalDigits(column, length, area, sizeof area);
        if (std::strcmp(area, "0") == 0) {
            out.put('0');
            return;
        }
        const bool negative = area[0] == '-';
        if (negative) out.put('-');
        digits = area + (negative ? 1 : 0);
        count = std::strlen(digits);
    }
    int zeros = 0;
    if (count <= static_cast<size_t>(std::max(scale, 0))) {
        // One zero before the point, but for DECIMAL(38,38), whose text
        // begins with the point.
        zeros = scale - static_cast<int>(count) + (scale == 38 && precision == 38 ? 0 : 1);
    }
    putScaledDigits(out, digits, count, scale, zeros);
}

// The first digit, and the point and the others up to the last that isn't
// a zero.
void putMantissa(Out& out, const char* digits) noexcept {
    int last = 14;
    while (last > 0 && digits[last] == '0') --last;
    out.put(digits[0]);
    if (last == 0) return;
    out.put('.');
    out.put(digits + 1, static_cast<size_t>(last));
}

// "%.14e" of the value, then trailing zeros trimmed; exponents 1 to 14 are
// written out positionally. For a negative value the scan for trailing zeros
// looks one digit to the left, so one digit beyond the last non-zero one
// survives (-100.0 stays -100.0): other programs expect exactly this.
void putFloat(Out& out, double value) noexcept {
    if (value == 0.0) {
        out.put('0');
        return;
    }
    // Not a number and the infinities have no digits: a text every common
    // reader of numbers takes.
    if (std::isnan(value)) {
        out.put("NaN");
        return;
    }
    if (std::isinf(value)) {
        out.put(value < 0 ? "-Infinity" : "Infinity");
        return;
    }
    const bu::rf::Digits15 d = bu::rf::digits15(value);
    const char* digits = d.digits;
    const int exponent = d.exponent;
    if (d.negative) out.put('-');
    if (exponent <= 0 || exponent >= 15) {
        putMantissa(out, digits);
        if (exponent == 0) return;
        // The exponent has two digits at least, as "%e" writes it.
        out.put('e');
        out.put(exponent < 0 ? '-' : '+');
        const uint32_t magnitude = static_cast<uint32_t>(exponent < 0 ? -exponent : exponent);
        if (magnitude < 10) out.put('0');
        out.p += UnsignedToText(out.p, magnitude);
        return;
    }
    out.put(digits, static_cast<size_t>(exponent + 1));
    if (exponent == 14) return;
    const int shift = d.negative ? 1 : 0;
    int kept = 15;
    while (kept - 1 - shift != exponent && digits[kept - 1 - shift] == '0') --kept;
    const int fraction = kept - (exponent + 1);
    if (fraction > 0) {
        out.put('.');
        out.put(digits + exponent + 1, static_cast<size_t>(fraction));
    }
}

// The mantissa's digits and the power of ten that goes with them; trailing
// zeros move into the power. Plain while short, scientific when large, and
// normalised scientific for every value below 1 in magnitude (0.5 is 5e-1).
void putNumber(Out& out, const char* column, uint32_t length) noexcept {
    if (length == 0) {
        out.put('0');
        return;
    }
    // More bytes than a NUMBER's form has: no value to show.
    if (length > NU_COLUMN_MAX_LENGTH) return;
    unsigned char value[NU_COLUMN_MAX_BYTES] = {static_cast<unsigned char>(length)};
    std::memcpy(value + NU_COLUMN_EXPONENT_OFFSET, column, length);
    char text[100] = {};
    int exponent = 0;
    NU_ExportMantissaToString(&numberContext, value, text, sizeof text, &exponent);
    if (DC_TraceLvl > 4) {
        bu::dc::trace(4, kFn, bu::dc::kInfo, "(Hex)Number: %s", pHEXvalue(value, length + 1));
        bu::dc::trace(4, kFn, bu::dc::kInfo, "Number Mant: %s", text);
        // The line has always stopped at its label, without the exponent.
        bu::dc::trace(4, kFn, bu::dc::kInfo, "Num Exp:");
    }
    if (std::strcmp(text, "0") == 0) {
        out.put('0');
        return;
    }
    size_t n = std::strlen(text);
    while (n > 0 && text[n - 1] == '0') {
        --n;
        ++exponent;
    }
    const int sign = text[0] == '-' ? 1 : 0;
    const int wholeDigits = static_cast<int>(n) + exponent - sign;
    if (exponent == 0) {
        out.put(text, n);
    } else if (exponent > 0) {
        out.put(text, n);
        if (wholeDigits < 11) {
            out.zeros(static_cast<size_t>(exponent));
        } else {
            out.put("e+");
            out.p = std::to_chars(out.p, out.p + 12, exponent).ptr;
        }
    } else if (wholeDigits >= 1) {
        const size_t whole = n - static_cast<size_t>(-exponent);
        out.put(text, whole);
        out.put('.');
        out.put(text + whole, n - whole);
    } else {
        const size_t digitCount = n - static_cast<size_t>(sign);
        if (sign) out.put('-');
        out.put(text[sign]);
        if (digitCount > 1) {
            out.put('.');
            out.put(text + sign + 1, digitCount - 1);
        }
        out.put('e');
        out.p += SignedToText(out.p, exponent + static_cast<int64_t>(digitCount) - 1);
    }
}

// YYYY/MM/DD with the year padded to four digits.
void putIntDate(Out& out, int32_t value) noexcept {
    const int64_t v = static_cast<int64_t>(value) + 19000000;
    const int64_t year = v / 10000;
    if (year >= 1000 && year <= 9999) {
        out.put(bu::kDigitPairs.of(static_cast<unsigned>(year / 100)), 2);
        out.put(bu::kDigitPairs.of(static_cast<unsigned>(year % 100)), 2);
    } else {
        if (year >= 1 && year <= 9) {
            out.zeros(3);
        } else if (year <= 99) {
            out.zeros(2);
        } else if (year <= 999) {
            out.zeros(1);
        }
        out.p += UnsignedToText(out.p, static_cast<uint32_t>(year));
    }
    out.put('/');
    putOneDigitRule(out, static_cast<uint32_t>(v / 100 % 100));
    out.put('/');
    putOneDigitRule(out, static_cast<uint32_t>(v % 100));
}

// A period's date: YYYY-MM-DD without padding of the year.
void putPeriodDate(Out& out, int32_t value) noexcept {
    out.p +=
        UnsignedToText(out.p, static_cast<uint32_t>(static_cast<int64_t>(value) / 10000 + 1900));
    out.put('-');
    putOneDigitRule(out, static_cast<uint32_t>(value / 100 % 100));
    out.put('-');
    putOneDigitRule(out, static_cast<uint32_t>(value % 100));
}

// The pad in front of a fraction below a tenth of a second comes from words
// each holding the character "0", read as bytes: one pad byte is a zero, a
// longer pad carries zero bytes. Other programs expect exactly these bytes.
constexpr char kFractionPad[] = {'0', 0, 0, 0, '0', 0};

// The seconds field (seconds x 1000000) with `fraction` digits, cut, not
// rounded.
void SecondsToText(Out& out, uint32_t field, int fraction) noexcept {
    if (fraction < 0 || fraction > 6) return;
    char digits[10];
    const int count = UnsignedToText(digits, field);
    if (count == 0) {
        out.put("00");
        if (fraction > 0) {
            out.put('.');
            out.zeros(static_cast<size_t>(fraction));
        }
        return;
    }
    if (count <= 6) {
        if (fraction == 0) return;
        out.put("00.");
        out.put(kFractionPad, static_cast<size_t>(6 - count));
        if (count + fraction - 6 > 0) out.put(digits, static_cast<size_t>(count + fraction - 6));
        return;
    }
    // Whole seconds are the digits before the last six. Nine or more digits
    // no valid time has; with a fraction they are shown the same way.
    const int whole = count - 6;
    if (count == 7) {
        out.put('0');
        out.put(digits[0]);
    } else if (count == 8 || fraction > 0) {
        out.put(digits, static_cast<size_t>(whole));
    }
    if (fraction > 0) {
        out.put('.');
        out.put(digits + whole, static_cast<size_t>(fraction));
    }
}

// Where the fields of a time or timestamp element stand; -1 for none.
struct ElementLayout {
    uint32_t size;
    int date;  // year (2 bytes), month, day
    int hour;  // hour, minute
    int zone;  // zone hour (16 and up positive), zone minute
};

constexpr ElementLayout kTime{6, -1, 4, -1};
constexpr ElementLayout kTimeZone{8, -1, 4, 6};
constexpr ElementLayout kTimestamp{10, 4, 8, -1};
constexpr ElementLayout kTimestampZone{12, 4, 8, 10};

void putElement(Out& out, const unsigned char* e, const ElementLayout& layout,
                int fraction) noexcept {
    if (layout.date >= 0) {
        uint16_t year = 0;
        std::memcpy(&year, e + layout.date, sizeof year);
        out.p += UnsignedToText(out.p, year);
        out.put('-');
        putOneDigitRule(out, e[layout.date + 2]);
        out.put('-');
        putOneDigitRule(out, e[layout.date + 3]);
        out.put(' ');
    }
    putTwoCharacters(out, e[layout.hour]);
    out.put(':');
    putTwoCharacters(out, e[layout.hour + 1]);
    out.put(':');
    uint32_t seconds = 0;
    std::memcpy(&seconds, e, sizeof seconds);
    SecondsToText(out, seconds, fraction);
    if (layout.zone < 0) return;
    const uint8_t zoneHour = e[layout.zone];
    if (zoneHour == 16) {
        out.put("+00:");
    } else {
        out.put(zoneHour < 16 ? '-' : '+');
        putOneDigitRule(out, zoneHour < 16 ? zoneHour : zoneHour - 16u);
        out.put(':');
    }
    putTwoCharacters(out, e[layout.zone + 1]);
}

void putPeriod(Out& out, const char* column, uint32_t length, const ElementLayout* layout,
               int fraction) noexcept {
    unsigned char area[24] = {};
    std::memcpy(area, column, std::min<size_t>(length, sizeof area));
    out.put("('");
    if (layout == nullptr) {
        int32_t first = 0, second = 0;
        std::memcpy(&first, area, 4);
        std::memcpy(&second, area + 4, 4);
        putPeriodDate(out, first);
        out.put("', '");
        putPeriodDate(out, second);
    } else {
        putElement(out, area, *layout, fraction);
        out.put("', '");
        putElement(out, area + layout->size, *layout, fraction);
    }
    out.put("')");
}

// The narrow text of a column; returns its end. Inlined into its one
// caller, which runs for every rendered column of every row.
[[gnu::always_inline]] inline char* render(char* text, const char* column, uint32_t length,
                                           bu::rf::ColumnForm form) noexcept {
    Out out{text};
    switch (form.type) {
        case kInteger:
            putInteger(out, readValue<int32_t>(column, length));
            break;
        case kSmallint:
            putInteger(out, readValue<int16_t>(column, length));
            break;
        case kByteint:
            putInteger(out, readValue<int8_t>(column, length));
            break;
        case kBigint:
            putInteger(out, readValue<int64_t>(column, length));
            break;
        case kFloat:
            putFloat(out, readValue<double>(column, length));
            break;
        case kDecimal:
            putDecimal(out, column, length, form.precision, form.scale);
            break;
        case kNumber:
            putNumber(out, column, length);
            break;
        case kIntDate:
            putIntDate(out, readValue<int32_t>(column, length));
            break;
        case kPeriodDate:
            putPeriod(out, column, length, nullptr, 0);
            break;
        case kPeriodTime:
            putPeriod(out, column, length, &kTime, form.precision);
            break;
        case kPeriodTimeZone:
            putPeriod(out, column, length, &kTimeZone, form.precision);
            break;
        case kPeriodTimestamp:
            putPeriod(out, column, length, &kTimestamp, form.precision);
            break;
        case kPeriodTimestampZone:
            putPeriod(out, column, length, &kTimestampZone, form.precision);
            break;
        default:
            break;  // no rendering: an empty field
    }
    return out.p;
}

}  // namespace

namespace bu::rf {

bool convertsToText(int32_t type) noexcept {
    switch (type) {
        case 5:   // CHAR
        case 7:   // VARCHAR
        case 15:  // ANSIDATE
        case 40:  // CLOB
        case 41:  // BLOB BY NAME
        case 42:  // CLOB BY NAME
        case 65:  // XML
        case 66:  // XML BY NAME
        case 67:  // JSON
        case 68:  // JSON BY NAME
            return false;
        default:
            return true;
    }
}

char* renderColumnText(char* text, const char* column, uint32_t length, ColumnForm form,
                       TextWidth width) noexcept {
    static_assert(kRenderedTextCapacity >= 2 * kNarrowCapacity, "widened text fits the area");
    if (width == TextWidth::Narrow) {
        char* const end = render(text, column, length, form);
        assert(static_cast<size_t>(end - text) < kNarrowCapacity);
        return end;
    }
    char narrow[kNarrowCapacity];
    const size_t n = static_cast<size_t>(render(narrow, column, length, form) - narrow);
    assert(n < kNarrowCapacity);
    const int high = width == TextWidth::Utf16Little ? 1 : 0;
    for (size_t i = 0; i < n; ++i) {
        text[2 * i + (1 - high)] = narrow[i];
        text[2 * i + high] = '\0';
    }
    return text + 2 * n;
}

void BinaryToText(const char* column, uint32_t length, ColumnForm form, TextWidth width,
                  ConvertRecord& record) noexcept {
    record.TextLength = static_cast<int32_t>(
        renderColumnText(record.Text, column, length, form, width) - record.Text);
    record.Text[record.TextLength] = '\0';
}

void initNumberContext() noexcept {
    NU_Initialize(&numberContext, -128, -128);
}

void releaseNumberContext() noexcept {
    NU_Destroy(&numberContext);
}

}  // namespace bu::rf

extern "C" int32_t Do_DtoA(char* Text, int32_t Size, const void* Value, int32_t Scale) noexcept {
    if (Text == nullptr || Value == nullptr) return 0;
    char area[100];
    const char* digits = area;
    bool negative = false;
    size_t count = 0;
    const char* value = static_cast<const char*>(Value);
    switch (Size) {
        case 1:
        case 2:
        case 4:
        case 8: {
            const int64_t v = readSigned(value, static_cast<uint32_t>(Size), Size);
            if (v == 0) return 0;
            negative = v < 0;
            uint64_t magnitude = static_cast<uint64_t>(v);
            if (negative) magnitude = 0 - magnitude;
            count = static_cast<size_t>(bu::writeDecimalDigits(area, magnitude) - area);
            break;
        }
        case 16:
            wideDecimalDigits(value, 16, area, sizeof area);
            if (std::strcmp(area, "0") == 0) return 0;
            negative = area[0] == '-';
            digits = area + (negative ? 1 : 0);
            count = std::strlen(digits);
            break;
        default:
            return 0;
    }
    Out out{Text};
    if (negative) out.put('-');
    if (Scale >= 0 && count <= static_cast<size_t>(Scale))
        out.zeros(static_cast<size_t>(Scale) + 1 - count);
    out.put(digits, count);
    return static_cast<int32_t>(out.p - Text);
}
