// UNFORMATTED rows of a schema with variable columns, read field by field:
// each length prefix says how far the row goes, so a row is complete only
// once every column's bytes stand in the block.
#include <cstring>

#include "data_error_dump.h"
#include "dc_messages.h"
#include "initiation.h"
#include "producer_reads.h"
#include "schema.h"

using namespace bu::dc;

namespace {

constexpr int32_t kTypeNumber = 63;
constexpr uint32_t kRowCutOff = pmrcDataFormat;  // 16

void clearRecord(pmRecord* record, void** recordData) {
    record->Length = 0;
    *recordData = nullptr;
}

int32_t recordNumber(const FileInfo* file) {
    return static_cast<int32_t>(file->RecCount + 1);
}

// Where a row stands in the file's block while it is read.
struct RowScan {
    FileInfo* file;
    pmRecord* record;
    uint64_t position;  // of the row's start
    uint64_t end;
    uint8_t* start;
    uint32_t bytes = 0;  // of the row so far

    uint32_t need(uint32_t count, const char* label, int32_t column) {
        return dcReadVarNone(count, label, column, bytes, &position, &end, &start, file, record,
                             &record->Data);
    }
    const uint8_t* here() const { return start + bytes; }
};

uint32_t refuseLobLength(RowScan& row, int32_t column, uint64_t length) {
    const uint32_t limit = SG_ColLensBase[column];
    trace(1, "DC_ReadRow", kWarning, "CLOB field length error. Expected max %d, received %llu!",
          static_cast<int32_t>(limit), static_cast<unsigned long long>(length));
    DumpFileInfo(column);
    publicMessage(19102, 3, 6, kInt, recordNumber(row.file), kText, "LOB Field length", kInt,
                  static_cast<int32_t>(limit), kInt64, static_cast<int64_t>(length));
    clearRecord(row.record, &row.record->Data);
    return kRowCutOff;
}

uint32_t refuseVarLength(RowScan& row, int32_t column, uint32_t length) {
    const auto limit = static_cast<int32_t>(SG_ColLensBase[column]);
    const char* name =
        SG_ColNames != nullptr && SG_ColNames[column] != nullptr ? SG_ColNames[column] : "";
    trace(1, "DC_ReadRow", kWarning,
          "pmfmtRVarNone: VAR field length error in record %d, field %d, '%s'. Expected max "
          "length %d, received %d.",
          recordNumber(row.file), column + 1, name, limit, static_cast<int32_t>(length));
    DumpFileInfo(column);
    publicMessage(19112, 3, 6, kInt, recordNumber(row.file), kInt, column + 1, kText, name, kInt,
                  limit, kInt, static_cast<int32_t>(length));
    clearRecord(row.record, &row.record->Data);
    return kRowCutOff;
}

// The length of column `i`, from its prefix for a variable column; the
// prefix's bytes are counted into the row.
uint32_t columnLength(RowScan& row, int32_t i, uint64_t& length) {
    uint32_t rc = pmrcOK;
    if (SG_IsInlineLOB[i]) {
        if ((rc = row.need(8, "LOB Field length", i)) != pmrcOK) return rc;
        std::memcpy(&length, row.here(), 8);
        if (length > SG_ColLensBase[i]) return refuseLobLength(row, i, length);
        row.bytes += 8;
    } else if (SG_ColTypes[i] == kTypeNumber) {
        if ((rc = row.need(1, "Number Field length", i)) != pmrcOK) return rc;
        length = *row.here();
        row.bytes += 1;
    } else if (SG_IsVarType[i]) {
        if ((rc = row.need(2, "VARCHAR Field length", i)) != pmrcOK) return rc;
        uint16_t prefix = 0;
        std::memcpy(&prefix, row.here(), 2);
        if (prefix > SG_ColLensBase[i]) return refuseVarLength(row, i, prefix);
        length = prefix;
        row.bytes += 2;
    } else {
        length = SG_ColLensBase[i];
    }
    return rc;
}

}  // namespace

extern "C" uint32_t dcReadVarNone(uint32_t count, const char* label, int32_t column,
                                  uint32_t rowBytes, uint64_t* position, uint64_t* end,
                                  uint8_t** rowStart, FileInfo* File, pmRecord* Record,
                                  void** recordData) noexcept {
    static const char kFn[] = "dcReadVarNone";
    const uint64_t total = uint64_t{rowBytes} + count;
    if (*position + total <= *end) return pmrcOK;
    // A row no block can hold would have the refills run past the block.
    if (total > File->BufferSize) {
        trace(1, kFn, kWarning, "%s: Byte count error; Expected %d, received %d!", label,
              static_cast<int32_t>(total), static_cast<int32_t>(*end - *position));
        clearRecord(Record, recordData);
        return pmrcOverflow;
    }
    uint32_t rc = pmrcOK;
    while (rc == pmrcOK && *position + total > *end) {
        const uint64_t before = *end - *position;
        rc = pmReadn2Buf(File);
        *position = File->BufferPosition;
        *end = File->BufferEnd;
        *rowStart = File->Buffer + File->BufferPosition;
        // A module that delivers nothing more has reached the end.
        if (rc == pmrcOK && *end - *position == before) rc = pmrcEOF;
    }
    if (rc == pmrcOK) return pmrcOK;
    if (rc == pmrcEOF && *end > *position) {
        const uint64_t left = *end - *position;
        const auto received = static_cast<int32_t>(left > rowBytes ? left - rowBytes : 0);
        trace(1, kFn, kWarning, "%s: Byte count error; Expected %d, received %d!", label,
              static_cast<int32_t>(count), received);
        DumpFileInfo(column);
        publicMessage(19102, 3, 6, kInt, recordNumber(File), kText, label, kInt,
                      static_cast<int32_t>(count), kInt, received);
        rc = kRowCutOff;
    }
    clearRecord(Record, recordData);
    return rc;
}

extern "C" uint32_t pmfmtRVarNone(FileInfo* File, pmRecord* Record) noexcept {
    RowScan row{File, Record, File->BufferPosition, File->BufferEnd,
                File->Buffer + File->BufferPosition};
    uint32_t rc = pmrcOK;
    if (SG_IndicatorData) {
        if ((rc = row.need(SrcNumIndBytes, "Indicator", -2)) != pmrcOK) return rc;
        row.bytes = SrcNumIndBytes;
    }
    const int32_t columns = SchemaColCount < SG_ColCount ? SchemaColCount : SG_ColCount;
    for (int32_t i = 0; i < columns; ++i) {
        uint64_t length = 0;
        if ((rc = columnLength(row, i, length)) != pmrcOK) return rc;
        if (length == 0) continue;
        if ((rc = row.need(static_cast<uint32_t>(length), "Data", i)) != pmrcOK) return rc;
        row.bytes += static_cast<uint32_t>(length);
    }
    Record->Data = row.start;
    Record->Length = row.bytes;
    File->BufferPosition = row.position + row.bytes;
    return pmrcOK;
}
