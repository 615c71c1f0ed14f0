// Rows in the form the host delivers them: indicator bytes (one bit per
// column, high bit first), then each column in schema order, variable ones
// behind their length prefix. Offsets count from the row start, indicator
// bytes included, and point at a column's data behind any prefix.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "job/job_definition.h"

namespace buhost {

// One value handed to the row builder by a source.
struct CellValue {
    enum class Type { Null, Integer, Real, Text, Scaled };
    Type type = Type::Null;
    int64_t integer = 0;
    double real = 0;
    std::string_view text;  // also raw bytes for BYTE/BLOB columns
    __int128 scaled = 0;    // Scaled: the value times 10 to the power `scale`
    int scale = 0;

    static CellValue null() { return {}; }
    static CellValue ofInt(int64_t v) { return {Type::Integer, v, 0, {}}; }
    static CellValue ofReal(double v) { return {Type::Real, 0, v, {}}; }
    static CellValue ofText(std::string_view v) { return {Type::Text, 0, 0, v}; }
    // A decimal number as its digits and the count of them behind the point,
    // so that a source that has it in that form needs no text in between.
    static CellValue ofScaled(__int128 digits, int scale) {
        return {Type::Scaled, 0, 0, {}, digits, scale};
    }
};

// The memory of the current row. One per instance, reused for every row, so
// that a caller who keeps a pointer past the next row sees it change.
struct RowBuffer {
    std::vector<uint8_t> data;
    const uint8_t* at = nullptr;  // the row handed over: in `data`, or where measure() found it
    uint32_t length = 0;
    // One byte per column, 1 for NULL; room for eight per indicator byte,
    // the entries behind the last column 0.
    std::vector<uint8_t> indicators;
    std::vector<uint32_t> offsets;
    std::vector<uint32_t> lengths;
};

class RowForm {
  public:
    explicit RowForm(const std::vector<ColumnDefinition>& schema);

    uint32_t indicatorBytes() const { return indicatorBytes_; }
    uint32_t maxRowLength() const { return maxRowLength_; }
    size_t columnCount() const { return schema_.size(); }

    // Sizes `row` for the largest row; done once, before the first row.
    void prepare(RowBuffer& row) const;
    // Sets each column's length to its width again, as prepare() does:
    // adopt() leaves a fixed column's length alone, so a row made longer
    // on purpose must not leave its length to the rows behind it.
    void resetWidths(RowBuffer& row) const;

    // Builds a row from one value per column. Throws JobError naming the
    // column when a value does not fit its type or length.
    void build(const CellValue* values, RowBuffer& row) const;

    // Takes a row already in the row form (a rows file) and works out its
    // indicators, offsets and the lengths of its variable columns; throws
    // JobError if it disagrees with the schema.
    void adopt(const uint8_t* bytes, uint32_t length, RowBuffer& row) const;
    // The same without the copy: the row is handed over where it lies.
    void measure(const uint8_t* bytes, uint32_t length, RowBuffer& row) const;

    // Fault injection: makes column `column` (from 0) `extra` bytes longer
    // than the schema allows, moving the columns behind it. `row` must have
    // room for `extra` bytes more than the largest row.
    void lengthenColumn(size_t column, uint32_t extra, RowBuffer& row) const;

  private:
    void putColumn(size_t i, const CellValue& v, RowBuffer& row, uint32_t& pos) const;

    // Says why adopt() refused a row, column by column; always throws.
    [[noreturn]] void refuse(const uint8_t* bytes, uint32_t length) const;

    struct ColumnBounds {
        uint32_t prefix;  // bytes of the length in front, 0 for a fixed column
        uint32_t length;  // the schema's length: a fixed column's, a variable one's most
    };
    // adopt() runs for every row of a rows file, so it walks a plan made once
    // from the schema: the columns fall into runs, each a variable column and
    // the fixed ones behind it (the first run has none), and within a run the
    // fixed columns lie at distances from its variable column's end that no
    // row changes. A row then costs a length read per variable column.
    struct Run {
        uint32_t prefix;      // the variable column's length bytes; 0 for the first run
        uint32_t most;        // the variable column's largest length
        uint32_t first;       // the run's first column, the variable one if any
        uint32_t end;         // one past its last column
        uint32_t fixedBytes;  // the width of its fixed columns together
    };

    const std::vector<ColumnDefinition>& schema_;
    std::vector<ColumnBounds> bounds_;
    std::vector<Run> runs_;
    std::vector<uint32_t> distance_;  // a fixed column's offset from its run's variable end
    uint32_t indicatorBytes_;
    uint32_t maxRowLength_;
    uint8_t lastIndicatorMask_;  // the bits of the last indicator byte that belong to columns
};

// Encodes a value given as digits and scale as a NUMBER column's bytes: a
// 16-bit scale (the value is the mantissa times 10 to minus it) and a
// little-endian two's complement mantissa, the fewest bytes that hold it;
// zero is no bytes. Writes into `out` (room for kMaxNumberBytes) and returns
// the count of bytes.
constexpr uint32_t kMaxNumberBytes = 2 + 16;
uint32_t encodeNumber(__int128 digits, int scale, uint8_t* out);

}  // namespace buhost
