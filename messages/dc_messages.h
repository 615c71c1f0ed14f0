/*
 * dc_messages.h - how every layer of the operator reports: numbered messages
 * on the public log, trace lines on the private log (filtered by the trace
 * level), the last-resort console, and the exit code that only rises.
 *
 * The C functions and globals are exported for other modules of the product;
 * the C++ helpers below are what the operator's own code calls.
 */
#ifndef BU_DC_MESSAGES_H
#define BU_DC_MESSAGES_H

#include <cstdint>
#include <cstdio>
#include <ctime>

#include "bu_export.h"
#include "pmdcomt.h"
#include "px_boundary.h"

extern "C" {

/* Trace state. */
BU_API int32_t DC_TraceLvl;
BU_API int32_t StatsTraceLevel;
BU_API int32_t DC_StatsOnly;
// bDisplayFuncName is declared with the access layer (pmdcomt.h).
BU_API int32_t TimeStampMessages;
BU_API int32_t bErrorsTostderr;
BU_API int64_t CurrentSystemTime;

/* Logs, identity and exit code. */
BU_API LogHandle* Public_loghandle;
BU_API LogHandle* Private_loghandle;
BU_API OperatorHandle* SG_opHandle;
BU_API const char* JobOpName;
BU_API const char OpNameStr[];
BU_API int32_t ThisInstance;
BU_API int16_t CurrentExitCode;
BU_API int16_t NewExitCode;
BU_API int32_t dcDiagErrCheck;

/* Status of the latest log or console write. */
BU_API int32_t dcLastLogStatus;

/* Texts of the status codes 0..72, 32 bytes a row. */
BU_API const char StatusNames[PX_STATUS_COUNT][PX_STATUS_NAME_WIDTH];

BU_API int32_t DC_IssueMsg(const char* functionName, int32_t level, const char* text) noexcept;
BU_API int32_t FetchCurrentTime(int64_t* now) noexcept;
BU_API const char* TimeEncode(int64_t when) noexcept;
BU_API int32_t dcSetExitCode(int32_t status) noexcept;
BU_API void dcDisplayBanner(const char* text) noexcept;
BU_API int32_t dcIssueStrOverflowMsg(const char* functionName, int32_t maximum, int32_t required,
                                     int32_t level) noexcept;
BU_API int32_t dcCheckForStrOverflow(const char* functionName, int32_t maximum, const char* text,
                                     int32_t level) noexcept;
BU_API int32_t dcRealloc(void** pointer, uint32_t size, const char* purpose, int32_t diagnostic,
                         int32_t* status, int16_t* exitCode) noexcept;
}

namespace bu::dc {

// Trace levels of a line.
inline constexpr int32_t kInfo = 0;
inline constexpr int32_t kWarning = 1;
inline constexpr int32_t kError = 2;

// Width of the shared line buffer; longer lines are cut.
inline constexpr size_t kLineSize = 4096;

// The shared line buffer: the text of the latest formatted trace line.
char* lineBuffer() noexcept;

// The TRCELOG rule for a line already in `text`: hand it to DC_IssueMsg and
// fall back to the console when that fails.
void traceText(const char* functionName, int32_t level, const char* text) noexcept;

// Whether a line is shown: the trace level is above `above`, or it is an
// error line, which passes whatever the level.
inline bool traceShown(int32_t above, int32_t level) noexcept {
    return level >= kError || DC_TraceLvl > above;
}

// Formats a line into the shared line buffer and hands it on (traceText).
// The formats of these functions are checked against their arguments by the
// compiler, as printf's are.
void traceFormatted(const char* functionName, int32_t level, const char* format, ...) noexcept
    __attribute__((format(printf, 3, 4)));

// A trace line shown when traceShown(above, level). The level is tested
// before anything is formatted, in the caller: the test costs no call.
#if defined(__clang__)
// clang cannot pass `...` on from an inlined function; there the test is
// made in the call.
void trace(int32_t above, const char* functionName, int32_t level, const char* format, ...) noexcept
    __attribute__((format(printf, 4, 5)));
#else
[[gnu::always_inline, gnu::format(printf, 4, 5)]] inline void trace(
    int32_t above, const char* functionName, int32_t level, const char* format, ...) noexcept {
    if (traceShown(above, level)) {
        traceFormatted(functionName, level, format, __builtin_va_arg_pack());
    }
}
#endif

// A banner line formatted like a trace line.
void displayBanner(const char* format, ...) noexcept __attribute__((format(printf, 1, 2)));

// Error lines have no threshold.
void traceError(const char* functionName, const char* format, ...) noexcept
    __attribute__((format(printf, 2, 3)));

// Lines that count as statistics: shown at every level that reaches
// StatsTraceLevel.
void traceStats(const char* functionName, const char* format, ...) noexcept
    __attribute__((format(printf, 2, 3)));

// Writes a raw argument list (tag/value pairs ended by tag 0) to a log.
// A null log handle writes nothing and yields 58 ("Loghandle").
int32_t logWriteRaw(LogHandle* log, int32_t number, int32_t msgClass, int32_t severity,
                    ...) noexcept;

// The leader of a numbered message, "%s[%d]: QLN%05d", in the leader buffer.
const char* formatLeader(int32_t number) noexcept;
// The short leader "%s[%d]:" of messages 19009, 19010, 19148 and a few more.
const char* formatShortLeader() noexcept;

// A numbered message with the leader; `args` are tag/value pairs (tags of
// PX_MessageTag). The status lands in dcLastLogStatus and is returned.
template <typename... Args>
inline int32_t logMessage(LogHandle* log, int32_t number, int32_t msgClass, int32_t severity,
                          Args... args) noexcept {
    dcLastLogStatus = logWriteRaw(log, number, msgClass, severity, int32_t{PX_TAG_TEXT},
                                  formatLeader(number), args..., int32_t{PX_TAG_END});
    return dcLastLogStatus;
}

// The same with the short leader.
template <typename... Args>
inline int32_t logShortMessage(LogHandle* log, int32_t number, int32_t msgClass, int32_t severity,
                               Args... args) noexcept {
    dcLastLogStatus = logWriteRaw(log, number, msgClass, severity, int32_t{PX_TAG_TEXT},
                                  formatShortLeader(), args..., int32_t{PX_TAG_END});
    return dcLastLogStatus;
}

// A message on the public log (the most common case).
template <typename... Args>
inline int32_t publicMessage(int32_t number, int32_t msgClass, int32_t severity,
                             Args... args) noexcept {
    return logMessage(Public_loghandle, number, msgClass, severity, args...);
}

// Tag/value pairs, spelt out at the call site.
inline constexpr int32_t kInt = PX_TAG_INT32;
inline constexpr int32_t kInt64 = PX_TAG_INT64;
inline constexpr int32_t kText = PX_TAG_TEXT;

// The exit code for a status, as the inline form of the exit step maps it.
int16_t exitCodeForStatus(int32_t status) noexcept;

// Raises CurrentExitCode to NewExitCode if that is higher: tells the host,
// traces "QLN Exit code set to %d." and writes 19015. A lower or equal code
// does nothing.
void raiseExitCode() noexcept;

// Sets NewExitCode and raises.
inline void raiseExitCodeTo(int16_t code) noexcept {
    NewExitCode = code;
    raiseExitCode();
}

// Maps a status (inline form) and raises.
inline void reportAndMap(int32_t status) noexcept {
    NewExitCode = exitCodeForStatus(status);
    raiseExitCode();
}

// Console output guarded by the operator handle's kind; the status of the
// write (1 for a bad handle) lands in dcLastLogStatus.
int32_t consoleWrite(const char* text) noexcept;

// A service that returned something the caller cannot handle: the lines
// "%s returned code %d ('%s')" and "returning %d (PXSTC_FatalError)", exit
// code 12. Returns 48.
int32_t reportServiceFailure(const char* functionName, const char* service,
                             int32_t status) noexcept;

// The text of a status code, or "" outside 0..72.
const char* statusName(int32_t status) noexcept;

// Whether a handle is there and of the given kind; every service call is
// guarded by this test.
template <typename Handle>
inline bool hasKind(const Handle* handle, uint64_t kind) noexcept {
    return handle != nullptr && handle->kind == kind;
}

}  // namespace bu::dc

#endif  // BU_DC_MESSAGES_H
