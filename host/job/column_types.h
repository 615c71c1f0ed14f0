// Column type codes of the boundary (0..68), their names, and how a value of
// each type is laid out in the row form the host delivers.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace buhost {

// How a column's bytes stand in a row.
enum class RowFamily {
    Fixed,       // the column's full length, no prefix
    VarPrefix2,  // 2-byte length, then the bytes
    VarPrefix1,  // NUMBER: 1-byte length, then the bytes
    InlineLob8,  // 8-byte length, then the bytes
};

// What kind of value a column holds, so sources know how to convert.
enum class ValueKind {
    Integer,  // little-endian two's complement of the column's length
    Float,    // IEEE double
    Decimal,  // scaled integer, width from the precision
    IntDate,  // (year - 1900) * 10000 + month * 100 + day
    Number,   // 16-bit scale, then a little-endian mantissa
    Text,     // characters, blank-padded when fixed
    Bytes,    // raw bytes, zero-padded when fixed
};

struct ColumnTypeInfo {
    int32_t code;
    std::string_view name;
    RowFamily family;
    ValueKind kind;
    uint32_t naturalLength;  // 0: the job must give `length`
};

constexpr int32_t kMaxTypeCode = 68;

// The type with this code, or nullopt outside 0..68.
std::optional<ColumnTypeInfo> columnTypeByCode(int32_t code);
// The type with this name (case-blind), or nullopt.
std::optional<ColumnTypeInfo> columnTypeByName(std::string_view name);

// Prefix bytes a family puts in front of a column's data.
constexpr uint32_t prefixSize(RowFamily family) {
    switch (family) {
        case RowFamily::VarPrefix2:
            return 2;
        case RowFamily::VarPrefix1:
            return 1;
        case RowFamily::InlineLob8:
            return 8;
        case RowFamily::Fixed:
            return 0;
    }
    return 0;
}

// Bytes of a DECIMAL of this precision: 1, 2, 4, 8 or 16.
constexpr uint32_t decimalWidth(int precision) {
    if (precision <= 2) return 1;
    if (precision <= 4) return 2;
    if (precision <= 9) return 4;
    if (precision <= 18) return 8;
    return 16;
}

}  // namespace buhost
