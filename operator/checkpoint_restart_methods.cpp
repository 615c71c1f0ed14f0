// PX_Checkpoint and PX_Restart: twins that differ in the data connector's
// call and the OUTMOD's code. A job with an output file takes its position
// (or goes back to it) first; the OUTMOD is told only when that succeeded.
#include "checkpoint_restart.h"
#include "dc_messages.h"
#include "operator_state.h"
#include "outmod_protocol.h"

using namespace bu::dc;

namespace {

using DataConnectorStep = int32_t (*)(OperatorHandle*) noexcept;

int32_t positionThenTellOutmod(const char* method, OperatorHandle* handle,
                               DataConnectorStep filePosition, int32_t request) {
    SG_opHandle = handle;
    trace(4, method, kInfo, "entry");
    if (!bOperatorInitialized) return bu::op::refuseUninitialised(method);
    if (bWriteToFile) {
        // A restart with no checkpoint to go back to answers 21 and the
        // OUTMOD hears nothing of it.
        int32_t rc = filePosition(handle);
        if (rc != 0) {
            reportAndMap(rc);
            return rc;
        }
    }
    int32_t rc = bu::op::callOutmod(request);
    if (rc != 0) return bu::op::reportOutmodFailure(method, rc);
    return PXSTC_EndMethod;
}

}  // namespace

extern "C" int32_t PX_Checkpoint(OperatorHandle* handle) noexcept {
    return positionThenTellOutmod("PX_Checkpoint", handle, DC_Checkpoint, OUTMOD_REQ_CHECKPOINT);
}

extern "C" int32_t PX_Restart(OperatorHandle* handle) noexcept {
    return positionThenTellOutmod("PX_Restart", handle, DC_Restart, OUTMOD_REQ_RESTART);
}
