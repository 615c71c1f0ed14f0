// The exit code: mapped from a status, and raised only, never lowered. The
// host learns each new value at once through "PX_ExitCode".
#include "dc_messages.h"

namespace bu::dc {

namespace {

// The host is told of every raise; the value crosses as 16 bits.
void tellHost() {
    if (hasKind(SG_opHandle, PX_KIND_OPERATOR) && SG_opHandle->PX_SetAttribute != nullptr) {
        SG_opHandle->PX_SetAttribute(SG_opHandle, "PX_ExitCode", &CurrentExitCode,
                                     sizeof CurrentExitCode);
    }
}

}  // namespace

int16_t exitCodeForStatus(int32_t status) noexcept {
    switch (status) {
        case 19:
        case 48:
            return 12;
        case 45:
        case 16:
        case 5:
            return 8;
        case 4:
            return 4;
        default:
            return 0;
    }
}

void raiseExitCode() noexcept {
    if (CurrentExitCode >= NewExitCode) return;
    CurrentExitCode = NewExitCode;
    tellHost();
    trace(1, "dcSetExitCode", kInfo, "QLN Exit code set to %d.", int{CurrentExitCode});
    if (Public_loghandle != nullptr) {
        publicMessage(19015, 3, 3, kInt, int32_t{CurrentExitCode});
    }
}

}  // namespace bu::dc

using namespace bu::dc;

// The function form for other modules. It maps 19 and 48 to 24 and 45 and
// 16 to 16, and says so in its own lines, without message 19015.
extern "C" int32_t dcSetExitCode(int32_t status) noexcept {
    NewExitCode = exitCodeForStatus(status);
    if (status == 19 || status == 48) NewExitCode += 12;
    if (status == 45 || status == 16) NewExitCode += 8;
    if (CurrentExitCode >= NewExitCode) return 0;
    CurrentExitCode = NewExitCode;
    trace(1, "dcSetExitCode", kInfo, "setting exit code to %d", int{CurrentExitCode});
    int32_t rc = PXSTC_BadHandle;
    if (hasKind(SG_opHandle, PX_KIND_OPERATOR) && SG_opHandle->PX_SetAttribute != nullptr) {
        rc = SG_opHandle->PX_SetAttribute(SG_opHandle, "PX_ExitCode", &CurrentExitCode,
                                          sizeof CurrentExitCode);
    }
    trace(1, "dcSetExitCode", kInfo, "PX_rc %d from setting PX_ExitCode", rc);
    return rc;
}
