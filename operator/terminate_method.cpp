// PX_Terminate: phase 1 closes the instance's share; phase 2, once every
// instance has finished phase 1, tells the OUTMOD and takes the layer down.
#include <cctype>
#include <cstring>

#include "attributes.h"
#include "dc_messages.h"
#include "operator_state.h"
#include "outmod_protocol.h"
#include "termination.h"

using namespace bu::dc;

namespace {

constexpr const char* kFn = "PX_Terminate";
constexpr int32_t kFlagSize = 20;

// "SYSTEM_ExecutePassed": whether the job's execution succeeded. A value not
// understood counts as yes.
int32_t readExecutePassed() {
    void* value = nullptr;
    int32_t length = 0;
    int32_t status = 0;
    int32_t rc =
        dcGetAttribute(kFn, "SYSTEM_ExecutePassed", &value, 0, kFlagSize, 0, &length, &status);
    if (rc != 0) return rc;
    char shown[kFlagSize + 1] = {};
    if (status == kAttrAbsent) {
        ExecuteSuccessFlag = 1;
        std::snprintf(shown, sizeof shown, "Yes (defaulted)");
    } else {
        ExecuteSuccessFlag = -1;
        for (int32_t i = 0; i < length && i < kFlagSize; ++i) {
            shown[i] = static_cast<char>(
                std::toupper(static_cast<unsigned char>(static_cast<const char*>(value)[i])));
        }
        // The short forms count by their length; "YES" by the text alone.
        if ((length == 1 && shown[0] == 'Y') || std::strcmp(shown, "YES") == 0) {
            ExecuteSuccessFlag = 1;
        } else if ((length == 1 && shown[0] == 'N') ||
                   (length == 2 && std::strcmp(shown, "NO") == 0)) {
            ExecuteSuccessFlag = 0;
        } else {
            trace(1, kFn, kWarning, "Invalid %s attribute value ('%s') provided",
                  "SYSTEM_ExecutePassed", shown);
            trace(1, kFn, kWarning, "Substituting value 'Y'");
            ExecuteSuccessFlag = 1;
        }
    }
    trace(1, kFn, kInfo, "Attribute '%s' value is '%s'", "SYSTEM_ExecutePassed", shown);
    return 0;
}

int32_t terminatePhaseOne() {
    int32_t rc = readExecutePassed();
    if (rc != 0) return rc;
    DC_Terminate(1);
    return PXSTC_NextPhase;
}

int32_t terminateLastPhase(OperatorHandle* handle, int32_t phase) {
    SG_opHandle = handle;
    trace(4, kFn, kInfo, "entry");
    if (!bOperatorInitialized) return bu::op::refuseUninitialised(kFn);
    // A start that failed before the OUTMOD was resolved has no one to tell.
    if (OutmodEntryPoint != nullptr) {
        int32_t rc = bu::op::callOutmod(OUTMOD_REQ_END);
        if (rc != 0) return bu::op::reportOutmodFailure(kFn, rc);
    }
    DC_Terminate(phase);
    bOperatorInitialized = 0;
    return PXSTC_EndMethod;
}

}  // namespace

extern "C" int32_t PX_Terminate(OperatorHandle* handle, int32_t phase) noexcept {
    // Phase 1 works on the handle stored earlier; its own isn't kept.
    if (phase == 1) return terminatePhaseOne();
    return terminateLastPhase(handle, phase);
}
