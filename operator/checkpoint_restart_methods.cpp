// PX_Checkpoint and PX_Restart: twins that differ in the OUTMOD's code.
// Positions of an output file are taken and restored here once the job can
// have one; without a file only the OUTMOD is told.
#include "dc_messages.h"
#include "operator_state.h"
#include "outmod_protocol.h"

using namespace bu::dc;

namespace {

int32_t tellOutmod(const char* method, OperatorHandle* handle, int32_t request) {
    SG_opHandle = handle;
    trace(4, method, kInfo, "entry");
    if (!bOperatorInitialized) return bu::op::refuseUninitialised(method);
    int32_t rc = bu::op::callOutmod(request);
    if (rc != 0) return bu::op::reportOutmodFailure(method, rc);
    return PXSTC_EndMethod;
}

}  // namespace

extern "C" int32_t PX_Checkpoint(OperatorHandle* handle) noexcept {
    return tellOutmod("PX_Checkpoint", handle, OUTMOD_REQ_CHECKPOINT);
}

extern "C" int32_t PX_Restart(OperatorHandle* handle) noexcept {
    return tellOutmod("PX_Restart", handle, OUTMOD_REQ_RESTART);
}
