/*
 * px_icu.h - ICU calls bound at run time.
 *
 * ICU isn't linked into the operator. The wrapped ICU common library,
 * libicuuchx.so, lies in the client directory below "17.20/lib64" and is
 * opened on the first call that needs it, so a job that never converts never
 * loads it. Each px_ function makes sure the library is bound and forwards its
 * arguments unchanged to the ICU function of the same name. When the library
 * can't be bound, or lacks the name, the wrapper returns its failure value
 * (noted at each declaration) and leaves the arguments alone; the next call
 * tries to bind again.
 *
 * ICU's headers give the types only; every call goes through the table.
 * One thread per process uses these functions: there is no lock.
 */
#ifndef BU_PX_ICU_H
#define BU_PX_ICU_H

#include <stdint.h>
#include <unicode/ucnv.h>
#include <unicode/ucnv_err.h>
#include <unicode/unorm2.h>
#include <unicode/ustring.h>
#include <unicode/utypes.h>

#include "bu_export.h"

/* The library's handle; null while unbound. */
BU_API void* hxicuLibHandle;

/* Binds the library: 0 on success or when already bound, otherwise 1 (with
 * the reason printed on standard output). */
BU_API int32_t px_hxicu_init(void) BU_NOEXCEPT;

/* Unbinds: 0, or 2 when the library can't be closed (nothing changes then). */
BU_API int32_t px_hxicu_term(void) BU_NOEXCEPT;

/* Version of this binding layer, the product's version. Needs no library. */
BU_API const char* px_pxicuversion(void) BU_NOEXCEPT;

/* Version text of the wrapped library; "HXICU Library Not Found" without it. */
BU_API const char* px_hxicuversion(void) BU_NOEXCEPT;

/* Failure value: null. */
BU_API UConverter* px_ucnv_open(const char* name, UErrorCode* err) BU_NOEXCEPT;

/* Failure value: the bind result (1), or 0 when the library lacks the name. */
BU_API int32_t px_ucnv_setToUCallBack(UConverter* converter, UConverterToUCallback newAction,
                                      const void* newContext, UConverterToUCallback* oldAction,
                                      const void** oldContext, UErrorCode* err) BU_NOEXCEPT;
BU_API int32_t px_ucnv_setFromUCallBack(UConverter* converter, UConverterFromUCallback newAction,
                                        const void* newContext, UConverterFromUCallback* oldAction,
                                        const void** oldContext, UErrorCode* err) BU_NOEXCEPT;
BU_API int32_t px_UCNV_TO_U_CALLBACK_STOP(const void* context, UConverterToUnicodeArgs* toUArgs,
                                          const char* codeUnits, int32_t length,
                                          UConverterCallbackReason reason,
                                          UErrorCode* err) BU_NOEXCEPT;
BU_API int32_t px_UCNV_FROM_U_CALLBACK_STOP(const void* context,
                                            UConverterFromUnicodeArgs* fromUArgs,
                                            const UChar* codeUnits, int32_t length,
                                            UChar32 codePoint, UConverterCallbackReason reason,
                                            UErrorCode* err) BU_NOEXCEPT;

/* Failure value: 4. */
BU_API int32_t px_ucnv_toUChars(UConverter* cnv, UChar* dest, int32_t destCapacity, const char* src,
                                int32_t srcLength, UErrorCode* pErrorCode) BU_NOEXCEPT;
BU_API int32_t px_ucnv_fromUChars(UConverter* cnv, char* dest, int32_t destCapacity,
                                  const UChar* src, int32_t srcLength,
                                  UErrorCode* pErrorCode) BU_NOEXCEPT;

/* Failure value: the bind result (1), or 0 when the library lacks the name. */
BU_API int32_t px_ucnv_close(UConverter* converter) BU_NOEXCEPT;

/* Failure value: null. */
BU_API UChar* px_u_strcpy(UChar* dst, const UChar* src) BU_NOEXCEPT;
BU_API UChar* px_u_strncpy(UChar* dst, const UChar* src, int32_t n) BU_NOEXCEPT;
BU_API UChar* px_u_strstr(const UChar* s, const UChar* substring) BU_NOEXCEPT;
BU_API UChar* px_u_strcat(UChar* dst, const UChar* src) BU_NOEXCEPT;

/* Failure value: 0. */
BU_API int32_t px_u_strlen(const UChar* s) BU_NOEXCEPT;

/* Failure value: null. */
BU_API const char* px_u_errorName(UErrorCode code) BU_NOEXCEPT;

/* Failure value: 4, as a pointer; px_unorm2_normalize refuses that value
 * rather than hand it to the library. */
BU_API const UNormalizer2* px_unorm2_getInstance(const char* packageName, const char* name,
                                                 UNormalization2Mode mode,
                                                 UErrorCode* pErrorCode) BU_NOEXCEPT;

/* Failure value: 4. */
BU_API int32_t px_unorm2_normalize(const UNormalizer2* norm2, const UChar* src, int32_t length,
                                   UChar* dest, int32_t capacity,
                                   UErrorCode* pErrorCode) BU_NOEXCEPT;

/*
 * The "stop" callbacks in the form a converter takes them, for
 * px_ucnv_setToUCallBack and px_ucnv_setFromUCallBack: they run the wrapped
 * library's own stop callbacks, so that an ill-formed sequence ends the
 * conversion with an error instead of being replaced.
 */
static inline void pxStopOnBadInputToU(const void* context, UConverterToUnicodeArgs* toUArgs,
                                       const char* codeUnits, int32_t length,
                                       UConverterCallbackReason reason, UErrorCode* err) {
    (void)px_UCNV_TO_U_CALLBACK_STOP(context, toUArgs, codeUnits, length, reason, err);
}

static inline void pxStopOnBadInputFromU(const void* context, UConverterFromUnicodeArgs* fromUArgs,
                                         const UChar* codeUnits, int32_t length, UChar32 codePoint,
                                         UConverterCallbackReason reason, UErrorCode* err) {
    (void)px_UCNV_FROM_U_CALLBACK_STOP(context, fromUArgs, codeUnits, length, codePoint, reason,
                                       err);
}

#endif /* BU_PX_ICU_H */
