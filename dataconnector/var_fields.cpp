// DC_SetVarFields: a row's columns found from its own bytes, for rows that
// come without a descriptor (a buffer of rows) and as a check of a row
// before it is written. Each column must lie wholly inside the row: a row
// that ends inside a prefix or inside a column's data is too short, so
// nothing behind the row is ever read.
#include <cstring>

#include "data_error_dump.h"
#include "dc_messages.h"
#include "file_path_globals.h"
#include "schema.h"
#include "var_fields.h"

using namespace bu::dc;

namespace {

constexpr const char* kFn = "DC_SetVarFields";
constexpr int32_t kTypeNumber = 63;

int32_t recordNumber() {
    return static_cast<int32_t>(FileRecordCount + 1);
}

int32_t rowTooShort(int32_t column) {
    trace(1, kFn, kInfo, "Not enough data to populate all columns in row %d", recordNumber());
    DumpFileInfo(column);
    publicMessage(19111, 3, 6, kInt, recordNumber());
    return PXSTC_LengthError;
}

void dcReportColLenError(int32_t column, uint32_t length) {
    const char* name = SG_ColNames[column] != nullptr ? SG_ColNames[column] : "";
    trace(1, "DC_ReadRow", kInfo,
          "VAR field length error in record %d, field %d, '%s'. Expected max length %d, "
          "received %d.",
          recordNumber(), column + 1, name, static_cast<int32_t>(SG_ColLensBase[column]),
          static_cast<int32_t>(length));
    DumpFileInfo(column);
    publicMessage(19112, 3, 6, kInt, recordNumber(), kInt, column + 1, kText, name, kInt,
                  static_cast<int32_t>(SG_ColLensBase[column]), kInt, static_cast<int32_t>(length));
    raiseExitCodeTo(12);
}

uint32_t readPrefix(const uint8_t* at, uint32_t bytes) {
    switch (bytes) {
        case 1:
            return at[0];
        case 2: {
            uint16_t length = 0;
            std::memcpy(&length, at, sizeof length);
            return length;
        }
        default: {
            uint64_t length = 0;
            std::memcpy(&length, at, sizeof length);
            return static_cast<uint32_t>(length);
        }
    }
}

}  // namespace

namespace bu::dc {

// An inline LOB's 8-byte length counts by its low half alone.
uint32_t columnPrefixBytes(int32_t column) noexcept {
    if (!SG_IsVarType[column]) return 0;
    if (SG_ColTypes[column] == kTypeNumber) return 1;
    return SG_IsInlineLOB[column] ? 8 : 2;
}

}  // namespace bu::dc

int32_t bu::dc::setVarFields(const pmData& record, uint32_t* Total) noexcept {
    const auto* row = static_cast<const uint8_t*>(record.Data);
    const uint32_t rowLength = row != nullptr ? record.Length : 0;
    // Rows of a buffer that carries no indicator bytes begin with their first
    // column, and none of their columns is NULL.
    uint32_t offset = NumIndBytes != 0 ? SrcNumIndBytes : 0;
    uint32_t total = offset;
    trace(4, kFn, kInfo, "Indicator bytes = %d", static_cast<int32_t>(offset));
    for (int32_t i = 0; i < SG_ColCount; ++i) {
        const uint32_t byte = static_cast<uint32_t>(i) / 8;
        SG_IndBytes[i] =
            NumIndBytes != 0 && byte < rowLength && (row[byte] & (0x80u >> (i % 8))) ? 1 : 0;
        if (rowLength <= offset) return rowTooShort(i);
        const uint32_t prefix = columnPrefixBytes(i);
        uint32_t length = SG_ColLens[i];
        if (prefix != 0) {
            if (rowLength - offset < prefix) return rowTooShort(i);
            length = readPrefix(row + offset, prefix);
            if (length > SG_ColLensBase[i]) {
                dcReportColLenError(i, length);
                return PXSTC_FatalError;
            }
            total += prefix;
            offset += prefix;
            SG_ColLens[i] = length;
        }
        SG_ColOffs[i] = offset;
        if (rowLength - offset < length) return rowTooShort(i);
        total += length;
        offset += length;
    }
    if (Total != nullptr) *Total = total;
    trace(4, kFn, kInfo, "TotalBytesExpected = %d", static_cast<int32_t>(total));
    return 0;
}

extern "C" int32_t DC_SetVarFields(uint32_t* Total) noexcept {
    return setVarFields(pmBuffer, Total);
}
