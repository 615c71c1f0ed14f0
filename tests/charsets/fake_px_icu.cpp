#include "fake_px_icu.h"

#include "px_icu.h"

namespace bu::test {
IcuFailure icuFailure = IcuFailure::None;
int openConverters = 0;
}  // namespace bu::test

using bu::test::icuFailure;
using bu::test::IcuFailure;

extern "C" {

UConverter* px_ucnv_open(const char* name, UErrorCode* err) noexcept {
    if (icuFailure == IcuFailure::Open) {
        *err = U_FILE_ACCESS_ERROR;
        return nullptr;
    }
    UConverter* converter = ucnv_open(name, err);
    if (converter != nullptr) ++bu::test::openConverters;
    return converter;
}

int32_t px_ucnv_setToUCallBack(UConverter* converter, UConverterToUCallback newAction,
                               const void* newContext, UConverterToUCallback* oldAction,
                               const void** oldContext, UErrorCode* err) noexcept {
    if (icuFailure == IcuFailure::SetToU) return 1;  // the binding couldn't make the call
    ucnv_setToUCallBack(converter, newAction, newContext, oldAction, oldContext, err);
    return 0;
}

int32_t px_ucnv_setFromUCallBack(UConverter* converter, UConverterFromUCallback newAction,
                                 const void* newContext, UConverterFromUCallback* oldAction,
                                 const void** oldContext, UErrorCode* err) noexcept {
    if (icuFailure == IcuFailure::SetFromU) {
        *err = U_ILLEGAL_ARGUMENT_ERROR;
        return 0;
    }
    ucnv_setFromUCallBack(converter, newAction, newContext, oldAction, oldContext, err);
    return 0;
}

int32_t px_UCNV_TO_U_CALLBACK_STOP(const void* context, UConverterToUnicodeArgs* toUArgs,
                                   const char* codeUnits, int32_t length,
                                   UConverterCallbackReason reason, UErrorCode* err) noexcept {
    UCNV_TO_U_CALLBACK_STOP(context, toUArgs, codeUnits, length, reason, err);
    return 0;
}

int32_t px_UCNV_FROM_U_CALLBACK_STOP(const void* context, UConverterFromUnicodeArgs* fromUArgs,
                                     const UChar* codeUnits, int32_t length, UChar32 codePoint,
                                     UConverterCallbackReason reason, UErrorCode* err) noexcept {
    UCNV_FROM_U_CALLBACK_STOP(context, fromUArgs, codeUnits, length, codePoint, reason, err);
    return 0;
}

int32_t px_ucnv_toUChars(UConverter* cnv, UChar* dest, int32_t destCapacity, const char* src,
                         int32_t srcLength, UErrorCode* pErrorCode) noexcept {
    return ucnv_toUChars(cnv, dest, destCapacity, src, srcLength, pErrorCode);
}

int32_t px_ucnv_close(UConverter* converter) noexcept {
    ucnv_close(converter);
    --bu::test::openConverters;
    return 0;
}
}
