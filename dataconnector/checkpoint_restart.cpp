// DC_Checkpoint and DC_Restart. The positions are opaque here: they come
// out of pmGetPos and go back into pmRepos. A restart restores the counters
// before it touches a file, and reads nothing of a record that the record
// itself says is shorter.
#include "checkpoint_restart.h"

#include <cstdlib>
#include <cstring>

#include "dc_messages.h"
#include "dc_records.h"
#include "file_access.h"
#include "file_path_globals.h"
#include "initiation.h"
#include "record_error_file.h"

using namespace bu::dc;

extern "C" {
void* PosSummary = nullptr;
int32_t RecordInstanceTarget = 0;
}

namespace {

constexpr const char* kGetPosFn = "DC_GetPos";
constexpr const char* kCheckpointFn = "DC_Checkpoint";
constexpr const char* kRestartFn = "DC_Restart";
constexpr const char* kReposFn = "DC_Repos";
constexpr uint32_t kRecordDumpLimit = 4096;

void dumpAbove(int32_t level, const char* fn, const char* title, const void* bytes, uint32_t length,
               uint32_t limit) {
    if (DC_TraceLvl <= level) return;
    trace(level, fn, kInfo, "%s", title);
    pmHexDmp(19005, limit, bytes, length, title, 1);
}

void traceSummary(const char* fn, const dcPosSummary_t& head, uint32_t length, const void* record) {
    trace(1, fn, kInfo, "dcPosSummary_t struct: %s=%d\n%s=%d, %s=%d, %s=%d, %s=%d", "Length",
          static_cast<int32_t>(length), "ErrRowCount", static_cast<int32_t>(head.ErrRowCount),
          "FileRecCount", static_cast<int32_t>(head.FileRecCount), "DatPosLen",
          static_cast<int32_t>(head.DatPosLen), "ErrPosLen", static_cast<int32_t>(head.ErrPosLen));
    trace(1, fn, kInfo, "RecordInstanceTarget = %d", head.RecordInstanceTarget);
    dumpAbove(2, fn, "Aggregate position data:", record, length,
              static_cast<uint32_t>(MaxBytesToDump));
}

// A copy of the bytes pmGetPos handed out, which the next call may replace.
void* copyOf(const pmData& position) {
    void* copy = std::malloc(position.Length > 0 ? position.Length : 1);
    if (copy != nullptr && position.Length > 0) std::memcpy(copy, position.Data, position.Length);
    return copy;
}

int32_t refuseStorage(const char* fn, uint64_t bytes) {
    char count[24];
    std::snprintf(count, sizeof count, "%llu", static_cast<unsigned long long>(bytes));
    traceError(fn, "Unable to allocate %s bytes for the checkpoint record", count);
    publicMessage(19140, 3, 6, kText, count);
    raiseExitCodeTo(12);
    return PXSTC_FatalError;
}

// The error file's position, when the instance has one.
int32_t errorFilePosition(pmData* position) {
    *position = {0, nullptr};
    if (ErrorsPmHandle == 0) {
        trace(2, kGetPosFn, kInfo, "No error row position data from DTACON");
        return 0;
    }
    uint32_t rc = pmGetPos(SG_pmFpErrors, 0, position);
    if (rc != pmrcOK) return reportAccessFailure(kGetPosFn, "pmGetPos-Errors", rc, 19307);
    dumpAbove(2, kGetPosFn, "Error row position data from DTACON:", position->Data,
              position->Length, static_cast<uint32_t>(MaxBytesToDump));
    return 0;
}

// A record whose head claims more position bytes than it holds, or that has
// no whole head, is not one this operator wrote.
bool holdsItsPositions(const pmData& record, dcPosSummary_t* head) {
    if (record.Data == nullptr || record.Length < DC_POS_SUMMARY_HEAD) return false;
    std::memcpy(head, record.Data, sizeof *head);
    return uint64_t{DC_POS_SUMMARY_HEAD} + head->DatPosLen + head->ErrPosLen <= record.Length;
}

int32_t refuseRecord(const pmData& record) {
    traceError(kReposFn,
               "Checkpoint record of %u bytes does not hold the positions its head describes",
               record.Length);
    return reportAccessFailure(kReposFn, "pmRepos", pmrcBadPosLength, 19308);
}

// An instance above 1 starts a new temporary error file on every run; the
// interrupted run's file keeps what it held, so there is nothing to go back
// to in the new one.
int32_t repositionErrorFile(const dcPosSummary_t& head, uint8_t* bytes) {
    if (head.ErrPosLen == 0) {
        trace(2, kReposFn, kInfo, "No error row position data present");
        return 0;
    }
    pmData position{head.ErrPosLen, bytes + DC_POS_SUMMARY_HEAD + head.DatPosLen};
    dumpAbove(2, kReposFn, "Error row position to DTACON:", position.Data, position.Length,
              static_cast<uint32_t>(MaxBytesToDump));
    if (SG_pmFpErrors != 0 && RowErrOpenMode != pmOpenUpdate) {
        trace(1, kReposFn, kInfo, "Temporary record error file started afresh: '%s'",
              TempRowErrFileName != nullptr ? TempRowErrFileName : "");
        return 0;
    }
    uint32_t rc = pmRepos(SG_pmFpErrors, &position);
    return rc == pmrcOK ? 0 : reportAccessFailure(kReposFn, "pmRepos-Errors", rc, 19308);
}

}  // namespace

namespace bu::dc {

void releaseCheckpointRecord() noexcept {
    std::free(PosSummary);
    PosSummary = nullptr;
}

}  // namespace bu::dc

extern "C" int32_t DC_GetPos(pmData* Out) noexcept {
    pmData data{0, nullptr};
    if (!bParallelReadSlave) {
        uint32_t rc = pmGetPos(pmfp, 0, &data);
        if (rc != pmrcOK) return reportAccessFailure(kGetPosFn, "pmGetPos", rc, 19307);
    }
    dumpAbove(2, kGetPosFn, "Position data from DTACON:", data.Data, data.Length,
              static_cast<uint32_t>(MaxBytesToDump));
    void* dataCopy = copyOf(data);
    if (dataCopy == nullptr) return refuseStorage(kGetPosFn, data.Length);
    pmData error{0, nullptr};
    int32_t rc = errorFilePosition(&error);
    if (rc != 0) {
        std::free(dataCopy);
        return rc;
    }
    const uint64_t length = uint64_t{data.Length} + error.Length + DC_POS_SUMMARY_OVERHEAD;
    auto* record = static_cast<uint8_t*>(std::malloc(length));
    if (record == nullptr) {
        std::free(dataCopy);
        return refuseStorage(kGetPosFn, length);
    }
    // The slack behind the positions goes out with the record; zero it
    // rather than hand out what the allocation held.
    std::memset(record + length - (DC_POS_SUMMARY_OVERHEAD - DC_POS_SUMMARY_HEAD), 0,
                DC_POS_SUMMARY_OVERHEAD - DC_POS_SUMMARY_HEAD);
    const dcPosSummary_t head{SG_ErrorRowCount, FileRecordCount, data.Length, error.Length,
                              RecordInstanceTarget};
    std::memcpy(record, &head, sizeof head);
    if (data.Length > 0) std::memcpy(record + DC_POS_SUMMARY_HEAD, dataCopy, data.Length);
    std::free(dataCopy);
    if (error.Length > 0) {
        std::memcpy(record + DC_POS_SUMMARY_HEAD + data.Length, error.Data, error.Length);
    }
    releaseCheckpointRecord();
    PosSummary = record;
    if (Out != nullptr) *Out = {static_cast<uint32_t>(length), record};
    traceSummary(kGetPosFn, head, static_cast<uint32_t>(length), record);
    return 0;
}

extern "C" int32_t DC_Checkpoint(OperatorHandle* handle) noexcept {
    pmData record{0, nullptr};
    int32_t rc = DC_GetPos(&record);
    if (rc != 0) return rc;
    dumpAbove(2, kCheckpointFn, "Position data to QLN:", record.Data, record.Length,
              kRecordDumpLimit);
    int32_t status = PXSTC_BadHandle;
    if (hasKind(handle, PX_KIND_OPERATOR) && handle->PX_WriteCheckpointRecord != nullptr) {
        status = handle->PX_WriteCheckpointRecord(handle, record.Data,
                                                  static_cast<int32_t>(record.Length));
    }
    return status == 0 ? 0
                       : reportServiceFailure(kCheckpointFn, "PX_WriteCheckpointRecord", status);
}

extern "C" int32_t DC_Restart(OperatorHandle* handle) noexcept {
    void* record = nullptr;
    int32_t length = 0;
    int32_t status = PXSTC_BadHandle;
    if (hasKind(handle, PX_KIND_OPERATOR) && handle->PX_ReadCheckpointRecord != nullptr) {
        status = handle->PX_ReadCheckpointRecord(handle, &record, &length);
    }
    if (status == PXSTC_NullPointer) {
        trace(2, kRestartFn, kInfo, "No checkpoint data available");
        return PXSTC_NullPointer;
    }
    if (status != 0) return reportServiceFailure(kRestartFn, "PX_ReadCheckpointRecord", status);
    // What is shown is where the record's address is held, not the record.
    dumpAbove(2, kRestartFn, "Position data from QLN:", &record, sizeof record, kRecordDumpLimit);
    return DC_Repos(pmData{length > 0 ? static_cast<uint32_t>(length) : 0, record});
}

extern "C" int32_t DC_Repos(pmData Position) noexcept {
    trace(1, kReposFn, kInfo, "Entry %s", kReposFn);
    dcPosSummary_t head{};
    if (!holdsItsPositions(Position, &head)) return refuseRecord(Position);
    auto* bytes = static_cast<uint8_t*>(Position.Data);
    if (DC_TraceLvl > 2) traceSummary(kReposFn, head, Position.Length, bytes);
    // The counters come back even if a file can't.
    SG_ErrorRowCount = head.ErrRowCount;
    FileRecordCount = head.FileRecCount;
    RecordInstanceTarget = head.RecordInstanceTarget;
    int32_t rc = repositionErrorFile(head, bytes);
    if (rc != 0) return rc;
    pmData data{head.DatPosLen, bytes + DC_POS_SUMMARY_HEAD};
    dumpAbove(2, kReposFn, "Position data to DTACON:", data.Data, data.Length,
              static_cast<uint32_t>(MaxBytesToDump));
    if (bParallelReadSlave) {
        trace(2, kReposFn, kInfo, "Parallel read slave instance: no data file positioning.");
        return 0;
    }
    uint32_t status = pmRepos(pmfp, &data);
    return status == pmrcOK ? 0 : reportAccessFailure(kReposFn, "pmRepos", status, 19308);
}
