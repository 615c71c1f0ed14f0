// State shared by the methods, its table of globals, and the two refusals
// the methods share.
#include "operator_state.h"

#include "dc_messages.h"
#include "layer_globals.h"
#include "outmod_protocol.h"

using namespace bu::dc;

extern "C" {
int32_t bOperatorInitialized = 0;
int32_t bWriteToFile = 0;
int32_t bFirstExecute = 1;
}

namespace {

// The operator's globals that a job changes; those of the layers below are
// in their own table (layer_globals.cpp). The OUTMOD's buffers are left as
// they are: their bytes matter within one call only.
constexpr bu::LayerGlobal kOperatorGlobals[] = {
    BU_GLOBAL(bOperatorInitialized), BU_GLOBAL(bWriteToFile),       BU_GLOBAL(bFirstExecute),
    BU_GLOBAL(OutmodRequestCell),    BU_GLOBAL(OutmodReservedCell), BU_GLOBAL(OutmodInLen),
    BU_GLOBAL(OutmodOutLen),         BU_GLOBAL(OutmodReq),          BU_GLOBAL(OutmodEntryPoint)};

const bu::ValuesAtLoad<kOperatorGlobals> valuesAtLoad;

}  // namespace

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

std::span<const LayerGlobal> operatorGlobals() noexcept {
    return kOperatorGlobals;
}

void resetOperatorState() noexcept {
    bu::dc::resetLayers();
    valuesAtLoad.restore();
}

}  // namespace bu::op
