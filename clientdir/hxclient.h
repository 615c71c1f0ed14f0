/*
 * hxclient.h - the flat interface to the client directory.
 *
 * The operator doesn't know where it is installed. Its companions (the
 * wrapped ICU library, Access Modules) lie under a client directory that a
 * marker file `hxclientdir`, beside the operator, names. These functions find
 * that directory from the operator's own location, once per process, and
 * build library paths below it.
 *
 * Every function may be called from any thread. Nothing here throws: a
 * failure comes back as an error object, which the caller frees with
 * HxClient_freeError. Texts handed out are freed with HxClient_freeString.
 */
#ifndef BU_HXCLIENT_H
#define BU_HXCLIENT_H

#include <stdint.h>

#include "bu_export.h"

/* Opaque: read it with the accessors below. */
typedef struct HxClientError HxClientError;

/* Error codes. */
#define HXCLIENT_ERROR_FAILED 1u        /* a failure described by its text */
#define HXCLIENT_ERROR_OUT_OF_MEMORY 2u /* the one static error, never freed */

/* Null on success with *Out a new text: the client directory. */
BU_API HxClientError* HxClient_getClientPath(char** Out) BU_NOEXCEPT;

/* Null on success with *Out a new text: <client dir>/<SubPath>/lib<Name>.so.
 * Nothing checks that the file exists. */
BU_API HxClientError* HxClient_getLibPath(const char* Name, const char* SubPath,
                                          char** Out) BU_NOEXCEPT;

/* The description and the code of an error; "" and 0 for a null error. */
BU_API const char* HxClient_getErrorDescription(const HxClientError* Error) BU_NOEXCEPT;
BU_API uint32_t HxClient_getErrorCode(const HxClientError* Error) BU_NOEXCEPT;

/* Frees an error; a null error and the out-of-memory error are ignored. */
BU_API void HxClient_freeError(HxClientError* Error) BU_NOEXCEPT;

/* Frees a text from HxClient_getClientPath or HxClient_getLibPath; null is ignored. */
BU_API void HxClient_freeString(char* Text) BU_NOEXCEPT;

/* "17.20.00.02" and "17.20"; the short form names the version's directory
 * below the client directory. Static texts. */
BU_API const char* HxClient_getRelSelDirVersion(void) BU_NOEXCEPT;
BU_API const char* HxClient_getRelSelDirShortVersion(void) BU_NOEXCEPT;

#endif /* BU_HXCLIENT_H */
