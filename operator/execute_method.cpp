// PX_Execute: one row per call, from the data connector layer to the OUTMOD.
#include <cstring>

#include "attributes.h"
#include "dc_messages.h"
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
    const AttributeAnswer answer =
        askForAttribute(SG_opHandle, "SYSTEM_JobMaxRowSize_Allow", sizeof maxRowSize, 0);
    if (answer.fits) {
        std::memcpy(&maxRowSize, answer.value, static_cast<size_t>(answer.length));
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
    bu::dc::RowView row;
    int32_t rc = bu::dc::readRow(row);
    if (rc != 0) {
        reportAndMap(rc);
        return rc;
    }
    return bu::op::passRowToOutmod(row.bytes);
}
