// Generated values exercise every type: negatives, zeros, the widest values,
// NULLs at the job's rate, and delimiter and quote characters inside text.
#include "rows/generated_rows.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "shared/mix64.h"

namespace buhost {
namespace {

// Characters for text: letters and digits, plus the usual trouble makers.
constexpr char kTextChars[] =
    "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789 |\",'";

int64_t edgeOrRandomInt(uint64_t r, uint32_t width) {
    const int bits = static_cast<int>(width * 8);
    const int64_t max = bits >= 64 ? INT64_MAX : (int64_t{1} << (bits - 1)) - 1;
    const int64_t min = -max - 1;
    switch (r % 8) {
        case 0:
            return 0;
        case 1:
            return max;
        case 2:
            return min;
        case 3:
            return -1;
        default: {
            int64_t v = static_cast<int64_t>(r >> 8);
            return bits >= 64 ? v : v % (max + 1) * ((r & 16) ? -1 : 1);
        }
    }
}

}  // namespace

GeneratedRows::GeneratedRows(const JobDefinition& job, const RowForm& form, int instanceIndex,
                             int instanceCount)
    : job_(job),
      form_(form),
      nextIndex_(static_cast<uint64_t>(instanceIndex)),
      stride_(static_cast<uint64_t>(instanceCount)),
      texts_(job.schema.size()),
      values_(job.schema.size()) {
    for (size_t i = 0; i < job.schema.size(); ++i) texts_[i].reserve(job.schema[i].length + 64);
}

CellValue GeneratedRows::valueFor(uint64_t rowIndex, size_t col, std::string& text) const {
    const ColumnDefinition& c = job_.schema[col];
    const uint64_t r = mix64(job_.source.seed ^ mix64(rowIndex * 1000003u + col));
    if (c.nullable && static_cast<double>(r % 1000000) < job_.source.nullRate * 1000000.0)
        return CellValue::null();
    const uint64_t r2 = mix64(r);
    switch (c.type.kind) {
        case ValueKind::Integer:
            return CellValue::ofInt(edgeOrRandomInt(r2, c.length));
        case ValueKind::Float:
            switch (r2 % 5) {
                case 0:
                    return CellValue::ofReal(0.0);
                case 1:
                    return CellValue::ofReal(-1.5);
                case 2:
                    return CellValue::ofReal(1e15);
                default:
                    return CellValue::ofReal(static_cast<double>(static_cast<int64_t>(r2 >> 12)) /
                                             1024.0 * ((r2 & 2) ? -1 : 1));
            }
        case ValueKind::Decimal: {
            // Up to `precision` digits, sometimes all nines, sometimes zero;
            // the last `scale` of them are the fraction, and with fewer
            // digits than that all of them are.
            if (r2 % 7 == 0) return CellValue::ofScaled(0, 0);
            const bool nines = r2 % 7 == 1;
            const int digits = nines ? c.precision : 1 + static_cast<int>(r2 % c.precision);
            __int128 v = 0;
            uint64_t x = r2;
            for (int d = 0; d < digits; ++d) {
                v = v * 10 + (nines ? 9 : static_cast<int>(x % 10));
                x = x / 10 ? x / 10 : mix64(x);
            }
            return CellValue::ofScaled((r2 & 1) ? -v : v, std::min<int>(digits, c.scale));
        }
        case ValueKind::IntDate: {
            int year = 1900 + static_cast<int>(r2 % 200);
            int month = 1 + static_cast<int>((r2 >> 8) % 12);
            int day = 1 + static_cast<int>((r2 >> 16) % 28);
            return CellValue::ofInt((year - 1900) * 10000 + month * 100 + day);
        }
        case ValueKind::Number: {
            // The mantissa has the column's length less the 2-byte scale;
            // one value in six has a fraction digit.
            const int mantissaBits = std::min(44, 8 * static_cast<int>(c.length) - 17);
            int64_t v = 0;
            if (r2 % 6 != 0 && mantissaBits > 0)
                v = static_cast<int64_t>((r2 >> 8) % (uint64_t{1} << mantissaBits)) *
                    ((r2 & 4) ? -1 : 1);
            return CellValue::ofScaled(v, r2 % 6 == 1 ? 1 : 0);
        }
        case ValueKind::Text:
        case ValueKind::Bytes: {
            uint32_t max = c.length;
            uint32_t len = r2 % 5 == 0 ? max : static_cast<uint32_t>(r2 % (max + 1));
            if (c.type.family == RowFamily::InlineLob8 && len > 200) len = 200 + len % 64;
            text.resize(len);
            uint64_t x = r2;
            for (uint32_t i = 0; i < len; ++i) {
                if (i % 8 == 0) x = mix64(x + i);
                text[i] = c.type.kind == ValueKind::Text
                              ? kTextChars[(x >> (i % 8 * 8)) % (sizeof kTextChars - 1)]
                              : static_cast<char>((x >> (i % 8 * 8)) & 0xff);
            }
            return CellValue::ofText(text);
        }
    }
    return CellValue::null();
}

bool GeneratedRows::next(RowBuffer& row) {
    if (nextIndex_ >= job_.source.rowCount) return false;
    for (size_t i = 0; i < values_.size(); ++i) values_[i] = valueFor(nextIndex_, i, texts_[i]);
    form_.build(values_.data(), row);
    nextIndex_ += stride_;
    return true;
}

void GeneratedRows::skip(uint64_t count, RowBuffer&) {
    nextIndex_ += count * stride_;
}

}  // namespace buhost
