// The checked fetch of one attribute. Errors are reported once per job, by
// instance 1, but every instance stops on them.
#include <cstring>

#include "attributes.h"
#include "dc_messages.h"
#include "pm_trace.h"

using namespace bu::dc;

extern "C" {
int32_t PX_Len = 0;
}

namespace {

// Before the public log is open the console is the only place to say it.
void consoleOrMessage(bool hasLog, const char* consoleText) {
    if (!hasLog) consoleWrite(consoleText);
}

int32_t attributeFatal() {
    raiseExitCodeTo(12);
    return PXSTC_FatalError;
}

// A length suits the reader when it equals the limit, or, unless only that
// length will do, is below it or under no limit (-1). Never when negative.
bool lengthFits(int32_t actual, int32_t limit, int32_t exact) {
    if (actual < 0) return false;
    if (actual == limit) return true;
    return exact == 0 && (limit == -1 || actual < limit);
}

}  // namespace

namespace bu::dc {

AttributeAnswer askForAttribute(OperatorHandle* handle, const char* name, int32_t limit,
                                int32_t exact) noexcept {
    AttributeAnswer answer;
    void* value = nullptr;
    if (hasKind(handle, PX_KIND_OPERATOR) && handle->PX_GetAttribute != nullptr) {
        answer.status = handle->PX_GetAttribute(handle, name, &value, &answer.length);
    }
    if (answer.status != 0) {
        answer.length = 0;
        return answer;
    }
    // A value is taken only as far as it can be read: a null one stands for
    // nothing, and a length that the caller cannot hold is not believed.
    answer.fits =
        lengthFits(answer.length, limit, exact) && (value != nullptr || answer.length == 0);
    if (answer.fits) answer.value = value != nullptr ? value : const_cast<char*>("");
    return answer;
}

}  // namespace bu::dc

extern "C" int32_t dcGetAttribute(const char* caller, const char* name, void** value,
                                  int32_t required, int32_t length, int32_t exact,
                                  int32_t* valueLength, int32_t* serviceStatus) noexcept {
    pm::TraceEntryExit entryAndExit("dcGetAttribute");
    trace(4, caller, kInfo, "attrName = %s", name);
    const AttributeAnswer answer = askForAttribute(SG_opHandle, name, length, exact);
    const int32_t status = answer.status;
    if (value != nullptr) *value = answer.value;
    if (serviceStatus != nullptr) *serviceStatus = status;
    if (valueLength != nullptr) *valueLength = answer.length;
    PX_Len = answer.fits ? answer.length : 0;

    const bool reports = ThisInstance == 1;
    const bool hasLog = Public_loghandle != nullptr;
    char text[kLineSize];
    if (status == PXSTC_NotFound) {
        if (!required) return 0;
        if (reports && hasLog) publicMessage(19201, 3, 6, kText, name);
        std::snprintf(text, sizeof text, "FATAL_ERROR: %s can't find required attribute %s", caller,
                      name);
        if (reports) consoleOrMessage(hasLog, text);
        return attributeFatal();
    }
    if (status == PXSTC_Conflict) {
        if (reports && hasLog)
            publicMessage(19205, 3, 6, kText, name, kText, "Multi-value", kText, "Single-value");
        std::snprintf(text, sizeof text, "FATAL_ERROR:  %s: %s", name,
                      "Multi-value received for single-value attribute");
        if (reports) consoleOrMessage(hasLog, text);
        return attributeFatal();
    }
    if (status != 0) {
        if (reports && hasLog) publicMessage(19100, 3, 6, kText, "PX_GetAttribute", kInt, status);
        std::snprintf(text, sizeof text, "FATAL_ERROR: %s returned rc = %d - called from %s",
                      "PX_GetAttribute", status, caller);
        if (reports) consoleOrMessage(hasLog, text);
        return attributeFatal();
    }
    if (!answer.fits) {
        if (reports && hasLog)
            publicMessage(19202, 3, 6, kText, name, kInt, answer.length, kInt, length);
        std::snprintf(text, sizeof text, "FATAL_ERROR:  %s attribute length error", name);
        if (reports) consoleOrMessage(hasLog, text);
        return attributeFatal();
    }
    return 0;
}

namespace bu::dc {

int32_t readOptionalInt(const char* caller, const char* name, int32_t* value,
                        bool* present) noexcept {
    void* raw = nullptr;
    int32_t length = 0;
    int32_t status = 0;
    *present = false;
    int32_t rc = dcGetAttribute(caller, name, &raw, 0, 4, 1, &length, &status);
    if (rc != 0 || status == kAttrAbsent) return rc;
    std::memcpy(value, raw, sizeof *value);
    *present = true;
    return 0;
}

int32_t readRequiredInt(const char* caller, const char* name, int32_t* value) noexcept {
    void* raw = nullptr;
    int32_t length = 0;
    int32_t status = 0;
    int32_t rc = dcGetAttribute(caller, name, &raw, 1, 4, 1, &length, &status);
    if (rc != 0) return rc;
    std::memcpy(value, raw, sizeof *value);
    return 0;
}

}  // namespace bu::dc
