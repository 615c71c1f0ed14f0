// Phase 2 in instance 1: every other instance's temporary error file is
// appended to the named one, in the order of the instances, and the job's
// record errors are summed up. A failure never stops the loop over the
// instances, and a temporary file that may hold rows the named file lacks
// is kept.
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <initializer_list>

#include "dc_messages.h"
#include "file_access.h"
#include "file_path_globals.h"
#include "initiation.h"
#include "record_error_file.h"
#include "record_error_settings.h"
#include "shared_variables.h"
#include "termination.h"

using namespace bu::dc;

namespace {

constexpr const char* kFn = "AppendRowErrorFile";
constexpr int32_t kMergeDoubtful = 8;

struct Totals {
    uint32_t rows = 0;
    uint32_t errors = 0;
    int32_t worstExitCode = 0;
};

// Copies the records of `temp` behind those of the named file. Returns 0,
// or 48 when a read or write failed (reported).
int32_t copyRecords(pmFp temp, uint32_t* copied) {
    for (;;) {
        pmRecord record{};
        uint32_t rc = pmRead(temp, &record);
        if (rc == pmrcEOF) return 0;
        if (rc != pmrcOK) return reportAccessFailure(kFn, "pmRead", rc, 19305);
        rc = pmWrite(SG_pmFpErrors, &record);
        if (rc != pmrcOK) return reportAccessFailure(kFn, "pmWrite", rc, 19306);
        ++*copied;
    }
}

void removeTempFile(int32_t instance, const char* name) {
    if (::unlink(name) == 0) {
        trace(1, kFn, kInfo, "Temporary file '%s' deleted", name);
        return;
    }
    const char* reason = std::strerror(errno);
    traceStats(kFn, "'rm \"%s\"' command failed!", name);
    traceStats(kFn, "Reason: %s", reason);
    traceStats(kFn, "Unable to remove %s", "temporary record error file.");
    publicMessage(19131, 2, 3, kInt, instance, kText, name);
}

// One instance's file. Returns false when its records may be missing.
bool appendInstance(int32_t instance, uint32_t* total) {
    pmFp temp = 0;
    if (OpenRowErrorFile(instance, pmOpenRead, &temp) != 0) {
        trace(1, kFn, kWarning, "%s %d %s %s ('%s') %s.", "Error records from instance", instance,
              "will be missing.", "The temporary file", TempRowErrFileName, "was not deleted");
        publicMessage(19129, 2, 3, kInt, instance, kText, TempRowErrFileName);
        return false;
    }
    // The name is kept: closing or the next open may build another.
    char name[PM_MAX_FILE_NAME + 96];
    std::snprintf(name, sizeof name, "%s", TempRowErrFileName);
    trace(1, kFn, kInfo, "Copying temporary record error file from instance %d...", instance);
    uint32_t copied = 0;
    const int32_t rc = copyRecords(temp, &copied);
    trace(1, kFn, kInfo, "%d error records copied.", static_cast<int32_t>(copied));
    *total += copied;
    char label[64];
    std::snprintf(label, sizeof label, "Term Phase 2:Record error fileInstance: (%d)", instance);
    Close_pmFile(temp, label);
    if (rc == 0) {
        removeTempFile(instance, name);
        return true;
    }
    trace(1, kFn, kWarning, "%s %d %s %s ('%s') %s.", "Some or all record errors from instance",
          instance, "may be missing.", "The temporary file", name, "was not be deleted");
    publicMessage(19130, 2, 3, kInt, instance, kText, name);
    return false;
}

Totals countsOfAllInstances() {
    Totals totals;
    for (int32_t instance = 1; instance <= TotalInstances; ++instance) {
        uint32_t counts[3] = {0, 0, 0};
        if (readSharedVariable(kErrorCountsVar, instance, counts, sizeof counts) != 0) continue;
        totals.rows += counts[0];
        totals.errors += counts[1];
        const auto exitCode = static_cast<int32_t>(counts[2]);
        if (exitCode > totals.worstExitCode) totals.worstExitCode = exitCode;
    }
    return totals;
}

void reportJobErrors() {
    const Totals totals = countsOfAllInstances();
    if (SG_ErrorRowLimit > 0 && totals.worstExitCode == 12 &&
        static_cast<uint32_t>(SG_ErrorRowLimit) <= totals.errors) {
        publicMessage(19138, 3, 3, kInt, static_cast<int32_t>(totals.rows), kInt,
                      static_cast<int32_t>(totals.errors));
    }
    // The sum of the instances' counts, not the lines copied.
    publicMessage(19229, 3, 3, kInt, static_cast<int32_t>(totals.errors), kText, SG_RowErrFileName);
}

}  // namespace

namespace bu::dc {

void mergeErrorFiles() noexcept {
    if (SG_pmFpErrors == 0) return;
    uint32_t total = SG_ErrorRowCount;
    bool complete = true;
    for (int32_t instance = 2; instance <= TotalInstances; ++instance) {
        complete = appendInstance(instance, &total) && complete;
    }
    Close_pmFile(SG_pmFpErrors, "Term Phase 2:Record error file Instance (1)");
    SG_pmFpErrors = 0;
    traceStats(kFn, "%d Total lines written to '%s'", static_cast<int32_t>(total),
               SG_RowErrFileName);
    if (!complete) {
        trace(1, kFn, kWarning, "Errors were encountered during multi-instance %s",
              "error record copy operation.");
        publicMessage(19132, 2, 3, kText, SG_RowErrFileName);
        // Only this once is the exit code raised without telling the host.
        if (CurrentExitCode < kMergeDoubtful) CurrentExitCode = kMergeDoubtful;
    }
    reportJobErrors();
    for (const char* name : {kErrorCountsVar, kSharedErrorCountVar, kTempFilePidVar}) {
        (void)deleteSharedVariable(name);
    }
}

}  // namespace bu::dc
