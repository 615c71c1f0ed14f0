// Rows the host spoils on purpose, to provoke an operator's length checks.
#include <cstring>

#include "rows/row_form.h"

namespace buhost {

void RowForm::lengthenColumn(size_t column, uint32_t extra, RowBuffer& row) const {
    const ColumnDefinition& c = schema_[column];
    const uint32_t at = row.offsets[column];
    const uint32_t oldLength = row.lengths[column];
    const uint32_t newLength = c.length + extra;
    const uint32_t grow = newLength - oldLength;
    const uint32_t end = at + oldLength;
    uint8_t* data = row.data.data();
    std::memmove(data + end + grow, data + end, row.length - end);
    std::memset(data + end, 'X', grow);
    // The length prefix says the new length, low byte first.
    const uint32_t prefix = prefixSize(c.type.family);
    uint64_t stored = newLength;
    for (uint32_t b = 0; b < prefix; ++b, stored >>= 8)
        data[at - prefix + b] = static_cast<uint8_t>(stored & 0xff);
    row.lengths[column] = newLength;
    for (size_t i = column + 1; i < schema_.size(); ++i) row.offsets[i] += grow;
    row.length += grow;
}

}  // namespace buhost
