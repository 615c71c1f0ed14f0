// ExtractDelimitedText: the record a producer read into pmBuffer split into
// the schema's columns by the loop of the job's parsing case, the row left
// in pmBufferTarget, and a refused record reported: in the record error
// file when one is open, otherwise with the file's position dumped.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "buffer_mode.h"
#include "data_error_dump.h"
#include "dc_messages.h"
#include "delimited_export.h"
#include "delimited_parse.h"
#include "file_access.h"
#include "file_catalogue.h"
#include "initiation.h"
#include "pm_layer.h"
#include "record_error_file.h"
#include "schema.h"
#include "text_attr.h"

using namespace bu::dc;

extern "C" {
int32_t ActualColumnCount = 0;
char ExtractErrMsg[2500] = {};
char UDDI_FeatureName[5] = "UDDI";
}

namespace {

constexpr char kFn[] = "ExtractDelimitedText";
constexpr uint32_t kFirstCharacterCapacity = 65536;

// The byte length of each character of the column being parsed: at least one
// entry per byte of the record.
uint32_t* characterLengths = nullptr;
uint32_t characterCapacity = 0;

bool reserveCharacterLengths(uint32_t recordLength) {
    if (characterCapacity >= recordLength && characterLengths != nullptr) return true;
    const uint32_t wanted = std::max(kFirstCharacterCapacity, recordLength);
    trace(4, kFn, kInfo, "Old CharacterLengthSize %u", characterCapacity);
    trace(4, kFn, kInfo, "New CharacterLengthSize %u", wanted);
    void* grown =
        std::realloc(characterLengths, sizeof(uint32_t) * (static_cast<size_t>(wanted) + 1));
    if (grown == nullptr) {
        traceError(kFn, "%s %s %u bytes.", "Unable to reallocate memory for",
                   "CharacterLength increase.  Memory requested", wanted);
        return false;
    }
    characterLengths = static_cast<uint32_t*>(grown);
    characterCapacity = wanted;
    return true;
}

// The untouched record, kept for the record error file before the parse
// alters it in place.
bool keepOriginal() {
    if (pmBuffer.Length > pmBufferOrig.Length || pmBufferOrig.Data == nullptr) {
        // pmBufferOrig.Length is the block's capacity between records.
        void* grown = std::realloc(pmBufferOrig.Data, std::max<uint32_t>(pmBuffer.Length, 1));
        if (grown == nullptr) {
            traceError(kFn, "%s %s %d bytes.", "Unable to reallocate memory for delimited data",
                       "original buffer. Memory requested", static_cast<int32_t>(pmBuffer.Length));
            return false;
        }
        pmBufferOrig.Data = grown;
    }
    if (pmBuffer.Length != 0) std::memcpy(pmBufferOrig.Data, pmBuffer.Data, pmBuffer.Length);
    pmBufferOrig.Length = pmBuffer.Length;
    return true;
}

// The end-of-record mark of the data file, which an escaped one stands for.
bu::rf::Mark recordEndOfFile() {
    FileInfo* file = nullptr;
    if (pmfp == 0 || pm::checkFp(pmfp, &file, kFn) != 0 || file == nullptr) return {};
    return {reinterpret_cast<const char*>(file->EOR), file->EORLength};
}

// The option that accepts a row with this error, or null for an error no
// option accepts.
const int32_t* acceptingOption(int32_t error) {
    switch (error) {
        case bu::rf::kParseTooManyColumns:
            return &SG_AcceptExcessColumns;
        case bu::rf::kParseTooFewColumns:
            return &SG_AcceptMissingColumns;
        case bu::rf::kParseOverflow:
            return &TruncateColumnsOpt;
        default:
            return nullptr;
    }
}

int32_t report(const bu::rf::ParseResult& result, const bu::rf::ParseColumns& columns) {
    const bu::rf::ParseErrorContext context{&columns, SG_ColNames,
                                            static_cast<uint32_t>(FileRecordCount + 1),
                                            pmBufferRecCount, UDDI_ParsingCase};
    bu::rf::formatParseError(result, context, ExtractErrMsg, sizeof ExtractErrMsg);
    trace(1, kFn, kWarning, "%s", ExtractErrMsg);
    const int32_t* option = acceptingOption(result.error);
    if (SG_pmFpErrors == 0) {
        // Without an error file only an accepted row is a light error.
        if (option == nullptr || *option == 0) DumpFileInfo(-1);
        return result.error;
    }
    // Three accepts the row without a line in the file.
    if (option != nullptr && *option == 3) return result.error;
    (void)pmTrace(3, &SG_pmFpErrors, 1);
    (void)WrRecErrFile(ExtractErrMsg);
    (void)pmTrace(3, &SG_pmFpErrors, DC_TraceLvl);
    return result.error;
}

}  // namespace

extern "C" int32_t ExtractDelimitedText(void) noexcept {
    ActualColumnCount = 0;
    if (bUsingUDDI == 0 || pmBufferTarget.Data == nullptr) {
        std::snprintf(ExtractErrMsg, sizeof ExtractErrMsg, "'%s' feature not initialized.",
                      UDDI_FeatureName);
        return bu::rf::kParseNotInitialised;
    }
    if (SG_pmFpErrors != 0 && !keepOriginal()) return bu::rf::kParseNoMemory;
    if (BufferInfo != nullptr) BufferInfo->RowDataBytes = 0;
    if (!reserveCharacterLengths(pmBuffer.Length)) return bu::rf::kParseNoMemory;
    if (DC_TraceLvl > 4) {
        trace(4, kFn, kInfo, "<DBG> UDDI_ParsingCase: %d", UDDI_ParsingCase);
        trace(4, kFn, kInfo, "<DBG> Buffer IN->");
        pm::dump(pmBuffer.Data, pmBuffer.Length);
    }
    const bu::rf::ParseSettings settings =
        parseSettingsOfJob(recordEndOfFile(), SG_pmFpErrors != 0);
    const bu::rf::ParseColumns columns{SG_ColCount, SG_ColLensBase, SG_ColOffs,
                                       SG_ColLens,  SG_ColLensOrig, SG_IndBytes};
    const bu::rf::ParseWork work{static_cast<uint8_t*>(pmBufferTarget.Data), pmBufferTargetSize,
                                 characterLengths};
    const bu::rf::ParseResult result =
        bu::rf::parseDelimitedRecord(UDDI_ParsingCase, settings, columns, work,
                                     static_cast<uint8_t*>(pmBuffer.Data), pmBuffer.Length);
    ActualColumnCount = result.columnsFound;
    if (result.rowMade) {
        pmBuffer.Data = pmBufferTarget.Data;
        pmBuffer.Length = result.rowLength;
        if (BufferInfo != nullptr)
            BufferInfo->RowDataBytes = static_cast<int32_t>(result.dataBytes);
    }
    return result.error == 0 ? 0 : report(result, columns);
}

namespace bu::dc {

void freeExtractWork() noexcept {
    std::free(characterLengths);
    characterLengths = nullptr;
    characterCapacity = 0;
}

}  // namespace bu::dc
