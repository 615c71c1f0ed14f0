// The host's shared variables, each call guarded by the handle's kind.
#include "shared_variables.h"

#include <cstring>

#include "dc_messages.h"

namespace bu::dc {
namespace {

bool usable() {
    return hasKind(SG_opHandle, PX_KIND_OPERATOR);
}

}  // namespace

int32_t createSharedVariable(const char* name, int32_t elementSize, int32_t elements) noexcept {
    if (!usable() || SG_opHandle->PX_CreateGlobalVar == nullptr) return PXSTC_BadHandle;
    return SG_opHandle->PX_CreateGlobalVar(SG_opHandle, name, elementSize, elements);
}

int32_t readSharedVariable(const char* name, int32_t index, void* value, int32_t size) noexcept {
    if (!usable() || SG_opHandle->PX_ReadGlobalVar == nullptr) return PXSTC_BadHandle;
    void* held = nullptr;
    int32_t length = 0;
    int32_t status = SG_opHandle->PX_ReadGlobalVar(SG_opHandle, name, index, &held, &length);
    if (status != 0) return status;
    if (held == nullptr || length < 0) return PXSTC_NullPointer;
    std::memcpy(value, held, static_cast<size_t>(length < size ? length : size));
    return 0;
}

int32_t writeSharedVariable(const char* name, int32_t index, const void* value,
                            int32_t size) noexcept {
    if (!usable() || SG_opHandle->PX_WriteGlobalVar == nullptr) return PXSTC_BadHandle;
    return SG_opHandle->PX_WriteGlobalVar(SG_opHandle, name, value, size, index);
}

int32_t deleteSharedVariable(const char* name) noexcept {
    if (!usable() || SG_opHandle->PX_DeleteGlobalVar == nullptr) return PXSTC_BadHandle;
    return SG_opHandle->PX_DeleteGlobalVar(SG_opHandle, name);
}

}  // namespace bu::dc
