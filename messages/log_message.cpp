// Numbered messages: the leader that stands first in every argument list,
// and the call of the log service with a platform va_list.
#include <cstdarg>
#include <cstring>

#include "dc_messages.h"

namespace bu::dc {

namespace {

constexpr size_t kLeaderSize = 256;
char leaderBuffer[kLeaderSize];

// Status of a write through a handle that isn't there.
constexpr int32_t kNoLog = PXSTC_Loghandle;

}  // namespace

const char* formatLeader(int32_t number) noexcept {
    std::snprintf(leaderBuffer, kLeaderSize, "%s[%d]: QLN%05d", JobOpName, ThisInstance, number);
    return leaderBuffer;
}

const char* formatShortLeader() noexcept {
    std::snprintf(leaderBuffer, kLeaderSize, "%s[%d]:", JobOpName, ThisInstance);
    return leaderBuffer;
}

int32_t logWriteRaw(LogHandle* log, int32_t number, int32_t msgClass, int32_t severity,
                    ...) noexcept {
    // Layers that may run before the public log is open write through a null
    // handle; that must not crash.
    if (log == nullptr || log->services == nullptr || log->services->PX_LogWrite == nullptr) {
        return kNoLog;
    }
    va_list args;
    va_start(args, severity);
    int32_t status = log->services->PX_LogWrite(log, number, msgClass, severity, args);
    va_end(args);
    return status;
}

int32_t consoleWrite(const char* text) noexcept {
    if (!hasKind(SG_opHandle, PX_KIND_OPERATOR) || SG_opHandle->PX_ConsoleWrite == nullptr) {
        dcLastLogStatus = PXSTC_BadHandle;
    } else {
        dcLastLogStatus =
            SG_opHandle->PX_ConsoleWrite(SG_opHandle, text, static_cast<int64_t>(strlen(text)));
    }
    return dcLastLogStatus;
}

int32_t reportServiceFailure(const char* functionName, const char* service,
                             int32_t status) noexcept {
    traceError(functionName, "%s returned code %d ('%s')", service, status, statusName(status));
    traceError(functionName, "returning %d (PXSTC_FatalError)", int{PXSTC_FatalError});
    raiseExitCodeTo(12);
    return PXSTC_FatalError;
}

}  // namespace bu::dc
