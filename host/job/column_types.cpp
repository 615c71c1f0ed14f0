// The type table: names as the boundary prints them, the prefix each type
// carries in a row (the same classification the operator applies) and the
// value conversion a row source uses.
#include "job/column_types.h"

#include <array>
#include <cctype>

namespace buhost {
namespace {

using F = RowFamily;
using K = ValueKind;

constexpr std::array<ColumnTypeInfo, kMaxTypeCode + 1> kTypes{{
    {0, "UNTYPED", F::Fixed, K::Bytes, 0},
    {1, "INTEGER", F::Fixed, K::Integer, 4},
    {2, "SMALLINT", F::Fixed, K::Integer, 2},
    {3, "FLOAT", F::Fixed, K::Float, 8},
    {4, "DECIMAL", F::Fixed, K::Decimal, 0},
    {5, "CHAR", F::Fixed, K::Text, 0},
    {6, "BYTEINT", F::Fixed, K::Integer, 1},
    {7, "VARCHAR", F::VarPrefix2, K::Text, 0},
    {8, "LONG VARCHAR", F::VarPrefix2, K::Text, 0},
    {9, "BYTE", F::Fixed, K::Bytes, 0},
    {10, "VARBYTE", F::VarPrefix2, K::Bytes, 0},
    {11, "INTDATE", F::Fixed, K::IntDate, 4},
    {12, "GRAPHIC", F::Fixed, K::Text, 0},
    {13, "VARGRAPHIC", F::VarPrefix2, K::Text, 0},
    {14, "LONG VARGRAPHIC", F::VarPrefix2, K::Text, 0},
    {15, "ANSIDATE", F::Fixed, K::Text, 10},
    {16, "BOOLEAN", F::Fixed, K::Integer, 1},
    {17, "LONG VARBYTE", F::Fixed, K::Bytes, 0},
    {18, "NULLABLE VARCHAR", F::Fixed, K::Text, 0},
    {19, "NULLABLE FLOAT", F::Fixed, K::Float, 8},
    {20, "NULLABLE DECIMAL", F::Fixed, K::Decimal, 0},
    {21, "NULLABLE CHAR", F::Fixed, K::Text, 0},
    {22, "NULLABLE LONG VARCHAR", F::Fixed, K::Text, 0},
    {23, "NULLABLE INTEGER", F::Fixed, K::Integer, 4},
    {24, "NULLABLE SMALLINT", F::Fixed, K::Integer, 2},
    {25, "NULLABLE BYTE", F::Fixed, K::Bytes, 0},
    {26, "NULLABLE VARBYTE", F::Fixed, K::Bytes, 0},
    {27, "NULLABLE LONG VARBYTE", F::Fixed, K::Bytes, 0},
    {28, "NULLABLE BYTEINT", F::Fixed, K::Integer, 1},
    {29, "NULLABLE INTDATE", F::Fixed, K::IntDate, 4},
    {30, "NULLABLE GRAPHIC", F::Fixed, K::Text, 0},
    {31, "NULLABLE VARGRAPHIC", F::Fixed, K::Text, 0},
    {32, "NULLABLE LONG VARGRAPHIC", F::Fixed, K::Text, 0},
    {33, "NULLABLE ANSIDATE", F::Fixed, K::Text, 10},
    {34, "NULLABLE BOOLEAN", F::Fixed, K::Integer, 1},
    {35, "TIME", F::Fixed, K::Text, 0},
    {36, "TIME WITH TIME ZONE", F::Fixed, K::Text, 0},
    {37, "BIGINT", F::Fixed, K::Integer, 8},
    {38, "NULLABLE BIGINT", F::Fixed, K::Integer, 8},
    {39, "BLOB", F::InlineLob8, K::Bytes, 0},
    {40, "CLOB", F::InlineLob8, K::Text, 0},
    {41, "BLOB BY NAME", F::VarPrefix2, K::Text, 0},
    {42, "CLOB BY NAME", F::VarPrefix2, K::Text, 0},
    {43, "TIMESTAMP", F::Fixed, K::Text, 0},
    {44, "TIMESTAMP WITH TIME ZONE", F::Fixed, K::Text, 0},
    {45, "INTERVAL YEAR", F::Fixed, K::Text, 0},
    {46, "INTERVAL YEAR TO MONTH", F::Fixed, K::Text, 0},
    {47, "INTERVAL MONTH", F::Fixed, K::Text, 0},
    {48, "INTERVAL DAY", F::Fixed, K::Text, 0},
    {49, "INTERVAL DAY TO HOUR", F::Fixed, K::Text, 0},
    {50, "INTERVAL DAY TO MINUTE", F::Fixed, K::Text, 0},
    {51, "INTERVAL DAY TO SECOND", F::Fixed, K::Text, 0},
    {52, "INTERVAL HOUR", F::Fixed, K::Text, 0},
    {53, "INTERVAL HOUR TO MINUTE", F::Fixed, K::Text, 0},
    {54, "INTERVAL HOUR TO SECOND", F::Fixed, K::Text, 0},
    {55, "INTERVAL MINUTE", F::Fixed, K::Text, 0},
    {56, "INTERVAL MINUTE TO SECOND", F::Fixed, K::Text, 0},
    {57, "INTERVAL SECOND", F::Fixed, K::Text, 0},
    {58, "PERIOD(INTDATE)", F::Fixed, K::Bytes, 8},
    {59, "PERIOD(TIME)", F::Fixed, K::Bytes, 12},
    {60, "PERIOD(TIME WITH TIME ZONE)", F::Fixed, K::Bytes, 16},
    {61, "PERIOD(TIMESTAMP)", F::VarPrefix2, K::Bytes, 20},
    {62, "PERIOD(TIMESTAMP WITH TIME ZONE)", F::VarPrefix2, K::Bytes, 24},
    {63, "NUMBER", F::VarPrefix1, K::Number, 0},
    {64, "VARCHARHEX", F::Fixed, K::Text, 0},
    {65, "XML", F::InlineLob8, K::Text, 0},
    {66, "XML BY NAME", F::VarPrefix2, K::Text, 0},
    {67, "JSON", F::InlineLob8, K::Text, 0},
    {68, "JSON BY NAME", F::VarPrefix2, K::Text, 0},
}};

constexpr bool tableIsDense() {
    for (size_t i = 0; i < kTypes.size(); ++i) {
        if (kTypes[i].code != static_cast<int32_t>(i)) return false;
    }
    return true;
}
static_assert(tableIsDense(), "type code n stands at row n");

bool sameCaseBlind(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    for (size_t i = 0; i < a.size(); ++i) {
        if (std::toupper(static_cast<unsigned char>(a[i])) !=
            std::toupper(static_cast<unsigned char>(b[i])))
            return false;
    }
    return true;
}

}  // namespace

std::optional<ColumnTypeInfo> columnTypeByCode(int32_t code) {
    if (code < 0 || code > kMaxTypeCode) return std::nullopt;
    return kTypes[static_cast<size_t>(code)];
}

std::optional<ColumnTypeInfo> columnTypeByName(std::string_view name) {
    for (const auto& t : kTypes) {
        if (sameCaseBlind(t.name, name)) return t;
    }
    return std::nullopt;
}

}  // namespace buhost
