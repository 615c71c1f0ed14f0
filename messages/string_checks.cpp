// Guards for texts that must fit a fixed area, and the checked reallocation
// used by the layer.
#include <cstdlib>
#include <cstring>

#include "dc_messages.h"

using namespace bu::dc;

extern "C" int32_t dcIssueStrOverflowMsg(const char* functionName, int32_t maximum,
                                         int32_t required, int32_t level) noexcept {
    const char* name = functionName ? functionName : "";
    size_t nameLength = std::strlen(name);
    bool cut = nameLength > 100;
    trace(1, "dcIssueStrOverflowMsg", level, "String length overflow in function '%.*s'%c", 100,
          name, cut ? '*' : ' ');
    trace(1, "dcIssueStrOverflowMsg", level, "Required length is %d.  Max length is %d.", required,
          maximum);
    if (level < kError) return 0;
    publicMessage(19014, 3, 6, kText, name, kInt, required, kInt, maximum);
    return PXSTC_FatalError;
}

extern "C" int32_t dcCheckForStrOverflow(const char* functionName, int32_t maximum,
                                         const char* text, int32_t level) noexcept {
    size_t length = text ? std::strlen(text) : 0;
    if (maximum < 1 || length > static_cast<size_t>(maximum - 1)) {
        return dcIssueStrOverflowMsg(functionName, maximum, static_cast<int32_t>(length), level);
    }
    return 0;
}

extern "C" int32_t dcRealloc(void** pointer, uint32_t size, const char* purpose, int32_t diagnostic,
                             int32_t* status, int16_t* exitCode) noexcept {
    void* grown = nullptr;
    if (pointer == nullptr) {
        // Nowhere to keep the storage: reported like storage that isn't there.
    } else if (diagnostic == 1) {
        // An armed diagnostic: the failure is taken as given.
        dcDiagErrCheck = 0;
        *pointer = nullptr;
    } else {
        grown = std::realloc(*pointer, size);
        if (grown != nullptr) {
            *pointer = grown;
            return 0;
        }
    }
    traceError("dcRealloc", "Unable to re-allocate %u bytes of memory for: %s", size,
               purpose ? purpose : "");
    char bytes[16];
    std::snprintf(bytes, sizeof bytes, "%u", size);
    publicMessage(19140, 3, 6, kText, bytes);
    if (status != nullptr) *status = PXSTC_Storage;
    if (exitCode != nullptr) *exitCode = 12;
    return PXSTC_Storage;
}
