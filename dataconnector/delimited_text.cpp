// CreateDelimitedText: a row (in pmBuffer for the exported entry) becomes
// its delimited record, with the schema's forms of the columns. At trace
// levels up to 4 nothing is formatted for the trace.
#include "dc_messages.h"
#include "delimited_export.h"
#include "delimited_writer.h"
#include "initiation.h"
#include "schema.h"

using namespace bu::dc;

namespace {

constexpr const char* kFn = "CreateDelimitedText";
constexpr int32_t kDumpMessage = 19005;
// The most of a column's text a trace line shows.
constexpr uint32_t kShownTextBytes = 1948;

void traceIncomingRow(const pmData& record, int32_t count, const uint32_t* offsets,
                      const uint8_t* indicators, const uint32_t* lengths) {
    // The count is shown one higher, as it always has been.
    trace(4, kFn, kInfo, "Row: %d, ColCount=%d", static_cast<int32_t>(FileRecordCount + 1),
          count + 1);
    trace(4, kFn, kInfo, "Col  Offset  Length Ind Contents");
    const char* data = static_cast<const char*>(record.Data);
    for (int32_t i = 0; i < count; ++i) {
        const uint32_t shown = lengths[i] < kShownTextBytes ? lengths[i] : kShownTextBytes;
        trace(4, kFn, kInfo, "%3d %7d %7d %3d '%.*s'", i + 1, static_cast<int32_t>(offsets[i]),
              static_cast<int32_t>(lengths[i]), int{indicators[i]}, static_cast<int>(shown),
              data + offsets[i]);
    }
    trace(4, kFn, kInfo, "Incoming buffer <IN");
    pmHexDmp(kDumpMessage, static_cast<uint32_t>(MaxBytesToDump), record.Data, record.Length, "<IN",
             0);
}

}  // namespace

int32_t bu::dc::createDelimitedText(pmData& record, int32_t ColCount, const uint32_t* Offsets,
                                    const uint8_t* Indicators, const uint32_t* Lengths) noexcept {
    if (DC_TraceLvl > 4) traceIncomingRow(record, ColCount, Offsets, Indicators, Lengths);
    const bu::rf::DelimitedRow row{ColCount,    Offsets,         Indicators, Lengths,
                                   SG_ColTypes, SG_ColPrecision, SG_ColScale};
    const int32_t rc = bu::rf::createDelimitedRecord(record, row);
    if (rc == 0 && DC_TraceLvl > 4) {
        trace(4, kFn, kInfo, "Final buffer:");
        pmHexDmp(kDumpMessage, static_cast<uint32_t>(MaxBytesToDump), record.Data, record.Length,
                 "Final", 0);
    }
    return rc;
}

extern "C" int32_t CreateDelimitedText(int32_t ColCount, const uint32_t* Offsets,
                                       const uint8_t* Indicators,
                                       const uint32_t* Lengths) noexcept {
    return createDelimitedText(pmBuffer, ColCount, Offsets, Indicators, Lengths);
}
