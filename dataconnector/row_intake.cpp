// DC_ReadRow: on the first call it learns whether the host sends whole
// buffers (buffer_walk.cpp). In row mode one row comes from PX_GetRow, its
// column count and lengths are checked against the schema, and the caller's
// view (and pmBuffer) is aimed at it. Nothing is allocated or copied here;
// at trace levels up to 3 a row costs the two checks alone.
#include "row_intake.h"

#include "buffer_mode.h"
#include "dc_messages.h"
#include "delimited_export.h"
#include "file_access.h"
#include "file_settings.h"
#include "initiation.h"
#include "pm_trace.h"
#include "pmdcomt.h"
#include "schema.h"
#include "var_fields.h"

using namespace bu::dc;

extern "C" {
int32_t BulkUnloadOutMod = 0;
int32_t LastStatus = 0;
int32_t BufferModeChecked = 1;
}

namespace {

constexpr const char* kFn = "DC_ReadRow";

void traceRow(const RowView& row) {
    if (DC_TraceLvl <= 3) return;
    trace(3, kFn, kInfo, "Data from PX_GetRow: SH=%d, ColCount=%d",
          static_cast<int>(schemaHandle->hostWord0), row.columnCount);
    if (!SG_IndicatorData) {
        for (int32_t i = 0; i < row.columnCount; ++i) {
            trace(3, kFn, kInfo, "Schema: col=%d, Ind=%d, Len=%d, off=%d", i,
                  row.indicators ? int{row.indicators[i]} : 0,
                  row.lengths ? static_cast<int>(row.lengths[i]) : 0,
                  row.offsets ? static_cast<int>(row.offsets[i]) : 0);
        }
    }
    pmHexDmp(19005, static_cast<uint32_t>(MaxBytesToDump), row.bytes.Data, row.bytes.Length,
             "PX_GetRow", 1);
}

// The column count must be the schema's. The message deliberately carries
// the schema's count twice; only the trace line shows what arrived.
// A row of no columns, or one without its length and offset arrays, can't
// be measured and is refused the same way (before a schema there is no
// count to match).
int32_t checkColumnCount(const RowView& row) {
    const bool measurable = row.columnCount > 0 && row.offsets != nullptr && row.lengths != nullptr;
    if (row.columnCount == SchemaColCount && measurable) return 0;
    trace(1, kFn, kInfo, "Data Schema Column count conflicts with data");
    trace(1, kFn, kInfo, "Schema defined %d columns, received %d", SchemaColCount, row.columnCount);
    publicMessage(19109, 3, 6, kInt, SchemaColCount, kInt, SG_ColCount, kInt,
                  static_cast<int32_t>(FileRecordCount + 1));
    raiseExitCodeTo(12);
    return PXSTC_FatalError;
}

// No column may be longer than the schema allows. The message deliberately
// carries SG_ColLens, not the received length; the exit code stays.
int32_t checkColumnLengths(const RowView& row) {
    // All columns are compared in a loop without an exit, which the compiler
    // runs several columns at a time; only a row that fails is looked at again.
    uint32_t over = 0;
    for (int32_t i = 0; i < row.columnCount; ++i) over |= row.lengths[i] > SG_ColLensBase[i];
    if (over == 0) return 0;
    for (int32_t i = 0; i < row.columnCount; ++i) {
        if (row.lengths[i] <= SG_ColLensBase[i]) continue;
        trace(1, kFn, kInfo, "Data Schema Column length conflicts with data");
        trace(1, kFn, kInfo, "For column %d, '%s', schema defined column length %d, received %d", i,
              SG_ColNames[i], static_cast<int>(SG_ColLensBase[i]),
              static_cast<int>(row.lengths[i]));
        publicMessage(19110, 3, 6, kInt, i + 1, kText, SG_ColNames[i], kInt,
                      static_cast<int32_t>(SG_ColLensBase[i]), kInt,
                      static_cast<int32_t>(SG_ColLens[i]), kInt,
                      static_cast<int32_t>(FileRecordCount + 1));
        return PXSTC_LengthError;
    }
    return 0;
}

// Fetches and checks one row, leaving it whole (indicator bytes included)
// in the view.
int32_t fetchRow(RowView& row) {
    int32_t status = PXSTC_BadHandle;
    void* data = nullptr;
    uint32_t length = 0;
    if (hasKind(schemaHandle, PX_KIND_SCHEMA) && schemaHandle->PX_GetRow != nullptr) {
        status = schemaHandle->PX_GetRow(schemaHandle, &row.columnCount, &row.indicators,
                                         &row.offsets, &row.lengths, &data, &length);
    }
    if (status == PXSTC_EndOfData) {
        trace(1, kFn, kInfo, "EndOfData from PX_GetRow => EndMethod");
        return PXSTC_EndMethod;
    }
    if (status != 0) return reportServiceFailure(kFn, "PX_GetRow", status);
    row.bytes = {length, data};
    traceRow(row);
    int32_t rc = checkColumnCount(row);
    if (rc == 0) rc = checkColumnLengths(row);
    if (rc != 0) return rc;
    // The host's own length isn't relied upon: the row ends where its last
    // column ends.
    int32_t last = row.columnCount - 1;
    row.bytes.Length = row.offsets[last] + row.lengths[last];
    return 0;
}

int32_t delimitedRecord(RowView& row) {
    return createDelimitedText(row.bytes, row.columnCount, row.offsets, row.indicators,
                               row.lengths) == 0
               ? 0
               : PXSTC_FatalError;
}

// Hands the row to the caller as its delimited record, or without its
// indicator bytes.
int32_t finishForCaller(RowView& row) {
    return isDelimited() ? delimitedRecord(row) : stripIndicators(row);
}

// Writes the row to the output file itself. A delimited row is measured
// from its own bytes first, as a check of the row alone. A refused row
// isn't counted.
int32_t writeRowToFile(RowView& row) {
    int32_t rc = 0;
    if (isDelimited()) {
        uint32_t total = 0;
        rc = setVarFields(row.bytes, &total);
        if (rc == 0) rc = delimitedRecord(row);
    } else {
        rc = stripIndicators(row);
    }
    if (rc == 0) rc = writeRecordToFile(row.bytes);
    return rc != 0 ? rc : PXSTC_SamePhase;
}

// Learns once whether the host sends buffers. A refusal raises the exit
// code by its status and ends the call.
int32_t checkBufferModeOnce() {
    BufferModeChecked = 0;
    int32_t rc = DC_GetBufferModeInfo();
    if (rc != 0) {
        reportAndMap(rc);
        return rc;
    }
    // The layout can't fail; its words go nowhere here, MaxBufferRowLen stays.
    uint32_t layout[4];
    (void)DC_GetBufferLayout(layout);
    return 0;
}

}  // namespace

namespace bu::dc {

// A row that ends before its indicator bytes do has no column data at all;
// taking them off its length would wrap it around.
int32_t stripIndicators(RowView& row) noexcept {
    if (SG_IndicatorData) return 0;
    if (row.bytes.Length < NumIndBytes) {
        const auto record = static_cast<int32_t>(FileRecordCount + 1);
        trace(1, kFn, kInfo, "Not enough data to populate all columns in row %d", record);
        publicMessage(19111, 3, 6, kInt, record);
        return PXSTC_LengthError;
    }
    row.bytes.Data = static_cast<char*>(row.bytes.Data) + NumIndBytes;
    row.bytes.Length -= NumIndBytes;
    return 0;
}

int32_t writeRecordToFile(const pmData& record) noexcept {
    pmRecord r{record.Length, record.Data, 0, 0};
    LastStatus = static_cast<int32_t>(pmWrite(pmfp, &r));
    if (LastStatus != 0) {
        trace(1, kFn, kInfo, "error on record %u", FileRecordCount + 1);
        return reportAccessFailure(kFn, "pmWrite", static_cast<uint32_t>(LastStatus), 19306, kInfo);
    }
    ++FileRecordCount;
    return 0;
}

}  // namespace bu::dc

int32_t bu::dc::readRow(RowView& row) noexcept {
    pm::TraceEntryExit entryAndExit(kFn);
    if (BufferModeChecked) {
        int32_t rc = checkBufferModeOnce();
        if (rc != 0) return rc;
    }
    if (BufferInfo != nullptr) return readBuffer();
    int32_t rc = fetchRow(row);
    if (rc != 0) return rc;
    rc = BulkUnloadOutMod ? finishForCaller(row) : writeRowToFile(row);
    mirrorInPmBuffer(row.bytes);
    return rc;
}

extern "C" int32_t DC_ReadRow(OperatorHandle* handle) noexcept {
    (void)handle;  // the layer works from SG_opHandle and schemaHandle
    RowView row;
    return readRow(row);
}
