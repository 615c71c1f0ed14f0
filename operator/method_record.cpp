// The record through which the host reaches the six methods.
#include "bu_version.h"
#include "operator_state.h"

namespace {

constexpr const char kVersion[] = BU_VERSION;

OperatorMethodRecord methodRecord = {kVersion,      kVersion,   1,
                                     PX_Initiate,   PX_Execute, PX_Terminate,
                                     PX_Checkpoint, PX_Restart, PX_Event};

}  // namespace

extern "C" int32_t PX_GetOperatorMethods(OperatorMethodRecord** record) noexcept {
    if (record == nullptr) return PXSTC_NullPointer;
    *record = &methodRecord;
    return 0;
}
