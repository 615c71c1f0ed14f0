// Schema columns for the in-process tests.
#pragma once

#include "job/job_definition.h"

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

}  // namespace buhost
