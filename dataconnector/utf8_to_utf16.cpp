// UTF-8 to UTF-16 through the runtime-bound Unicode calls. A bad sequence
// stops the conversion: a delimiter must never be silently replaced.
#include "dc_messages.h"
#include "px_icu.h"
#include "special_chars.h"

using namespace bu::dc;

namespace {

constexpr char kFn[] = "UTF8toUTF16";
constexpr int32_t kConversionFailed = 19154;

int32_t fail(const char* what, int32_t status) {
    trace(1, kFn, kInfo, " %s, status=%d", what, status);
    publicMessage(kConversionFailed, 3, 6);
    return -1;
}

int32_t failAndClose(UConverter* converter, const char* what, int32_t status) {
    px_ucnv_close(converter);
    return fail(what, status);
}

}  // namespace

extern "C" int32_t UTF8toUTF16(const char* Source, int32_t SourceLength, UChar* Target,
                               int32_t TargetCapacity) noexcept {
    UErrorCode status = U_ZERO_ERROR;
    UConverter* converter = px_ucnv_open("UTF8", &status);
    if (converter == nullptr || U_FAILURE(status)) {
        return fail("Unable to open converter for UTF8", status);
    }
    // The binding answers non-zero when it couldn't make the call at all.
    int32_t rc =
        px_ucnv_setToUCallBack(converter, pxStopOnBadInputToU, nullptr, nullptr, nullptr, &status);
    if (rc != 0 || U_FAILURE(status)) {
        return failAndClose(converter, "px_ucnv_setToUCallBack failed", rc != 0 ? rc : status);
    }
    rc = px_ucnv_setFromUCallBack(converter, pxStopOnBadInputFromU, nullptr, nullptr, nullptr,
                                  &status);
    if (rc != 0 || U_FAILURE(status)) {
        return failAndClose(converter, "px_ucnv_setFromUCallBack failed", rc != 0 ? rc : status);
    }
    int32_t units =
        px_ucnv_toUChars(converter, Target, TargetCapacity, Source, SourceLength, &status);
    if (U_FAILURE(status))
        return failAndClose(converter, "UTF8 to UTF16 conversion failed", status);
    px_ucnv_close(converter);
    return 2 * units;
}
