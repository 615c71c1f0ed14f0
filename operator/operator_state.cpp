// State shared by the methods, and the two refusals they share.
#include "operator_state.h"

#include "dc_messages.h"
#include "outmod_protocol.h"
#include "termination.h"

using namespace bu::dc;

extern "C" {
int32_t bOperatorInitialized = 0;
int32_t bWriteToFile = 0;
int32_t bFirstExecute = 1;
const char* pCurrentFileName = nullptr;
}

namespace bu::op {

int32_t fatal() noexcept {
    raiseExitCodeTo(12);
    return PXSTC_FatalError;
}

int32_t refuseUninitialised(const char* method) noexcept {
    traceError(method, "Operator not initialized");
    dcLastLogStatus =
        logWriteRaw(Public_loghandle, 19115, 3, 6, kText, method, int32_t{PX_TAG_END});
    return fatal();
}

void resetOperatorState() noexcept {
    bOperatorInitialized = 0;
    bWriteToFile = 0;
    bFirstExecute = 1;
    pCurrentFileName = nullptr;
    ExecuteSuccessFlag = 0;
    resetOutmodState();
}

}  // namespace bu::op
