// Texts of the status codes, built from the boundary's list so that the
// operator prints exactly what the host means.
#include <cstddef>

#include "dc_messages.h"

#define BU_STATUS_TEXT(code, name, text) text,
extern "C" const char StatusNames[PX_STATUS_COUNT][PX_STATUS_NAME_WIDTH] = {
    PX_STATUS_LIST(BU_STATUS_TEXT)};
#undef BU_STATUS_TEXT

namespace bu::dc {

const char* statusName(int32_t status) noexcept {
    if (status < 0 || status >= PX_STATUS_COUNT) return "";
    return StatusNames[status];
}

}  // namespace bu::dc
