// The reference table of the export benchmark: eight columns of the usual
// kinds with realistic values, in the host's row form. The same bytes go to
// buhost as a rows file and to the baseline writers.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

namespace bench {

// The [[schema]] tables of a job file for the reference table.
extern const char* const kReferenceSchema;

// Rows of the reference table, each behind a 4-byte little-endian length:
// the bytes of a rows file.
struct ReferenceRows {
    std::vector<uint8_t> bytes;
    uint64_t count = 0;

    // Calls `f(row, length)` for each row, in order.
    template <typename F>
    void forEach(F&& f) const {
        for (size_t at = 0; at < bytes.size();) {
            uint32_t length = 0;
            for (int b = 3; b >= 0; --b) length = length << 8 | bytes[at + b];
            f(bytes.data() + at + 4, length);
            at += 4 + length;
        }
    }
};

// `count` rows, the same for the same seed: texts of 5 to 40 characters, a
// few holding the delimiter or a quote, and about 10% NULLs in the two
// nullable columns.
ReferenceRows makeReferenceRows(uint64_t count, uint64_t seed);

// One row read back by a writer that knows the table.
struct ReferenceRow {
    int32_t id;
    bool customerIsNull;
    std::string_view customer;
    int64_t amountCents;  // DECIMAL(12,2)
    int16_t quantity;
    int32_t soldOn;         // INTDATE: (year - 1900) * 10000 + month * 100 + day
    std::string_view code;  // CHAR(8), blank-padded
    int64_t big;
    bool ratioIsNull;
    double ratio;
};

ReferenceRow decodeReferenceRow(const uint8_t* row);

// Bytes of the indicator field in front of each row.
constexpr uint32_t kIndicatorBytes = 1;

}  // namespace bench
