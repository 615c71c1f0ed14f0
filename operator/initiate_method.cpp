// PX_Initiate: the data connector layer, the data file when the job names
// one, the schema and the OUTMOD, in that order. A second start while in use
// is refused.
#include "attributes.h"
#include "dc_messages.h"
#include "file_access.h"
#include "file_catalogue.h"
#include "initiation.h"
#include "operator_state.h"
#include "outmod_protocol.h"
#include "row_intake.h"
#include "schema.h"

using namespace bu::dc;

namespace {

constexpr const char* kFn = "PX_Initiate";

// With a "FileName" the access layer comes up and the file opens before the
// schema is built; without one the OUTMOD must consume every record.
int32_t openFileIfNamed(OperatorHandle* handle) {
    // Only whether the host has the attribute matters here.
    if (askForAttribute(SG_opHandle, "FileName", -1, 0).status != 0) return 0;
    int32_t rc = DC_DataConInit(handle);
    if (rc != 0) {
        reportAndMap(rc);
        return rc;
    }
    rc = DC_DataConAttach(handle);
    if (rc == 0) rc = DC_DataConFileInfo(handle);
    if (rc == 0) rc = DC_DataConOpen(handle, DC_FileName);
    if (rc != 0) {
        reportAndMap(rc);
        abandonFilePath();
        return rc;
    }
    bWriteToFile = 1;
    pCurrentFileName = DC_FileName;
    return 0;
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
    if ((rc = openFileIfNamed(handle)) != 0) return rc;
    rc = DC_EstablishSchema(handle);
    if (rc != 0) {
        reportAndMap(rc);
        return rc;
    }
    return bu::op::loadOutmod();
}
