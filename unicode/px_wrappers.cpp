// The px_ wrappers: each binds the library if need be and forwards its
// arguments unchanged through the table, or returns its failure value.
#include <cstdint>

#include "icu_binding.h"
#include "px_icu.h"

using namespace bu::unicode;

namespace {

constexpr int32_t kCallFailed = 4;
constexpr char kLibraryNotFound[] = "HXICU Library Not Found";

// What px_unorm2_getInstance gives when it can't forward: 4, as a pointer.
const UNormalizer2* const kNoNormalizer =
    reinterpret_cast<const UNormalizer2*>(static_cast<std::uintptr_t>(kCallFailed));

// The slot's function once the library is bound, else null.
template <class Function>
Function bound(IcuSlot slot) noexcept {
    return ensureBound() == 0 ? boundFunction<Function>(slot) : nullptr;
}

// For the ICU functions that return nothing: the bind result when binding
// fails, 0 otherwise (also when the library lacks the name).
template <class Function, class... Args>
int32_t forwardVoid(IcuSlot slot, Args... args) noexcept {
    if (const int32_t bindResult = ensureBound(); bindResult != 0) return bindResult;
    if (auto function = boundFunction<Function>(slot)) function(args...);
    return 0;
}

}  // namespace

UConverter* px_ucnv_open(const char* name, UErrorCode* err) noexcept {
    auto function = bound<decltype(&ucnv_open)>(kUcnvOpen);
    return function ? function(name, err) : nullptr;
}

int32_t px_ucnv_setToUCallBack(UConverter* converter, UConverterToUCallback newAction,
                               const void* newContext, UConverterToUCallback* oldAction,
                               const void** oldContext, UErrorCode* err) noexcept {
    return forwardVoid<decltype(&ucnv_setToUCallBack)>(kUcnvSetToUCallBack, converter, newAction,
                                                       newContext, oldAction, oldContext, err);
}

int32_t px_ucnv_setFromUCallBack(UConverter* converter, UConverterFromUCallback newAction,
                                 const void* newContext, UConverterFromUCallback* oldAction,
                                 const void** oldContext, UErrorCode* err) noexcept {
    return forwardVoid<decltype(&ucnv_setFromUCallBack)>(
        kUcnvSetFromUCallBack, converter, newAction, newContext, oldAction, oldContext, err);
}

int32_t px_UCNV_TO_U_CALLBACK_STOP(const void* context, UConverterToUnicodeArgs* toUArgs,
                                   const char* codeUnits, int32_t length,
                                   UConverterCallbackReason reason, UErrorCode* err) noexcept {
    return forwardVoid<UConverterToUCallback>(kToUCallbackStop, context, toUArgs, codeUnits, length,
                                              reason, err);
}

int32_t px_UCNV_FROM_U_CALLBACK_STOP(const void* context, UConverterFromUnicodeArgs* fromUArgs,
                                     const UChar* codeUnits, int32_t length, UChar32 codePoint,
                                     UConverterCallbackReason reason, UErrorCode* err) noexcept {
    return forwardVoid<UConverterFromUCallback>(kFromUCallbackStop, context, fromUArgs, codeUnits,
                                                length, codePoint, reason, err);
}

int32_t px_ucnv_toUChars(UConverter* cnv, UChar* dest, int32_t destCapacity, const char* src,
                         int32_t srcLength, UErrorCode* pErrorCode) noexcept {
    auto function = bound<decltype(&ucnv_toUChars)>(kUcnvToUChars);
    return function ? function(cnv, dest, destCapacity, src, srcLength, pErrorCode) : kCallFailed;
}

int32_t px_ucnv_fromUChars(UConverter* cnv, char* dest, int32_t destCapacity, const UChar* src,
                           int32_t srcLength, UErrorCode* pErrorCode) noexcept {
    auto function = bound<decltype(&ucnv_fromUChars)>(kUcnvFromUChars);
    return function ? function(cnv, dest, destCapacity, src, srcLength, pErrorCode) : kCallFailed;
}

int32_t px_ucnv_close(UConverter* converter) noexcept {
    return forwardVoid<decltype(&ucnv_close)>(kUcnvClose, converter);
}

UChar* px_u_strcpy(UChar* dst, const UChar* src) noexcept {
    auto function = bound<decltype(&u_strcpy)>(kUStrcpy);
    return function ? function(dst, src) : nullptr;
}

UChar* px_u_strncpy(UChar* dst, const UChar* src, int32_t n) noexcept {
    auto function = bound<decltype(&u_strncpy)>(kUStrncpy);
    return function ? function(dst, src, n) : nullptr;
}

UChar* px_u_strstr(const UChar* s, const UChar* substring) noexcept {
    auto function = bound<decltype(&u_strstr)>(kUStrstr);
    return function ? function(s, substring) : nullptr;
}

UChar* px_u_strcat(UChar* dst, const UChar* src) noexcept {
    auto function = bound<decltype(&u_strcat)>(kUStrcat);
    return function ? function(dst, src) : nullptr;
}

int32_t px_u_strlen(const UChar* s) noexcept {
    auto function = bound<decltype(&u_strlen)>(kUStrlen);
    return function ? function(s) : 0;
}

const char* px_u_errorName(UErrorCode code) noexcept {
    auto function = bound<decltype(&u_errorName)>(kUErrorName);
    return function ? function(code) : nullptr;
}

const char* px_hxicuversion(void) noexcept {
    auto function = bound<const char* (*)()>(kHxicuVersion);
    return function ? function() : kLibraryNotFound;
}

const UNormalizer2* px_unorm2_getInstance(const char* packageName, const char* name,
                                          UNormalization2Mode mode,
                                          UErrorCode* pErrorCode) noexcept {
    auto function = bound<decltype(&unorm2_getInstance)>(kUnorm2GetInstance);
    return function ? function(packageName, name, mode, pErrorCode) : kNoNormalizer;
}

int32_t px_unorm2_normalize(const UNormalizer2* norm2, const UChar* src, int32_t length,
                            UChar* dest, int32_t capacity, UErrorCode* pErrorCode) noexcept {
    auto function = bound<decltype(&unorm2_normalize)>(kUnorm2Normalize);
    // Our own failure value is no normalizer: the library must never see it.
    // The binding is still tried first, as for every other call.
    if (function == nullptr || norm2 == kNoNormalizer) return kCallFailed;
    return function(norm2, src, length, dest, capacity, pErrorCode);
}
