// DC_Terminate. The order keeps every log open until the last line: files
// go in phase 1, memory and then the logs in phase 2.
#include "termination.h"

#include <cstdio>
#include <cstdlib>

#include "checkpoint_restart.h"
#include "dc_messages.h"
#include "delimited_export.h"
#include "file_access.h"
#include "initiation.h"
#include "pm_trace.h"
#include "pmdcomt.h"
#include "record_error_file.h"
#include "row_intake.h"
#include "schema.h"
#include "text_attr.h"

using namespace bu::dc;

extern "C" {
int32_t ExecuteSuccessFlag = 0;
int32_t SG_NumEscErrColumns = 0;
}

namespace {

constexpr const char* kFn = "DC_Terminate";

// An Access Module keeps what a restart would need until a job that
// succeeded tells it otherwise; a failed job keeps it.
void releaseRestartInformation() {
    static const char kName[] = "PRESERVE_RESTART_INFO";
    static const char kValue[] = "NO";
    trace(1, kFn, kInfo, "Sending to access module: attribute '%s'='%s'", kName, kValue);
    uint32_t rc = pmAPutAttr(DC_pmHandle, pmData{sizeof kName - 1, const_cast<char*>(kName)},
                             pmData{sizeof kValue - 1, const_cast<char*>(kValue)});
    if (rc != pmrcOK) {
        trace(1, kFn, kWarning, "pmAPutAttr returned '%s' (%d)", accessErrorText(rc),
              static_cast<int32_t>(rc));
    }
}

// Every block of the data file reaches it before its handle goes.
void closeDataFile() {
    if (DC_pmHandle == 0) return;
    if (AccessModuleName[0] != '\0' && ExecuteSuccessFlag != 0) releaseRestartInformation();
    Close_pmFile(pmfp, "Data File");
    pmfp = 0;
    uint32_t rc = pmDetach(DC_pmHandle, 2);
    DC_pmHandle = 0;
    if (rc != pmrcOK) warnAccessFailure("pmDetach", rc, 19310, false);
}

// An escape character at the very end of a column escapes nothing; the job
// learns how often that happened and how such data was written.
void reportTrailingEscapes() {
    if (SG_NumEscErrColumns == 0) return;
    static const char kAttr[] = "EscapeTextDelimiter";
    trace(1, kFn, kWarning, "%d occurances of %s encountered as the last character of column data.",
          SG_NumEscErrColumns, kAttr);
    char count[16];
    std::snprintf(count, sizeof count, "%d", SG_NumEscErrColumns);
    logShortMessage(Public_loghandle, 19158, 3, 3, kText, count, kText, kAttr);
    logShortMessage(Public_loghandle, 19159, 3, 3, kText, kAttr, kText, EscapeTextCharacter.Bytes,
                    kText, "DELIMITED");
}

void shutDownAccessLayer() {
    if (!pmInitialised) return;
    pmInitialised = 0;
    uint32_t rc = pmShutDown(2);
    if (rc != pmrcOK) warnAccessFailure("pmShutDown", rc, 19311, false);
}

void closeLog(LogHandle*& log) {
    if (hasKind(log, PX_KIND_LOG) && log->services != nullptr &&
        log->services->PX_LogClose != nullptr) {
        dcLastLogStatus = log->services->PX_LogClose(log);
    }
    log = nullptr;
}

void releaseMemoryAndLogs() {
    if (ThisInstance == 1) mergeErrorFiles();
    detachErrorFiles();
    reportTrailingEscapes();
    shutDownAccessLayer();
    freeSchema();
    dcfini();
    releaseCheckpointRecord();
    std::free(dcPrivateLogName);
    dcPrivateLogName = nullptr;
    trace(1, kFn, kInfo, "Exit code is %d", int{CurrentExitCode});
    trace(1, kFn, kInfo, "Closing logs");
    // Nothing may be traced after this; the access layer's trace lets go of
    // the private log first.
    trceSetFp(nullptr);
    closeLog(Public_loghandle);
    closeLog(Private_loghandle);
}

}  // namespace

namespace bu::dc {

// A failed close, detach or shutdown is a warning (class 2, severity 4):
// 19400 plus the status with the call and the status, then the call's own
// message. Those of a close carry the operator's name alone where others
// have their leader. Termination goes on.
void warnAccessFailure(const char* call, uint32_t rc, int32_t callMessage, bool nameOnly) noexcept {
    if (rc == PM_ALREADY_REPORTED) return;  // the Access Module said it itself
    const int32_t code = static_cast<int32_t>(rc);
    const int32_t failure = 19400 + code;
    dcLastLogStatus = logWriteRaw(Public_loghandle, failure, 2, 4, kText,
                                  nameOnly ? JobOpName : formatLeader(failure), kText, call, kInt,
                                  code, int32_t{PX_TAG_END});
    dcLastLogStatus =
        logWriteRaw(Public_loghandle, callMessage, 2, 4, kText,
                    nameOnly ? JobOpName : formatLeader(callMessage), int32_t{PX_TAG_END});
}

void Close_pmFile(pmFp file, const char* label) noexcept {
    if (file == 0) {
        LastStatus = 0;
        return;
    }
    if (pm::traceAbove(1)) {
        char line[96];
        std::snprintf(line, sizeof line, "Closing file: '%s'", label);
        trceprnt(kFn, line, "");
    }
    LastStatus = static_cast<int32_t>(pmClose(file));
    if (LastStatus == 0) return;
    // The line carries its own mark.
    trace(1, kFn, kInfo, "!WARNING! close of '%s' file failed - rc %d (%s)", label, LastStatus,
          accessErrorText(static_cast<uint32_t>(LastStatus)));
    warnAccessFailure("pmClose", static_cast<uint32_t>(LastStatus), 19309, true);
}

}  // namespace bu::dc

extern "C" void DC_Terminate(int32_t phase) noexcept {
    trace(1, kFn, kInfo, "Enter DC_UTIL_Term Phase %d", phase);
    if (phase == 1) {
        closeDataFile();
        finishErrorFile();
        return;
    }
    if (phase == 2) {
        releaseMemoryAndLogs();
        return;
    }
    trace(1, kFn, kWarning, "Invalid Phase (%d) received", phase);
    char text[16];
    std::snprintf(text, sizeof text, "%d", phase);
    logShortMessage(Public_loghandle, 19148, 3, 3, kText, text);
}
