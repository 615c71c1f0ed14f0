// How the data connector reports what the access layer refused, and how it
// hands attributes to an Access Module.
#include <cstring>

#include "dc_messages.h"
#include "file_access.h"

using namespace bu::dc;

namespace bu::dc {

const char* accessErrorText(uint32_t rc) noexcept {
    pmData text{0, nullptr};
    pmGetErrText(rc, &text);
    return text.Data != nullptr ? static_cast<const char*>(text.Data) : "";
}

int32_t reportAccessFailure(const char* caller, const char* call, uint32_t rc, int32_t callMessage,
                            int32_t traceLevel) noexcept {
    if (rc == PM_ALREADY_REPORTED) return PXSTC_FatalError;
    const char* shown = accessErrorText(rc);
    const int32_t code = static_cast<int32_t>(rc);
    trace(1, caller, traceLevel, "%s rc=%d", call, code);
    trace(1, caller, traceLevel, "'%s'", shown);
    publicMessage(19400 + code, 3, 6, kText, call, kInt, code, kText, shown);
    publicMessage(callMessage, 3, 6);
    raiseExitCodeTo(12);
    return PXSTC_FatalError;
}

int32_t putModuleAttribute(const char* caller, const char* name, const void* value, uint32_t length,
                           bool unknownPasses) noexcept {
    pmData attrName{static_cast<uint32_t>(std::strlen(name)), const_cast<char*>(name)};
    pmData attrValue{length, const_cast<void*>(value)};
    uint32_t rc = pmAPutAttr(DC_pmHandle, attrName, attrValue);
    if (rc == pmrcOK) return 0;
    if (rc == pmrcUnsupported || (rc == pmrcUnknownAttr && unknownPasses)) {
        trace(1, caller, kWarning, "pmAPutAttr returned '%s' (%d)", accessErrorText(rc),
              static_cast<int32_t>(rc));
        return 0;
    }
    return reportAccessFailure(caller, "pmAPutAttr", rc, 19303);
}

}  // namespace bu::dc
