// DC_DataConFileInfo and the catalogue it walks: every setting of the data
// file and of its records, one row per attribute, in the order of reading.
// A row's reader applies the attribute's own rules; a failing row stops the
// walk with its status.
#include "file_catalogue.h"

#include <cstring>

#include "attributes.h"
#include "charsets.h"
#include "checkpoint_restart.h"
#include "dc_messages.h"
#include "file_access.h"
#include "file_settings.h"
#include "initiation.h"
#include "pm_trace.h"
#include "record_error_file.h"
#include "record_error_settings.h"
#include "schema.h"

using namespace bu::dc;

extern "C" {
char DC_FileName[PM_MAX_FILE_NAME + 1] = {};
const char* pCurrentFileName = nullptr;
int16_t DC_OpenMode = -1;
int32_t SG_AcceptExcessColumns = 0;
int32_t SG_AcceptMissingColumns = 0;
int32_t TruncateColumnsOpt = 0;
uint32_t RowsSkipped = 0;
int32_t Hadoop_JobType = 0;
int32_t bAllowMultiInstanceRead = 0;
}

namespace {

using T = AttrType;
using W = ReadWhen;

constexpr const char* kFn = "DC_DataConFileInfo";
constexpr int32_t kNo = 0;
constexpr int32_t kYes = 1;

// clang-format off
const FileAttribute kFileAttributes[] = {
//   name                     type         size kind/n  default  who          read when              global                    reader
    {"FileName",              T::Text,     4096, 0,     nullptr, kEitherSide, W::Always,           DC_FileName,              readFileName},
    {"OpenMode",              T::Text,     12,   0,     nullptr, kEitherSide, W::Always,           &DC_OpenMode,             readOpenMode},  // Write, or Read for a producer
    {"Format",                T::Text,     20,   0,     nullptr, kEitherSide, W::Always,           Format_C,                 readFormat},
    {"ValidUTF8",             T::Text,     200,  0,     nullptr, kEitherSide, W::Always,           &Valid_UTFX,              readValidUtf8},
    {"ReplacementUTF8Char",   T::Text,     1,    0,     nullptr, kEitherSide, W::Always,           nullptr,                  readReplacementChar},
    {"QuotedData",            T::YesNo,    1,    kNo,   nullptr, kEitherSide, W::Delimited,        &bQuotedData,             readYesNo},
    {"AcceptEOFasEOR",        T::YesNo,    0,    kYes,  nullptr, kProducer,   W::Delimited,        &bAcceptEOFasEOR,         readYesNo},
    {"AppendDelimiter",       T::YesNo,    0,    kNo,   nullptr, kConsumer,   W::Delimited,        &bAppendDelimiter,        readAppendDelimiter},
    {"TextDelimiter",         T::Special,  100,  0,     kPipe,   kEitherSide, W::Delimited,        &TextDelimiter,           readTextDelimiter},
    {"EscapeTextDelimiter",   T::Special,  100,  0,     nullptr, kEitherSide, W::Delimited,        &EscapeTextCharacter,     readEscapeTextDelimiter},
    {"OpenQuoteMark",         T::Special,  100,  0,     "\"",    kEitherSide, W::Delimited,        &OpenQuoteMark,           readOpenQuoteMark},
    {"CloseQuoteMark",        T::Special,  100,  0,     nullptr, kEitherSide, W::Delimited,        &CloseQuoteMark,          readCloseQuoteMark},  // the open mark
    {"EscapeQuoteDelimiter",  T::Special,  100,  0,     nullptr, kEitherSide, W::Delimited,        &EscapeQuoteCharacter,    readEscapeQuoteDelimiter},
    {"TrimColumns",           T::Text,     10,   0,     nullptr, kProducer,   W::Delimited,        nullptr,                  readTrimColumns},
    {"TrimChar",              T::Special,  100,  0,     " ",     kProducer,   W::Delimited,        &TrimLeadingChar,         readTrimChar},
    {"EscapeRecordDelimiter", T::Special,  100,  0,     nullptr, kEitherSide, W::Delimited,        &EscapeRecDelim,          readEscapeRecordDelimiter},
    {"UseGeneralUDDIcase",    T::YesNo,    0,    kNo,   nullptr, kEitherSide, W::Always,           &UDDI_ParsingCase,        readGeneralUddiCase},
    {"WriteBOM",              T::YesNo,    0,    kNo,   nullptr, kConsumer,   W::Always,           &bWriteBOM,               readWriteBom},
    {"RECORD_TYPE",           T::ToModule, 0,    0,     nullptr, kEitherSide, W::WithAccessModule, Format_C,                 sendRecordType},
    {"IOBufferSize",          T::Number,   4,    0,     nullptr, kEitherSide, W::Always,           nullptr,                  readIoBufferSize},
    {"AcceptExcessColumns",   T::YesNo,    2,    kNo,   nullptr, kEitherSide, W::Always,           &SG_AcceptExcessColumns,  readYesNo},
    {"AcceptMissingColumns",  T::YesNo,    2,    kNo,   nullptr, kEitherSide, W::Always,           &SG_AcceptMissingColumns, readYesNo},
    {"TruncateColumnData",    T::YesNo,    2,    kNo,   nullptr, kEitherSide, W::Always,           &TruncateColumnsOpt,      readYesNo},
    {"TruncateColumns",       T::YesNo,    2,    kNo,   nullptr, kEitherSide, W::IfAboveAbsent,    &TruncateColumnsOpt,      readYesNo},
    {"TruncateLongCols",      T::YesNo,    2,    kNo,   nullptr, kEitherSide, W::IfAboveAbsent,    &TruncateColumnsOpt,      readYesNo},
    {"RecordErrorFileName",   T::Text,     4096, 0,     nullptr, kEitherSide, W::Always,           SG_RowErrFileName,        readErrorFileName},
    {"RowErrFileName",        T::Text,     4096, 0,     nullptr, kEitherSide, W::IfAboveAbsent,    SG_RowErrFileName,        readErrorFileName},
    {"SYSTEM_LOGDIRECTORY",   T::Text,     4096, 0,     nullptr, kEitherSide, W::WithErrorFile,    LogDirectory,             setUpErrorFile},  // the error file opens here
    {"ErrorLimit",            T::Number,   4,    -1,    nullptr, kEitherSide, W::Always,           &SG_ErrorRowLimit,        readErrorLimit},
    {"RecordErrorFilePrefix", T::Special,  100,  0,     nullptr, kEitherSide, W::Always,           &RowErrFilePrefixChar,    readErrorFilePrefix},
    {"RecordErrorVerbosity",  T::Text,     10,   0,     "Off",   kEitherSide, W::Always,           &RowErrorVerbosity,       readErrorVerbosity},
};
// clang-format on

bool isRead(const FileAttribute& row, bool abovePresent) {
    switch (row.when) {
        case W::Always:
            return true;
        case W::Delimited:
            return formatIsDelimited();
        case W::IfAboveAbsent:
            return !abovePresent;
        case W::WithErrorFile:
            return SG_RowErrFileName[0] != '\0';
        case W::WithAccessModule:
            return bIOviaAccessModule != 0;
    }
    return false;
}

int32_t readCatalogue() {
    bool abovePresent = false;
    for (const FileAttribute& row : kFileAttributes) {
        // A row left unread keeps the presence of the row above it, so that
        // the last of a chain of names is read only when none above was given.
        if (!isRead(row, abovePresent)) continue;
        bool present = false;
        if (int32_t rc = row.read(row, present); rc != 0) return rc;
        abovePresent = present;
    }
    return 0;
}

void showSettings() {
    if (DC_FileName[0] != '\0') displayBanner("%s: '%s'", "FileName", DC_FileName);
    displayBanner("%s: '%s' (%d)", "OpenMode", openModeText(), int{DC_OpenMode});
    displayBanner("%s: '%s' (%d)", "Format", Format_C, FileFormat);
}

}  // namespace

namespace bu::dc {

bool servesThisSide(const FileAttribute& row) noexcept {
    const Side side = OperatorType == PX_OPERATOR_TYPE_PRODUCER ? kProducer : kConsumer;
    return (row.who & side) != 0;
}

int32_t readYesNo(const FileAttribute& row, bool& present) noexcept {
    if (!servesThisSide(row)) return 0;
    auto* value = static_cast<int32_t*>(row.target);
    if (DC_GetYN(row.name, value, 0, row.number, row.size) != 0) return PXSTC_FatalError;
    present = bYNAttrPresent != 0;
    return 0;
}

int32_t refuseValue(const char* caller, const char* name, const char* value,
                    const char* validValues) noexcept {
    trace(1, caller, kWarning, "Invalid %s attribute value ('%s') provided", name, value);
    trace(1, caller, kWarning, "Valid %s values are %s", name, validValues);
    if (ThisInstance == 1)
        publicMessage(19205, 3, 6, kText, name, kText, value, kText, validValues);
    return PXSTC_FatalError;
}

}  // namespace bu::dc

extern "C" int32_t DC_DataConFileInfo(OperatorHandle* handle) noexcept {
    pm::TraceEntryExit entryAndExit(kFn);
    trace(1, kFn, kInfo, ">> Enter %s", kFn);
    trace(1, kFn, kInfo, "Job Type=%d", Hadoop_JobType);
    int32_t rc = readCatalogue();
    if (rc != 0) return rc;
    showSettings();
    rc = DC_EstablishSchema(handle);
    if (rc != 0) {
        reportAndMap(rc);
        return rc;
    }
    sizeIoBuffer();
    RowCount = 0;
    RowsSkipped = 0;
    RecordInstanceTarget = 0;
    return 0;
}
