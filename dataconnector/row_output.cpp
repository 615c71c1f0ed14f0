// DC_CheckPutRow: a producer's row into the data stream. In row mode it
// goes to PX_PutRow at once; in buffer mode it is placed behind the rows
// already in the buffer, as it stands or, for a delimited row, rebuilt with
// indicator bits and length prefixes, and a full buffer goes to
// PX_PutBuffer.
#include <cstring>

#include "buffer_mode.h"
#include "data_error_dump.h"
#include "dc_messages.h"
#include "file_catalogue.h"
#include "initiation.h"
#include "pm_layer.h"
#include "row_output.h"
#include "schema.h"
#include "text_attr.h"

using namespace bu::dc;

extern "C" {
uint64_t LastLOBLength = 0;
}

namespace {

constexpr char kFn[] = "DC_CheckPutRow";
constexpr uint32_t kVarPrefix = 2;
constexpr uint32_t kLobPrefix = 8;

int32_t checkLength(uint32_t lengthRead, uint32_t lengthRequired) {
    if (lengthRead == lengthRequired) return 0;
    trace(1, kFn, kInfo, "Length of record read does not match data schema");
    trace(1, kFn, kInfo, "%s %d.  %s %d %s %s %d %s.", " Processing record",
          static_cast<int32_t>(FileRecordCount + 1), "Read", static_cast<int32_t>(lengthRead),
          "bytes,", "schema required", static_cast<int32_t>(lengthRequired), "bytes");
    DumpFileInfo(-1);
    publicMessage(19113, 3, 6, kInt, static_cast<int32_t>(lengthRequired), kInt,
                  static_cast<int32_t>(lengthRead));
    return PXSTC_LengthError;
}

void traceRow(const void* row, uint32_t length) {
    if (DC_TraceLvl <= 3) return;
    const int sh = schemaHandle != nullptr ? static_cast<int>(schemaHandle->hostWord0) : 0;
    if (SG_IndicatorData) {
        trace(3, kFn, kInfo, "Data to PX_PutRow: SH=%d INDICATOR DATA", sh);
    } else {
        trace(3, kFn, kInfo, "Data to PX_PutRow: SH=%d ColCount=%d", sh, SG_ColCount);
        for (int32_t i = 0; i < SG_ColCount; ++i) {
            trace(3, kFn, kInfo, "Schema: col=%d, Ind=%d, Len=%d, off=%d", i, int{SG_IndBytes[i]},
                  static_cast<int>(SG_ColLens[i]), static_cast<int>(SG_ColOffs[i]));
        }
    }
    pmHexDmp(19005, static_cast<uint32_t>(MaxBytesToDump), row, length, "PX_PutRow", 1);
}

int32_t putRow(const void* row, uint32_t length) {
    traceRow(row, length);
    int32_t status = 1;  // a handle of the wrong kind
    if (hasKind(schemaHandle, PX_KIND_SCHEMA) && schemaHandle->PX_PutRow != nullptr) {
        if (SG_IndicatorData) {
            trace(4, kFn, kInfo, "Calling PX_PutRow with no metadata and %u bytes", length);
            status =
                schemaHandle->PX_PutRow(schemaHandle, 0, nullptr, nullptr, nullptr, row, length);
        } else {
            trace(4, kFn, kInfo, "Calling PX_PutRow with metadata and %u bytes", length);
            status = schemaHandle->PX_PutRow(schemaHandle, SG_ColCount, SG_IndBytes, SG_ColOffs,
                                             SG_ColLens, row, length);
        }
    }
    if (status != 0) return reportServiceFailure(kFn, "PX_PutRow", status);
    return bParallelReadSlave ? 0 : PXSTC_SamePhase;
}

// Hands the buffer on; this row waits for the next one (43).
int32_t putBuffer(dcBufferInfo_t& b) {
    if (DC_TraceLvl > 3) {
        trace(3, kFn, kInfo, "Data to PX_PutBuffer");
        pm::dump(b.Buffer, b.UsedOffset);
    }
    int32_t status = 1;
    if (hasKind(schemaHandle, PX_KIND_SCHEMA) && schemaHandle->PX_PutBuffer != nullptr) {
        status = schemaHandle->PX_PutBuffer(schemaHandle, 1, b.Buffer,
                                            static_cast<uint32_t>(b.TrailerSize) + b.UsedOffset);
    }
    if (status != 0) return reportServiceFailure(kFn, "PX_PutBuffer", status);
    b.Buffer = nullptr;
    b.CurrentPos = nullptr;
    b.UsedOffset = 0;
    b.BufferEmpty = 1;
    return PXSTC_SamePhase;
}

void rowPlaced(dcBufferInfo_t& b, uint8_t* end) {
    b.CurrentPos = end;
    b.UsedOffset = static_cast<uint32_t>(end - b.Buffer);
    b.BufferEmpty = 0;
}

// A row already in its final form, with its indicator bytes in front unless
// the row carries them.
int32_t placeRow(dcBufferInfo_t& b, const void* row, uint32_t length) {
    const uint32_t indicators = SG_IndicatorData ? 0 : static_cast<uint32_t>(b.RowIndBytes);
    const uint64_t needed =
        uint64_t{indicators} + b.UsedOffset + static_cast<uint32_t>(b.HeaderTrailerBytes) + length;
    if (needed > b.MaxSize) return putBuffer(b);
    b.CurrentPos += b.HeaderSize - b.LengthSize;
    if (const int32_t rc = SetRowLength(indicators + length)) return rc;
    uint8_t* at = b.CurrentPos + b.LengthSize;
    std::memset(at, 0, indicators);
    at += indicators;
    std::memcpy(at, row, length);
    rowPlaced(b, at + length);
    return 0;
}

uint8_t* putPrefix(uint8_t* at, uint64_t value, uint32_t size) {
    if (size == kVarPrefix) {
        const auto v = static_cast<uint16_t>(value);
        std::memcpy(at, &v, size);
    } else {
        std::memcpy(at, &value, size);
    }
    return at + size;
}

// A row the delimited parser left as texts back to back: rebuilt with
// indicator bits and length prefixes.
int32_t placeDelimitedRow(dcBufferInfo_t& b, const uint8_t* row) {
    const uint64_t needed = uint64_t{static_cast<uint32_t>(b.RowOverheadBytes)} +
                            static_cast<uint32_t>(b.RowDataBytes) + b.UsedOffset;
    if (needed > b.MaxSize) return putBuffer(b);
    b.CurrentPos += b.HeaderSize - b.LengthSize;
    const uint32_t rowLength = static_cast<uint32_t>(b.RowDataBytes + b.RowFixedBytes);
    if (const int32_t rc = SetRowLength(rowLength)) return rc;
    uint8_t* start = b.CurrentPos + b.LengthSize;
    std::memset(start, 0, static_cast<size_t>(b.RowIndBytes));
    uint8_t* at = start + b.RowIndBytes;
    for (int32_t i = 0; i < SG_ColCount; ++i) {
        const bool null = SG_IndBytes[i] == 1;
        if (null) start[i / 8] |= static_cast<uint8_t>(0x80u >> (i % 8));
        const uint32_t length = null ? 0 : SG_ColLens[i];
        if (SG_IsInlineLOB[i]) {
            at = putPrefix(at, length, kLobPrefix);
            if (!null) LastLOBLength = length;
        } else if (SG_IsVarType[i]) {
            at = putPrefix(at, length, kVarPrefix);
        } else if (null) {
            at += SG_ColLensBase[i];
            continue;
        }
        std::memcpy(at, row + SG_ColOffs[i], length);
        at += length;
    }
    const auto actual = static_cast<int32_t>(at - start);
    if (actual != static_cast<int32_t>(rowLength)) {
        trace(1, kFn, kWarning,
              "Buffer Mode expected row length, %d, does not match actual row length of %d",
              static_cast<int32_t>(rowLength), actual);
        char expected[16];
        char got[16];
        std::snprintf(expected, sizeof expected, "%d", static_cast<int32_t>(rowLength));
        std::snprintf(got, sizeof got, "%d", actual);
        publicMessage(19157, 3, 6, kText, expected, kText, got);
        raiseExitCodeTo(12);
        return PXSTC_FatalError;
    }
    rowPlaced(b, at);
    return 0;
}

}  // namespace

extern "C" int32_t DC_CheckPutRow(const void* row, uint32_t lengthRead,
                                  uint32_t lengthRequired) noexcept {
    if (const int32_t rc = checkLength(lengthRead, lengthRequired)) return rc;
    if (BufferInfo == nullptr) return putRow(row, lengthRead);
    if (BufferInfo->Buffer == nullptr) {
        // No buffer to fill: the producer gets one before it presents rows.
        trace(1, kFn, kWarning, "No buffer to place a row in");
        return PXSTC_FatalError;
    }
    if (TextDelimiter.Length == 0) return placeRow(*BufferInfo, row, lengthRead);
    return placeDelimitedRow(*BufferInfo, static_cast<const uint8_t*>(row));
}
