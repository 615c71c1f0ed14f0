// The record error file of an instance: set up with the data file's
// settings, its header, the records a parser rejects, the limit shared by
// all instances, and the instance's counts at the end of phase 1.
#include "record_error_file.h"

#include <unistd.h>

#include <cstdio>
#include <cstring>

#include "attributes.h"
#include "data_error_dump.h"
#include "dc_messages.h"
#include "delimited_export.h"
#include "file_access.h"
#include "file_catalogue.h"
#include "file_settings.h"
#include "initiation.h"
#include "record_error_settings.h"
#include "schema.h"
#include "shared_variables.h"
#include "termination.h"
#include "text_attr.h"

using namespace bu::dc;

extern "C" {
pmFp SG_pmFpErrors = 0;
pmHandle ErrorsPmHandle = 0;
uint32_t SG_ErrorRowCount = 0;
int32_t RowErrOpenMode = pmOpenWrite;
const char* TempRowErrFileName = nullptr;
}

namespace {

constexpr const char* kSetUpFn = "DC_DataConFileInfo";
constexpr const char* kOpenFn = "OpenRowErrorFile";
constexpr const char* kWriteFn = "WrRecErrFile";
// The error file's block when the job leaves the I/O block unset.
constexpr uint64_t kDefaultBlock = 1048586;
// How long an instance tries to tell the others its temporary file's name.
constexpr int32_t kPidWriteAttempts = 30;

char tempFileName[PM_MAX_FILE_NAME + 96];

int32_t prefixLength() {
    return RowErrFilePrefixChar.Length > 0 ? RowErrFilePrefixChar.Length : 0;
}

// One line of the error file; the access layer traces it at level 1 only.
uint32_t writeLine(const char* text, uint32_t length) {
    pmRecord record{length, const_cast<char*>(text), 0, 0};
    return pmWrite(SG_pmFpErrors, &record);
}

template <typename... Args>
uint32_t writeFormatted(const char* format, Args... args) {
    char line[kLineSize];
    const int length = std::snprintf(line, sizeof line, format, args...);
    const auto kept = static_cast<uint32_t>(length < 0 ? 0 : length);
    return writeLine(line, kept < sizeof line ? kept : sizeof line - 1);
}

// The file's own trace level while its lines are written.
void quietErrorFile(bool quiet) {
    (void)pmTrace(3, &SG_pmFpErrors, quiet ? 1 : DC_TraceLvl);
}

// Every instance makes the job's two variables: the first to come makes
// them, the others are told they exist (26), so counts written at the end
// of a short instance's phase 1 never wait on instance 1's start. Only
// instance 1 stops when they can't be made.
int32_t createForJob(const char* name, int32_t size, int32_t elements) {
    trace(2, kSetUpFn, kInfo, "Calling PX_CreateGlobalVar for %s", name);
    int32_t status = createSharedVariable(name, size, elements);
    if (status == 0 || status == PXSTC_Duplicate || ThisInstance != 1) return 0;
    return reportServiceFailure(kSetUpFn, "PX_CreateGlobalVar", status);
}

int32_t createSharedVariables() {
    int32_t rc = createForJob(kErrorCountsVar, 12, TotalInstances);
    if (rc == 0) rc = createForJob(kSharedErrorCountVar, 4, 1);
    // Each instance above 1 tries; all but the first are told it exists.
    if (rc == 0 && ThisInstance != 1) {
        (void)createSharedVariable(kTempFilePidVar, 4, TotalInstances - 1);
    }
    return rc;
}

const char* userName() {
    OperatorHandle* handle = SG_opHandle;
    char* user = nullptr;
    if (hasKind(handle, PX_KIND_OPERATOR) && handle->PX_GetUserId != nullptr &&
        handle->PX_GetUserId(handle, &user) == 0 && user != nullptr) {
        return user;
    }
    return "NOUSERID";
}

// The others learn an instance's temporary file only from the process id
// it leaves at its index; the variable may not exist yet when it starts.
int32_t announceTempFile(int32_t instance, int32_t pid) {
    int32_t status = 0;
    for (int32_t attempt = 0; attempt < kPidWriteAttempts; ++attempt) {
        status = writeSharedVariable(kTempFilePidVar, instance - 1, &pid, sizeof pid);
        if (status == 0) return 0;
        ::sleep(1);
    }
    publicMessage(19100, 3, 6, kText, "PX_WriteGlobalVar", kInt, status);
    raiseExitCodeTo(12);
    return PXSTC_FatalError;
}

// The temporary file of instance `instance`: its own, or at the merge the
// one that instance announced. Returns 0 or 48.
int32_t nameTempFile(int32_t instance) {
    const bool merging = SG_ContinueOnRowError != 0;
    int32_t pid = 0;
    if (merging) {
        int32_t status = readSharedVariable(kTempFilePidVar, instance - 1, &pid, sizeof pid);
        if (status != 0) {
            // Nothing to build a name from: the last one made stands. This
            // message carries the service's name where others have their
            // leader.
            dcLastLogStatus =
                logWriteRaw(Public_loghandle, 19100, 3, 6, kText, "PX_ReadGlobalVar", kText,
                            "PX_ReadGlobalVar", kInt, status, int32_t{PX_TAG_END});
            TempRowErrFileName = tempFileName;
            return 0;
        }
    }
    if (pid == 0) pid = static_cast<int32_t>(::getpid());
    std::snprintf(tempFileName, sizeof tempFileName, "%s/QLN_DCOP_RE_TMP_%s_P%d_I%d.txt",
                  LogDirectory, userName(), pid, instance);
    TempRowErrFileName = tempFileName;
    return merging ? 0 : announceTempFile(instance, pid);
}

}  // namespace

namespace bu::dc {

int32_t setUpErrorFile(const FileAttribute& row, bool& present) noexcept {
    pmData names[2] = {{0, const_cast<char*>("")}, {0, const_cast<char*>("")}};
    uint32_t rc = pmAttach(names, 1, &ErrorsPmHandle);
    if (rc != pmrcOK) return reportAccessFailure(kSetUpFn, "pmAttach", rc, 19302);
    // Instance 1 of a restart keeps what it wrote before; the others begin
    // new temporary files each run.
    RowErrOpenMode = DC_RestartMode != 0 && ThisInstance == 1 ? pmOpenUpdate : pmOpenWrite;
    int32_t status = createSharedVariables();
    if (status == 0) status = readLogDirectory(row, present);
    if (status == 0) status = OpenRowErrorFile(ThisInstance, RowErrOpenMode, &SG_pmFpErrors);
    if (status != 0) return status;
    SG_ContinueOnRowError = 1;
    return 0;
}

void writeErrorFileHeader() noexcept {
    const int32_t prefix = prefixLength();
    const char* p = RowErrFilePrefixChar.Bytes;
    auto yesNo = [](int32_t value) { return value >= 0 && value < 4 ? YNNames[value] : ""; };
    const struct {
        const char* name;
        const char* value;
    } options[] = {
        {"RecordErrorVerbosity", verbosityName(RowErrorVerbosity)},
        {"AcceptExcessColumns", yesNo(SG_AcceptExcessColumns)},
        {"AcceptMissingColumns", yesNo(SG_AcceptMissingColumns)},
        {"TruncateColumnData", yesNo(TruncateColumnsOpt)},
    };
    quietErrorFile(true);
    // The first line that fails ends the header.
    bool written = writeFormatted("%.*s%s options:", prefix, p, "RecordErrorFileName") == pmrcOK &&
                   writeFormatted("%.*s%s: '%s'", prefix, p, "RecordErrorFileName",
                                  SG_RowErrFileName) == pmrcOK;
    for (const auto& o : options) {
        written =
            written && writeFormatted("%.*s%s option: %s", prefix, p, o.name, o.value) == pmrcOK;
    }
    quietErrorFile(false);
    if (!written)
        trace(1, kSetUpFn, kInfo, "Writing header information to record error file failed.");
}

void finishErrorFile() noexcept {
    if (SG_pmFpErrors == 0) return;
    // Rows handled, rows rejected, exit code: instance 1 sums them all.
    const uint32_t handled =
        bAllowMultiInstanceRead ? (ThisInstance > 1 ? FileRecordCount : 0) : FileRecordCount;
    const uint32_t counts[3] = {handled, SG_ErrorRowCount,
                                static_cast<uint32_t>(static_cast<int32_t>(CurrentExitCode))};
    (void)writeSharedVariable(kErrorCountsVar, ThisInstance, counts, sizeof counts);
    if (ThisInstance == 1) return;  // it stays open for the merge
    char label[64];
    std::snprintf(label, sizeof label, "Term Phase 1: Record error file Instance: (%d)",
                  ThisInstance);
    Close_pmFile(SG_pmFpErrors, label);
    SG_pmFpErrors = 0;
}

void detachErrorFiles() noexcept {
    if (ErrorsPmHandle == 0) return;
    uint32_t rc = pmDetach(ErrorsPmHandle, 2);
    ErrorsPmHandle = 0;
    if (rc != pmrcOK) warnAccessFailure("pmDetach", rc, 19310, false);
}

}  // namespace bu::dc

extern "C" int32_t OpenRowErrorFile(int32_t instance, int32_t openMode, pmFp* out) noexcept {
    const char* name = SG_RowErrFileName;
    if (instance != 1) {
        if (nameTempFile(instance) != 0) return PXSTC_FatalError;
        name = tempFileName;
        trace(2, "MakeRowErrorFileName", kInfo, "Temp Error Row filename: '%s'", name);
        trace(1, kOpenFn, kInfo, "%s %d, ('%s')",
              "Opening temporary record error file for instance", instance, name);
    }
    const uint64_t block = BufferSize == kBufferSizeUnset ? kDefaultBlock : BufferSize;
    const auto recordSize =
        static_cast<uint32_t>(TotalFixedLength > UINT32_MAX ? UINT32_MAX : TotalFixedLength);
    uint32_t rc = pmOpen(static_cast<int16_t>(openMode), 0, pmFmtText, pmHadoopFS, block,
                         recordSize, name, ErrorsPmHandle, nullptr, out);
    // An instance that rejected nothing left an empty file.
    if (rc == pmrcOK || rc == pmrcEmptyFile) return 0;
    return reportAccessFailure(kOpenFn, "pmOpen", rc, 19304);
}

extern "C" int32_t WrRecErrFile(const char* errorText) noexcept {
    const int32_t prefix = prefixLength();
    const char* p = RowErrFilePrefixChar.Bytes;
    if (errorText == nullptr) errorText = "";
    char warning[kLineSize] = {};
    if (RowErrorVerbosity != 0) {
        std::snprintf(warning, sizeof warning, "%.*s[%d] WARNING Below record: %s", prefix, p,
                      ThisInstance, errorText);
    }
    const auto recordLength =
        static_cast<int>(pmBufferOrig.Data != nullptr ? pmBufferOrig.Length : 0);
    const char* record =
        pmBufferOrig.Data != nullptr ? static_cast<const char*>(pmBufferOrig.Data) : "";
    if (bErrorsTostderr) {
        trace(1, kWriteFn, kInfo, "Error record sent to stderr");
        if (warning[0] != '\0') std::fprintf(stderr, "%s\n", warning);
        std::fprintf(stderr, "%.*s\n", recordLength, record);
    } else {
        quietErrorFile(true);
        // Only the record itself must get through; the lines before it may fail.
        if (RowErrorVerbosity >= 1)
            (void)writeLine(warning, static_cast<uint32_t>(std::strlen(warning)));
        if (RowErrorVerbosity >= 2) {
            (void)writeFormatted("%.*s[%d] File path: '%s'", prefix, p, ThisInstance,
                                 pCurrentFileName != nullptr ? pCurrentFileName : "");
            (void)writeFormatted("%.*s[%d]Record number: %d", prefix, p, ThisInstance,
                                 static_cast<int32_t>(FileRecordCount + 1));
        }
        trace(1, kWriteFn, kInfo, "Saving error record in error record file.");
        const uint32_t rc = writeLine(record, static_cast<uint32_t>(recordLength));
        quietErrorFile(false);
        if (rc != pmrcOK) {
            trace(1, kWriteFn, kInfo, "%s ('%s') on record %d",
                  "Writing error record to error file", SG_RowErrFileName,
                  static_cast<int32_t>(FileRecordCount + 1));
            publicMessage(19306, 3, 6);
            DumpFileInfo(-1);
            return reportAccessFailure(kWriteFn, "pmWrite", rc, 19306);
        }
    }
    ++SG_ErrorRowCount;
    if (SG_ErrorRowLimit < 1) return 0;
    // The shared count is read and written back without a lock: two
    // instances may lose one increment, and each still stops by its own.
    uint32_t shared = 0;
    if (TotalInstances > 1) {
        (void)readSharedVariable(kSharedErrorCountVar, 1, &shared, sizeof shared);
        ++shared;
        (void)writeSharedVariable(kSharedErrorCountVar, 1, &shared, sizeof shared);
        trace(4, kWriteFn, kInfo, "Error Row Limit Cnt [%d] Inst [%d]",
              static_cast<int32_t>(shared), ThisInstance);
    }
    const auto limit = static_cast<uint32_t>(SG_ErrorRowLimit);
    if (limit > SG_ErrorRowCount && limit > shared) return 0;
    trace(4, kWriteFn, kInfo, "Error Row Limit [%d] Reached", SG_ErrorRowLimit);
    SG_ContinueOnRowError = 2;
    return 0;
}

extern "C" int32_t dcCheckContinue(int32_t* skipRow, int32_t* keepRow) noexcept {
    if (SG_ContinueOnRowError == 0) return 0;
    if (SG_ContinueOnRowError == 2) {
        raiseExitCodeTo(12);
        return PXSTC_FatalError;
    }
    trace(1, "dcCheckContinue", kInfo, "Skipping row and continuing...");
    raiseExitCodeTo(4);
    ++FileRecordCount;
    if (skipRow != nullptr) *skipRow = 1;
    if (keepRow != nullptr) *keepRow = 0;
    return 0;
}
