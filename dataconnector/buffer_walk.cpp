// DC_ReadRow in buffer mode: one buffer from PX_GetBuffer, its rows walked
// in place and each written to the output file (the OUTMOD sees none of
// them). Every row's length is checked before it is used, so no row is
// taken from beyond the buffer's end.
#include <cstdio>
#include <cstring>

#include "buffer_mode.h"
#include "dc_messages.h"
#include "delimited_export.h"
#include "file_settings.h"
#include "initiation.h"
#include "pmdcomt.h"
#include "row_intake.h"
#include "schema.h"
#include "var_fields.h"

using namespace bu::dc;

namespace {

constexpr const char* kFn = "DC_ReadRow";
// Each row stands behind its 4-byte length.
constexpr uint32_t kRowHeader = 4;

int32_t fetchBuffer(dcBufferInfo_t& info) {
    int32_t status = PXSTC_BadHandle;
    void* buffer = nullptr;
    info.UsedLen = 0;
    if (hasKind(schemaHandle, PX_KIND_SCHEMA) && schemaHandle->PX_GetBuffer != nullptr) {
        status =
            schemaHandle->PX_GetBuffer(schemaHandle, &info.HasIndicators, &buffer, &info.UsedLen);
    }
    // Bytes without a buffer to hold them are no bytes.
    if (buffer == nullptr) info.UsedLen = 0;
    info.Buffer = static_cast<uint8_t*>(buffer);
    trace(3, kFn, kInfo, "PX_GetBuffer: returned BufferInfo->UsedLen=%u", info.UsedLen);
    if (status == PXSTC_EndOfData) return PXSTC_EndMethod;
    // What a failing call left is shown too, before the failure is reported.
    if (DC_TraceLvl > 3) {
        trace(3, kFn, kInfo, "Data from PX_GetBuffer:");
        pmHexDmp(19005, static_cast<uint32_t>(MaxBytesToDump), info.Buffer, info.UsedLen,
                 "PX_GetBuffer", 1);
    }
    if (status != 0) return reportServiceFailure(kFn, "PX_GetBuffer", status);
    // Rows without indicator bytes can't be handed on with them.
    if (SG_IndicatorData && !info.HasIndicators) {
        trace(1, kFn, kInfo, " %s is incompatable with %s.", "Data Connector indicator mode", "");
        publicMessage(19250, 3, 6, kText, "IndicatorMode");
        raiseExitCodeTo(12);
        return PXSTC_FatalError;
    }
    return 0;
}

// A row longer than the schema allows, or than what is left of the buffer:
// 19156 with the length and the most it could have been.
int32_t refuseRowLength(uint32_t length, uint64_t allowed, const char* format) {
    trace(1, kFn, kInfo, format, static_cast<int32_t>(length), static_cast<int32_t>(allowed));
    char lengthText[16];
    char allowedText[24];
    std::snprintf(lengthText, sizeof lengthText, "%u", length);
    std::snprintf(allowedText, sizeof allowedText, "%llu",
                  static_cast<unsigned long long>(allowed));
    publicMessage(19156, 3, 6, kText, lengthText, kText, allowedText);
    raiseExitCodeTo(12);
    return PXSTC_FatalError;
}

// A delimited row is measured from its own bytes: without indicator bytes
// in the buffer its columns begin at once, and none is NULL.
int32_t makeDelimitedRecord(const dcBufferInfo_t& info, RowView& row) {
    if (!info.HasIndicators) NumIndBytes = 0;
    int32_t rc = setVarFields(row.bytes, nullptr);
    NumIndBytes = static_cast<uint32_t>(info.RowIndBytes);
    if (rc != 0) return rc;
    return createDelimitedText(row.bytes, SG_ColCount, SG_ColOffs, SG_IndBytes, SG_ColLens) == 0
               ? 0
               : PXSTC_FatalError;
}

int32_t writeRow(const dcBufferInfo_t& info, RowView& row) {
    int32_t rc = 0;
    if (isDelimited()) {
        rc = makeDelimitedRecord(info, row);
    } else if (info.HasIndicators) {
        rc = stripIndicators(row);
    }
    if (rc == 0) rc = writeRecordToFile(row.bytes);
    mirrorInPmBuffer(row.bytes);
    return rc;
}

// Aims pmBuffer at the next row and writes it. Returns 0 to go on, 43 when
// the buffer is used up (or its rest dropped after a row of length 0), or
// the status of a refused row.
int32_t nextRow(dcBufferInfo_t& info) {
    // The trailer is no row; a trailer the buffer can't hold leaves none.
    const uint64_t trailer = info.TrailerSize > 0 ? static_cast<uint64_t>(info.TrailerSize) : 0;
    const uint64_t end = info.UsedLen > trailer ? info.UsedLen - trailer : 0;
    if (info.UsedOffset >= end) {
        trace(4, kFn, kInfo, "End of buffer");
        return PXSTC_SamePhase;
    }
    const uint64_t left = end - info.UsedOffset;
    if (left < kRowHeader) {
        return refuseRowLength(kRowHeader, left,
                               "Buffer Mode row header of %d bytes runs past the end of the "
                               "buffer (%d bytes left)");
    }
    uint32_t length = 0;
    std::memcpy(&length, info.CurrentPos, sizeof length);
    if (length == 0) {
        trace(1, kFn, kInfo, "Unexpected ZERO length row - returning PXSTC_SamePhase");
        raiseExitCodeTo(4);
        return PXSTC_SamePhase;
    }
    if (length > MaxBufferRowLen) {
        return refuseRowLength(length, MaxBufferRowLen,
                               "Buffer Mode row length, %d, exceeds maximum allowable length of "
                               "%d");
    }
    if (length > left - kRowHeader) {
        return refuseRowLength(length, left - kRowHeader,
                               "Buffer Mode row length, %d, runs past the end of the buffer (%d "
                               "bytes left)");
    }
    RowView row;
    row.bytes = {length, info.CurrentPos + kRowHeader};
    info.CurrentPos += kRowHeader + length;
    info.UsedOffset += kRowHeader + length;
    return writeRow(info, row);
}

}  // namespace

namespace bu::dc {

int32_t readBuffer() noexcept {
    dcBufferInfo_t& info = *BufferInfo;
    int32_t rc = fetchBuffer(info);
    if (rc != 0) return rc;
    info.CurrentPos = info.Buffer;
    info.UsedOffset = 0;
    do {
        rc = nextRow(info);
    } while (rc == 0);
    return rc;
}

}  // namespace bu::dc
