// Schema columns and built rows for the in-process tests.
#pragma once

#include <string>
#include <string_view>

#include "job/job_definition.h"
#include "rows/row_form.h"
#include "test_files.h"

namespace buhost {

// A column of a named type; a length of 0 takes the type's own width.
inline ColumnDefinition testColumn(const char* name, const char* type, uint32_t length,
                                   bool nullable = false, int16_t precision = 0,
                                   int16_t scale = 0) {
    ColumnDefinition c;
    c.name = name;
    c.type = *columnTypeByName(type);
    c.precision = precision;
    c.scale = scale;
    c.length = length != 0 ? length
                           : (c.type.kind == ValueKind::Decimal ? decimalWidth(precision)
                                                                : c.type.naturalLength);
    c.nullable = nullable;
    return c;
}

// Each column's offset and length, and the row's length.
inline std::string layoutOf(const RowBuffer& row) {
    std::string s;
    for (size_t c = 0; c < row.offsets.size(); ++c) {
        s += std::to_string(row.offsets[c]) + "+" + std::to_string(row.lengths[c]) + " ";
    }
    return s + "of " + std::to_string(row.length);
}

// The row's bytes in hexadecimal.
inline std::string rowHex(const RowBuffer& row) {
    return testsupport::hex(
        std::string_view(reinterpret_cast<const char*>(row.data.data()), row.length));
}

}  // namespace buhost
