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
#include "bu_version.h"

// Exports ICU's `name` under its plain symbol, forwarding to the versioned
// function the header's renaming gives the same name. (Stringizing and
// pasting see `name` as written; the call sees it renamed.)
#define ICUUCHX_FORWARD(type, name, parameters, arguments)   \
    BU_EXPORT type icuuchx_##name parameters __asm__(#name); \
    type icuuchx_##name parameters {                         \
        return name arguments;                               \
    }

namespace {

constexpr char kShimVersion[] = BU_VERSION;

}  // namespace

extern "C" {

ICUUCHX_FORWARD(UConverter*, ucnv_open, (const char* converterName, UErrorCode* err),
                (converterName, err))
ICUUCHX_FORWARD(void, ucnv_setToUCallBack,
                (UConverter * converter, UConverterToUCallback newAction, const void* newContext,
                 UConverterToUCallback* oldAction, const void** oldContext, UErrorCode* err),
                (converter, newAction, newContext, oldAction, oldContext, err))
ICUUCHX_FORWARD(void, ucnv_setFromUCallBack,
                (UConverter * converter, UConverterFromUCallback newAction, const void* newContext,
                 UConverterFromUCallback* oldAction, const void** oldContext, UErrorCode* err),
                (converter, newAction, newContext, oldAction, oldContext, err))
ICUUCHX_FORWARD(void, UCNV_TO_U_CALLBACK_STOP,
                (const void* context, UConverterToUnicodeArgs* toUArgs, const char* codeUnits,
                 int32_t length, UConverterCallbackReason reason, UErrorCode* err),
                (context, toUArgs, codeUnits, length, reason, err))
ICUUCHX_FORWARD(void, UCNV_FROM_U_CALLBACK_STOP,
                (const void* context, UConverterFromUnicodeArgs* fromUArgs, const UChar* codeUnits,
                 int32_t length, UChar32 codePoint, UConverterCallbackReason reason,
                 UErrorCode* err),
                (context, fromUArgs, codeUnits, length, codePoint, reason, err))
ICUUCHX_FORWARD(int32_t, ucnv_toUChars,
                (UConverter * cnv, UChar* dest, int32_t destCapacity, const char* src,
                 int32_t srcLength, UErrorCode* pErrorCode),
                (cnv, dest, destCapacity, src, srcLength, pErrorCode))
ICUUCHX_FORWARD(int32_t, ucnv_fromUChars,
                (UConverter * cnv, char* dest, int32_t destCapacity, const UChar* src,
                 int32_t srcLength, UErrorCode* pErrorCode),
                (cnv, dest, destCapacity, src, srcLength, pErrorCode))
ICUUCHX_FORWARD(void, ucnv_close, (UConverter * converter), (converter))
ICUUCHX_FORWARD(UChar*, u_strcpy, (UChar * dst, const UChar* src), (dst, src))
ICUUCHX_FORWARD(UChar*, u_strncpy, (UChar * dst, const UChar* src, int32_t n), (dst, src, n))
ICUUCHX_FORWARD(UChar*, u_strstr, (const UChar* s, const UChar* substring), (s, substring))
ICUUCHX_FORWARD(UChar*, u_strcat, (UChar * dst, const UChar* src), (dst, src))
ICUUCHX_FORWARD(int32_t, u_strlen, (const UChar* s), (s))
ICUUCHX_FORWARD(const char*, u_errorName, (UErrorCode code), (code))
#ifndef ICUUCHX_WITHOUT_UNORM2_GETINSTANCE
ICUUCHX_FORWARD(const UNormalizer2*, unorm2_getInstance,
                (const char* packageName, const char* name, UNormalization2Mode mode,
                 UErrorCode* pErrorCode),
                (packageName, name, mode, pErrorCode))
#endif
ICUUCHX_FORWARD(int32_t, unorm2_normalize,
                (const UNormalizer2* norm2, const UChar* src, int32_t length, UChar* dest,
                 int32_t capacity, UErrorCode* pErrorCode),
                (norm2, src, length, dest, capacity, pErrorCode))

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
