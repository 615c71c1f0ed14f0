// libicuuchx.so: the ICU calls the operator binds at run time, under plain
// names. The system's ICU gives its functions versioned names (its headers
// rename every call), so each export here carries the plain name as its
// symbol and forwards to the versioned function. hxicuversion is our own.
//
// ICUUCHX_WITHOUT_<NAME> leaves a name out: tests build such variants to
// check that the binding copes with a library that lacks it.
#include <unicode/uchar.h>
#include <unicode/ucnv.h>
#include <unicode/ucnv_err.h>
#include <unicode/unorm2.h>
#include <unicode/ustring.h>
#include <unicode/uversion.h>

#include <cstdio>

#include "bu_export.h"

// An exported function whose symbol is the plain ICU name.
#define ICUUCHX_EXPORT(symbol) __asm__(symbol) BU_EXPORT

namespace {

constexpr char kShimVersion[] = "17.20.00.07";

}  // namespace

extern "C" {

UConverter* icuuchx_ucnv_open(const char* name, UErrorCode* err) ICUUCHX_EXPORT("ucnv_open");
UConverter* icuuchx_ucnv_open(const char* name, UErrorCode* err) {
    return ucnv_open(name, err);
}

void icuuchx_ucnv_setToUCallBack(UConverter* converter, UConverterToUCallback newAction,
                                 const void* newContext, UConverterToUCallback* oldAction,
                                 const void** oldContext, UErrorCode* err)
    ICUUCHX_EXPORT("ucnv_setToUCallBack");
void icuuchx_ucnv_setToUCallBack(UConverter* converter, UConverterToUCallback newAction,
                                 const void* newContext, UConverterToUCallback* oldAction,
                                 const void** oldContext, UErrorCode* err) {
    ucnv_setToUCallBack(converter, newAction, newContext, oldAction, oldContext, err);
}

void icuuchx_ucnv_setFromUCallBack(UConverter* converter, UConverterFromUCallback newAction,
                                   const void* newContext, UConverterFromUCallback* oldAction,
                                   const void** oldContext, UErrorCode* err)
    ICUUCHX_EXPORT("ucnv_setFromUCallBack");
void icuuchx_ucnv_setFromUCallBack(UConverter* converter, UConverterFromUCallback newAction,
                                   const void* newContext, UConverterFromUCallback* oldAction,
                                   const void** oldContext, UErrorCode* err) {
    ucnv_setFromUCallBack(converter, newAction, newContext, oldAction, oldContext, err);
}

void icuuchx_to_u_callback_stop(const void* context, UConverterToUnicodeArgs* toUArgs,
                                const char* codeUnits, int32_t length,
                                UConverterCallbackReason reason, UErrorCode* err)
    ICUUCHX_EXPORT("UCNV_TO_U_CALLBACK_STOP");
void icuuchx_to_u_callback_stop(const void* context, UConverterToUnicodeArgs* toUArgs,
                                const char* codeUnits, int32_t length,
                                UConverterCallbackReason reason, UErrorCode* err) {
    UCNV_TO_U_CALLBACK_STOP(context, toUArgs, codeUnits, length, reason, err);
}

void icuuchx_from_u_callback_stop(const void* context, UConverterFromUnicodeArgs* fromUArgs,
                                  const UChar* codeUnits, int32_t length, UChar32 codePoint,
                                  UConverterCallbackReason reason, UErrorCode* err)
    ICUUCHX_EXPORT("UCNV_FROM_U_CALLBACK_STOP");
void icuuchx_from_u_callback_stop(const void* context, UConverterFromUnicodeArgs* fromUArgs,
                                  const UChar* codeUnits, int32_t length, UChar32 codePoint,
                                  UConverterCallbackReason reason, UErrorCode* err) {
    UCNV_FROM_U_CALLBACK_STOP(context, fromUArgs, codeUnits, length, codePoint, reason, err);
}

int32_t icuuchx_ucnv_toUChars(UConverter* cnv, UChar* dest, int32_t destCapacity, const char* src,
                              int32_t srcLength, UErrorCode* pErrorCode)
    ICUUCHX_EXPORT("ucnv_toUChars");
int32_t icuuchx_ucnv_toUChars(UConverter* cnv, UChar* dest, int32_t destCapacity, const char* src,
                              int32_t srcLength, UErrorCode* pErrorCode) {
    return ucnv_toUChars(cnv, dest, destCapacity, src, srcLength, pErrorCode);
}

int32_t icuuchx_ucnv_fromUChars(UConverter* cnv, char* dest, int32_t destCapacity, const UChar* src,
                                int32_t srcLength, UErrorCode* pErrorCode)
    ICUUCHX_EXPORT("ucnv_fromUChars");
int32_t icuuchx_ucnv_fromUChars(UConverter* cnv, char* dest, int32_t destCapacity, const UChar* src,
                                int32_t srcLength, UErrorCode* pErrorCode) {
    return ucnv_fromUChars(cnv, dest, destCapacity, src, srcLength, pErrorCode);
}

void icuuchx_ucnv_close(UConverter* converter) ICUUCHX_EXPORT("ucnv_close");
void icuuchx_ucnv_close(UConverter* converter) {
    ucnv_close(converter);
}

UChar* icuuchx_u_strcpy(UChar* dst, const UChar* src) ICUUCHX_EXPORT("u_strcpy");
UChar* icuuchx_u_strcpy(UChar* dst, const UChar* src) {
    return u_strcpy(dst, src);
}

UChar* icuuchx_u_strncpy(UChar* dst, const UChar* src, int32_t n) ICUUCHX_EXPORT("u_strncpy");
UChar* icuuchx_u_strncpy(UChar* dst, const UChar* src, int32_t n) {
    return u_strncpy(dst, src, n);
}

UChar* icuuchx_u_strstr(const UChar* s, const UChar* substring) ICUUCHX_EXPORT("u_strstr");
UChar* icuuchx_u_strstr(const UChar* s, const UChar* substring) {
    return u_strstr(s, substring);
}

UChar* icuuchx_u_strcat(UChar* dst, const UChar* src) ICUUCHX_EXPORT("u_strcat");
UChar* icuuchx_u_strcat(UChar* dst, const UChar* src) {
    return u_strcat(dst, src);
}

int32_t icuuchx_u_strlen(const UChar* s) ICUUCHX_EXPORT("u_strlen");
int32_t icuuchx_u_strlen(const UChar* s) {
    return u_strlen(s);
}

const char* icuuchx_u_errorName(UErrorCode code) ICUUCHX_EXPORT("u_errorName");
const char* icuuchx_u_errorName(UErrorCode code) {
    return u_errorName(code);
}

#ifndef ICUUCHX_WITHOUT_UNORM2_GETINSTANCE
const UNormalizer2* icuuchx_unorm2_getInstance(const char* packageName, const char* name,
                                               UNormalization2Mode mode, UErrorCode* pErrorCode)
    ICUUCHX_EXPORT("unorm2_getInstance");
const UNormalizer2* icuuchx_unorm2_getInstance(const char* packageName, const char* name,
                                               UNormalization2Mode mode, UErrorCode* pErrorCode) {
    return unorm2_getInstance(packageName, name, mode, pErrorCode);
}
#endif

#ifndef ICUUCHX_WITHOUT_UNORM2_NORMALIZE
int32_t icuuchx_unorm2_normalize(const UNormalizer2* norm2, const UChar* src, int32_t length,
                                 UChar* dest, int32_t capacity, UErrorCode* pErrorCode)
    ICUUCHX_EXPORT("unorm2_normalize");
int32_t icuuchx_unorm2_normalize(const UNormalizer2* norm2, const UChar* src, int32_t length,
                                 UChar* dest, int32_t capacity, UErrorCode* pErrorCode) {
    return unorm2_normalize(norm2, src, length, dest, capacity, pErrorCode);
}
#endif

// "17.20.00.07 (ICU 72.1)": this library's version and that of the ICU it
// runs on, as the loader found it.
BU_EXPORT const char* hxicuversion(void) {
    static const char* const text = [] {
        static char buffer[64];
        UVersionInfo version;
        char icuVersion[U_MAX_VERSION_STRING_LENGTH];
        u_getVersion(version);
        u_versionToString(version, icuVersion);
        std::snprintf(buffer, sizeof buffer, "%s (ICU %s)", kShimVersion, icuVersion);
        return buffer;
    }();
    return text;
}

}  // extern "C"
