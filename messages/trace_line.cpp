// Trace lines on the private log: the head in front of each line, the write
// as message 19003, and the console fallback when a log write fails.
#include <cstdarg>
#include <cstring>

#include "dc_messages.h"

namespace bu::dc {

namespace {

constexpr size_t kFunctionWidth = 20;
constexpr size_t kHeadSize = 64;

char sharedLine[kLineSize];

// Builds the head of a trace line: function name (cut and padded to 20) and
// "-", or four blanks; the time when stamping; the level's mark.
void formatHead(char* head, const char* functionName, int32_t level) {
    size_t used = 0;
    auto append = [&](const char* text) {
        size_t n = std::strlen(text);
        if (used + n >= kHeadSize) n = kHeadSize - 1 - used;
        std::memcpy(head + used, text, n);
        used += n;
        head[used] = '\0';
    };
    head[0] = '\0';
    if (bDisplayFuncName) {
        std::snprintf(head, kHeadSize, "%-20.20s-", functionName ? functionName : "");
        used = kFunctionWidth + 1;
        if (TimeStampMessages && FetchCurrentTime(&CurrentSystemTime) == 0) {
            append(" ");
            append(TimeEncode(CurrentSystemTime));
        }
    } else if (TimeStampMessages && FetchCurrentTime(&CurrentSystemTime) == 0) {
        append("**** ");
        append(TimeEncode(CurrentSystemTime));
    } else {
        append("    ");
    }
    if (level == kError) append(" !ERROR! ");
    if (level == kWarning) append(" WARNING! ");
}

void traceArguments(const char* functionName, int32_t level, const char* format, va_list args) {
    std::vsnprintf(sharedLine, kLineSize, format, args);
    traceText(functionName, level, sharedLine);
}

}  // namespace

char* lineBuffer() noexcept {
    return sharedLine;
}

void traceFormatted(const char* functionName, int32_t level, const char* format, ...) noexcept {
    va_list args;
    va_start(args, format);
    traceArguments(functionName, level, format, args);
    va_end(args);
}

#if defined(__clang__)
void trace(int32_t above, const char* functionName, int32_t level, const char* format,
           ...) noexcept {
    if (!traceShown(above, level)) return;
    va_list args;
    va_start(args, format);
    traceArguments(functionName, level, format, args);
    va_end(args);
}
#endif

void traceError(const char* functionName, const char* format, ...) noexcept {
    va_list args;
    va_start(args, format);
    traceArguments(functionName, kError, format, args);
    va_end(args);
}

void traceStats(const char* functionName, const char* format, ...) noexcept {
    if (!traceShown(StatsTraceLevel - 1, kInfo)) return;
    va_list args;
    va_start(args, format);
    traceArguments(functionName, kInfo, format, args);
    va_end(args);
}

void traceText(const char* functionName, int32_t level, const char* text) noexcept {
    char local[kLineSize];
    std::snprintf(local, sizeof local, "%s", text);
    if (DC_IssueMsg(functionName, level, local) == 0) return;
    std::snprintf(sharedLine, kLineSize, "MACRO TRCELOG from %s failed", functionName);
    consoleWrite(sharedLine);
    consoleWrite(local);
}

}  // namespace bu::dc

using namespace bu::dc;

extern "C" int32_t DC_IssueMsg(const char* functionName, int32_t level, const char* text) noexcept {
    char head[kHeadSize];
    formatHead(head, functionName, level);
    if (Private_loghandle != nullptr) {
        // Trace lines carry no leader: the head and the line are the texts.
        dcLastLogStatus =
            logWriteRaw(Private_loghandle, PX_MSG_TRACE_LINE, 2, 3, int32_t{PX_TAG_TEXT}, head,
                        int32_t{PX_TAG_TEXT}, text, int32_t{PX_TAG_END});
    }
    if (dcLastLogStatus == 0) return 0;
    char console[kLineSize];
    std::snprintf(console, sizeof console, "%s (instance %d): %s (rc=%d).  %s '%s'.", JobOpName,
                  ThisInstance, "PX_LogWrite to Private log failed", dcLastLogStatus, "Message",
                  text);
    consoleWrite(console);
    return PXSTC_FatalError;
}

extern "C" int32_t FetchCurrentTime(int64_t* now) noexcept {
    // A warning below is itself a trace line that may want the time; don't
    // ask again while already asking.
    static bool asking = false;
    std::time_t t = std::time(nullptr);
    if (t == static_cast<std::time_t>(-1)) {
        if (!asking) {
            asking = true;
            trace(1, "FetchCurrentTime", kWarning,
                  "can not obtain system time via function 'time'");
            publicMessage(19100, 2, 6, kText, "time", kInt, -1);
            asking = false;
        }
        return 1;
    }
    if (now == nullptr) return 1;  // nowhere to store it
    *now = static_cast<int64_t>(t);
    return 0;
}

extern "C" const char* TimeEncode(int64_t when) noexcept {
    static char hms[9];
    std::time_t t = static_cast<std::time_t>(when);
    char text[64];
    // ctime's text is "Www Mmm dd hh:mm:ss yyyy\n"; the clock stands at 11.
    const char* full = ctime_r(&t, text);
    if (full == nullptr || std::strlen(full) < 19) {
        std::snprintf(hms, sizeof hms, "??:??:??");
    } else {
        std::memcpy(hms, full + 11, 8);
        hms[8] = '\0';
    }
    return hms;
}
