/*
 * var_fields.h - the columns of a row in pmBuffer found from its own bytes:
 * indicator bits, length prefixes, offsets.
 */
#ifndef BU_DC_VAR_FIELDS_H
#define BU_DC_VAR_FIELDS_H

#include <cstdint>

#include "bu_export.h"
#include "pmdcomt.h"

extern "C" {

// Fills SG_IndBytes, SG_ColOffs and SG_ColLens from the row in pmBuffer and
// stores in *Total the bytes its columns take, indicator bytes and prefixes
// included. Returns 0, 29 for a row too short for its columns (19111), or
// 48 for a column longer than the schema allows (19112, exit code 12).
BU_API int32_t DC_SetVarFields(uint32_t* Total) noexcept;
}

namespace bu::dc {

// The same for the row in `record`.
int32_t setVarFields(const pmData& record, uint32_t* Total) noexcept;

// Bytes of the length in front of a column's data in a row: 2 for a
// variable column, 1 for NUMBER, 8 for an inline LOB, 0 for a fixed column.
uint32_t columnPrefixBytes(int32_t column) noexcept;

}  // namespace bu::dc

#endif  // BU_DC_VAR_FIELDS_H
