// PX_Execute: one row per call, from the data connector layer to the OUTMOD.
#include <cstring>

#include "messages/dc_messages.h"
#include "operator_state.h"
#include "outmod_protocol.h"
#include "row_intake.h"

using namespace bu::dc;

namespace {

constexpr const char* kFn = "PX_Execute";
constexpr uint32_t kDefaultMaxRowSizeKB = 64;

// The host's limit of a row is read once and only shown.
void noteMaxRowSize() {
    uint32_t maxRowSize = kDefaultMaxRowSizeKB;
    void* value = nullptr;
    int32_t length = 0;
    int32_t status = PXSTC_BadHandle;
    if (hasKind(SG_opHandle, PX_KIND_OPERATOR) && SG_opHandle->PX_GetAttribute != nullptr) {
        status = SG_opHandle->PX_GetAttribute(SG_opHandle, "SYSTEM_JobMaxRowSize_Allow", &value,
                                              &length);
    }
    if (status == 0) {
        // Only as many bytes as the local holds are taken over.
        if (value != nullptr && length > 0) {
            std::memcpy(&maxRowSize, value,
                        static_cast<size_t>(length) < sizeof maxRowSize
                            ? static_cast<size_t>(length)
                            : sizeof maxRowSize);
        }
        trace(1, kFn, kInfo, "Received a max row size of %u", maxRowSize);
    } else {
        trace(1, kFn, kInfo,
              "Could not retreive max row size attribute, \t  defaulting to a max row size of %u",
              maxRowSize);
    }
}

}  // namespace

extern "C" int32_t PX_Execute(OperatorHandle* handle) noexcept {
    trace(4, kFn, kInfo, "entry");
    if (!bOperatorInitialized) return bu::op::refuseUninitialised(kFn);
    SG_opHandle = handle;
    if (bFirstExecute) {
        bFirstExecute = 0;
        noteMaxRowSize();
    }
    int32_t rc = DC_ReadRow(handle);
    if (rc != 0) {
        reportAndMap(rc);
        return rc;
    }
    return bu::op::passRowToOutmod();
}
