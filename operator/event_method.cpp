// PX_Event: the one event answered is the host's question for the largest
// row the operator will take.
#include <cstring>

#include "attributes.h"
#include "dc_messages.h"
#include "file_settings.h"
#include "operator_state.h"
#include "schema.h"

using namespace bu::dc;

namespace {

constexpr const char* kFn = "PX_Event";
constexpr uint64_t kSmallRowLimit = 64261;

uint32_t maxRowSizeKB() {
    switch (FileFormat) {
        case FMT_TEXT:
        case FMT_UNFORMATTED: {
            uint32_t kb = TotalFixedLength < kSmallRowLimit ? 64 : 1024;
            trace(4, kFn, kInfo, "Fixed schema size is %u, requesting a max row size of %u KB",
                  static_cast<unsigned>(TotalFixedLength), kb);
            return kb;
        }
        default:
            return static_cast<uint32_t>(DC_GetMaxRowSize(nullptr));
    }
}

}  // namespace

// The size rule that holds whatever the schema: formats 2 to 4 keep to 64 KB.
extern "C" int32_t DC_GetMaxRowSize(int32_t* size) noexcept {
    const int32_t kb = FileFormat >= FMT_BINARY && FileFormat <= 4 ? 64 : 1024;
    if (size != nullptr) *size = kb;
    return kb;
}

extern "C" int32_t PX_Event(OperatorHandle* handle) noexcept {
    int32_t event = 0;
    const AttributeAnswer answer = askForAttribute(handle, "EventFunction", sizeof event, 1);
    if (!answer.fits) return reportServiceFailure(kFn, "PX_GetAttribute", answer.outcome());
    std::memcpy(&event, answer.value, sizeof event);
    if (event != PX_EVENT_MAX_ROW_SIZE) return PXSTC_NotSupported;

    PX_EventData data{maxRowSizeKB(), 0, 0};
    int32_t status = PXSTC_BadHandle;
    if (handle->PX_SetAttribute != nullptr) {
        status = handle->PX_SetAttribute(handle, "EventData", &data, sizeof data);
    }
    trace(4, kFn, kInfo, "Sent max row size of %u to infrastructure", data.maxRowSizeKB);
    trace(1, kFn, kInfo, "Sent max USING data size of %u to infrastructure", data.maxUsingDataSize);
    trace(1, kFn, kInfo, "Sent exceed row flag of %u to infrastructure", data.exceedRowFlag);
    return status;
}
