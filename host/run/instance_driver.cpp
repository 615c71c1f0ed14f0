#include "run/instance_driver.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <string>

#include "run/operator_module.h"

namespace buhost {
namespace {

// RssAnon of /proc/self/status: what the process itself holds in memory,
// without file pages such as those of a mapped rows file. 0 when unknown.
uint64_t anonymousResidentKB() {
    std::FILE* status = std::fopen("/proc/self/status", "r");
    if (status == nullptr) return 0;
    unsigned long long kb = 0;
    char line[256];
    while (std::fgets(line, sizeof line, status) != nullptr) {
        if (std::sscanf(line, "RssAnon: %llu", &kb) == 1) break;
    }
    std::fclose(status);
    return kb;
}

const char* statusText(int32_t rc) {
#define BU_STATUS_TEXT(code, name, text) \
    case code:                           \
        return text;
    switch (rc) { PX_STATUS_LIST(BU_STATUS_TEXT) }
#undef BU_STATUS_TEXT
    return "unknown status";
}

// Remembers the first method that answered something else than expected,
// with the error the operator wrote while in it, if any.
class MethodCheck {
  public:
    explicit MethodCheck(const HostInstance& inst) : inst_(inst), errorsSeen_(inst.errorsNoted()) {}

    // Called for every row's PX_Execute: the answer that was wanted costs a
    // compare, the rest is out of line.
    bool expect(const char* method, int32_t rc, int32_t wanted) {
        const bool saidWhy = inst_.errorsNoted() != errorsSeen_;
        errorsSeen_ = inst_.errorsNoted();
        if (rc == wanted) [[likely]]
            return true;
        noteFailure(method, rc, saidWhy);
        return false;
    }
    const std::string& failure() const { return failure_; }

  private:
    [[gnu::noinline]] void noteFailure(const char* method, int32_t rc, bool saidWhy) {
        if (!failure_.empty()) return;
        failure_ =
            std::string(method) + " returned " + std::to_string(rc) + " ('" + statusText(rc) + "')";
        if (saidWhy) failure_ += ": " + inst_.lastError();
    }

    const HostInstance& inst_;
    uint64_t errorsSeen_;
    std::string failure_;
};

void setFailure(InstanceSlot& slot, const std::string& text) {
    std::snprintf(slot.failure, sizeof slot.failure, "%s", text.c_str());
}

uint32_t askMaxRowSize(const OperatorMethodRecord& m, HostInstance& inst, MethodCheck& check) {
    int32_t event = PX_EVENT_MAX_ROW_SIZE;
    inst.setAttribute("EventFunction", &event, 4);
    int32_t rc = m.PX_Event(inst.operatorHandle());
    if (rc == PXSTC_NotSupported) return 0;
    if (!check.expect("PX_Event", rc, PXSTC_Success)) return 0;
    const AttributeValue* data = inst.attribute("EventData");
    PX_EventData answer{};
    if (data == nullptr || data->length != sizeof answer) return 0;
    std::memcpy(&answer, data->bytes.data(), sizeof answer);
    return answer.maxRowSizeKB;
}

void executeRows(const JobDefinition& job, const OperatorMethodRecord& m, HostInstance& inst,
                 InstanceSlot& slot, MethodCheck& check) {
    OperatorHandle* oh = inst.operatorHandle();
    uint64_t lastCheckpoint = inst.rowsDelivered();
    for (;;) {
        int32_t rc = m.PX_Execute(oh);
        slot.rows.store(inst.rowsDelivered(), std::memory_order_relaxed);
        if (rc == PXSTC_EndMethod) return;
        if (!check.expect("PX_Execute", rc, PXSTC_SamePhase)) return;
        if (job.checkpointRows > 0 && inst.rowsDelivered() - lastCheckpoint >= job.checkpointRows) {
            lastCheckpoint = inst.rowsDelivered();
            if (!check.expect("PX_Checkpoint", m.PX_Checkpoint(oh), PXSTC_EndMethod)) return;
            if (!inst.commitCheckpoint()) return;
            slot.checkpoints.store(inst.checkpointsStored(), std::memory_order_relaxed);
        }
    }
}

// Fault injection: one call of a method before PX_Initiate, checked against
// what the method answers in a started operator. The job carries on after
// it, so the operator's own state after the refusal is tested too.
void callBeforeInitiate(const std::string& method, const OperatorMethodRecord& m,
                        OperatorHandle* oh, MethodCheck& check) {
    const std::string what = method + " before PX_Initiate";
    if (method == "PX_Execute") {
        check.expect(what.c_str(), m.PX_Execute(oh), PXSTC_SamePhase);
    } else if (method == "PX_Checkpoint") {
        check.expect(what.c_str(), m.PX_Checkpoint(oh), PXSTC_EndMethod);
    } else if (method == "PX_Restart") {
        check.expect(what.c_str(), m.PX_Restart(oh), PXSTC_EndMethod);
    } else if (method == "PX_Event") {
        check.expect(what.c_str(), m.PX_Event(oh), PXSTC_Success);
    } else if (method == "PX_Terminate") {
        check.expect("PX_Terminate phase 2 before PX_Initiate", m.PX_Terminate(oh, 2),
                     PXSTC_EndMethod);
    }
}

// The first PX_Initiate, and the second one a fault may ask for.
bool initiate(const JobDefinition& job, const OperatorMethodRecord& m, OperatorHandle* oh,
              MethodCheck& check) {
    if (!check.expect("PX_Initiate", m.PX_Initiate(oh), PXSTC_EndMethod)) return false;
    if (!job.faults.initiateTwice) return true;
    return check.expect("second PX_Initiate", m.PX_Initiate(oh), PXSTC_EndMethod);
}

}  // namespace

std::string runLifecycle(const JobDefinition& job, const OperatorMethodRecord& m,
                         HostInstance& inst, InstanceSlot& slot,
                         const std::function<void()>& betweenPhases) {
    OperatorHandle* oh = inst.operatorHandle();
    MethodCheck check(inst);
    const uint64_t rowsBefore = inst.rowsDelivered();
    const uint64_t bytesBefore = inst.rowBytesDelivered();
    const auto start = std::chrono::steady_clock::now();
    // A method that fails ends the instance's rows; both terminate phases
    // still run.
    if (!job.faults.methodBeforeInitiate.empty())
        callBeforeInitiate(job.faults.methodBeforeInitiate, m, oh, check);
    const bool started = initiate(job, m, oh, check);
    bool ok = started;
    if (ok) slot.maxRowSizeKB = askMaxRowSize(m, inst, check);
    if (ok && inst.resuming()) {
        // A checkpoint stored without an operator's record leaves it nothing
        // to go back to: it says so with 21 and the rows start from the beginning.
        const int32_t expected = inst.hasCheckpointRecord() ? PXSTC_EndMethod : PXSTC_NullPointer;
        const int32_t rc = m.PX_Restart(oh);
        ok = rc == PXSTC_EndMethod || check.expect("PX_Restart", rc, expected);
    }
    if (ok) executeRows(job, m, inst, slot, check);
    slot.anonKB = anonymousResidentKB();
    // What the operator says to the end of a start that failed reads as a
    // failure of its own; the log says first what the host is doing.
    if (!started) inst.noteInPublicLog("terminating after a failed start");
    check.expect("PX_Terminate phase 1", m.PX_Terminate(oh, 1), PXSTC_NextPhase);
    const auto waitFrom = std::chrono::steady_clock::now();
    betweenPhases();
    const auto waitTo = std::chrono::steady_clock::now();
    check.expect("PX_Terminate phase 2", m.PX_Terminate(oh, 2), PXSTC_EndMethod);
    const auto busy = (waitFrom - start) + (std::chrono::steady_clock::now() - waitTo);
    slot.busyNanos =
        static_cast<uint64_t>(std::chrono::duration_cast<std::chrono::nanoseconds>(busy).count());
    slot.timedRows = inst.rowsDelivered() - rowsBefore;
    slot.timedBytes = inst.rowBytesDelivered() - bytesBefore;
    slot.rows.store(inst.rowsDelivered());
    slot.checkpoints.store(inst.checkpointsStored());
    return check.failure();
}

int driveInstance(const JobDefinition& job, const InstanceOptions& options,
                  GlobalVariables& globals, InstanceSlot& slot,
                  const std::function<void()>& betweenPhases) {
    int exitCode = 0;
    try {
        HostInstance inst(job, options, globals);
        inst.openRows();
        // Each instance runs in a process of its own, which ends when this
        // returns.
        inst.endsWithProcess();
        slot.rows.store(inst.rowsDelivered());
        OperatorModule module(job.operatorModule);
        const std::string failure = runLifecycle(job, module.methods(), inst, slot, betweenPhases);
        exitCode = inst.exitCodeSetByOperator();
        const std::string& why = !inst.hostError().empty() ? inst.hostError() : failure;
        if (!why.empty()) {
            setFailure(slot, why);
            exitCode = std::max(exitCode, 12);
        }
    } catch (const std::exception& e) {
        setFailure(slot, e.what());
        exitCode = 12;
    }
    slot.exitCode.store(exitCode);
    slot.finished.store(1);
    return exitCode;
}

}  // namespace buhost
