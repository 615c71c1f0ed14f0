// DC_Terminate. The order keeps every log open until the last line: files
// go in phase 1, memory and then the logs in phase 2.
#include "termination.h"

#include <cstdlib>

#include "dc_messages.h"
#include "delimited_export.h"
#include "initiation.h"
#include "pmdcomt.h"
#include "schema.h"

using namespace bu::dc;

namespace {

constexpr const char* kFn = "DC_Terminate";

void closeLog(LogHandle*& log) {
    if (hasKind(log, PX_KIND_LOG) && log->services != nullptr &&
        log->services->PX_LogClose != nullptr) {
        dcLastLogStatus = log->services->PX_LogClose(log);
    }
    log = nullptr;
}

void releaseMemoryAndLogs() {
    freeSchema();
    dcfini();
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

extern "C" void DC_Terminate(int32_t phase) noexcept {
    trace(1, kFn, kInfo, "Enter DC_UTIL_Term Phase %d", phase);
    // Phase 1 closes the output file and the record error file; a job that
    // names neither has nothing to close.
    if (phase == 1) return;
    if (phase == 2) {
        releaseMemoryAndLogs();
        return;
    }
    trace(1, kFn, kWarning, "Invalid Phase (%d) received", phase);
    char text[16];
    std::snprintf(text, sizeof text, "%d", phase);
    logShortMessage(Public_loghandle, 19148, 3, 3, kText, text);
}
