// PX_Initiate: the data connector layer, the schema and the OUTMOD, in that
// order. A second start while in use is refused.
#include "attributes.h"
#include "dc_messages.h"
#include "initiation.h"
#include "operator_state.h"
#include "outmod_protocol.h"
#include "row_intake.h"
#include "schema.h"

using namespace bu::dc;

namespace {

constexpr const char* kFn = "PX_Initiate";

// A job that names a "FileName" would open it here. This build has no
// output file, so records can only be consumed by the OUTMOD; one that
// leaves a record to be written fails the job with 19506.
void noteFileName() {
    // Only whether the host has the attribute matters here.
    if (askForAttribute(SG_opHandle, "FileName", -1, 0).status == 0) {
        trace(1, kFn, kWarning, "No output file in this build: 'FileName' is not used");
    }
}

}  // namespace

extern "C" int32_t PX_Initiate(OperatorHandle* handle) noexcept {
    SG_opHandle = handle;
    BulkUnloadOutMod = 1;
    if (bOperatorInitialized) {
        traceError(kFn, "Operator already in use");
        traceError(kFn, "operator ID: '%s'", OpNameStr);
        publicMessage(19116, 3, 6);
        return bu::op::fatal();
    }
    int32_t rc = DC_Initiate(handle);
    if (rc != 0) {
        reportAndMap(rc);
        return rc;
    }
    trace(1, kFn, kInfo, "Operator module name:'%s', source version:'%s'", OpModuleName,
          bu::op::kSourceVersion);
    if (OperatorType != PX_OPERATOR_TYPE_CONSUMER) {
        traceError(kFn, "Must be a CONSUMER operator");
        publicMessage(19504, 3, 6);
        return bu::op::fatal();
    }
    bOperatorInitialized = 1;
    bWriteToFile = 0;
    noteFileName();
    rc = DC_EstablishSchema(handle);
    if (rc != 0) {
        reportAndMap(rc);
        return rc;
    }
    return bu::op::loadOutmod();
}
