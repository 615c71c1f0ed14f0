// Trace lines of the access layer: each goes to the private log as message
// 19004 with three texts (prefix, text, text). Numbered messages of the
// layer's own go to the public log.
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "pm_layer.h"
#include "px_boundary.h"

namespace pm {
namespace {

constexpr int32_t kTraceMessage = 19004;
constexpr int32_t kTraceClass = 2;
constexpr int32_t kTraceSeverity = 3;

LogHandle* privateLog = nullptr;

// A handle is usable only when it is a log handle with a write service.
bool usableLog(LogHandle* log) {
    return log != nullptr && log->kind == PX_KIND_LOG && log->services != nullptr &&
           log->services->PX_LogWrite != nullptr;
}

int32_t logWrite(LogHandle* log, int32_t number, int32_t cls, int32_t severity, ...) {
    va_list args;
    va_start(args, severity);
    int32_t rc = log->services->PX_LogWrite(log, number, cls, severity, args);
    va_end(args);
    return rc;
}

}  // namespace

LogHandle* traceLog() {
    return usableLog(privateLog) ? privateLog : nullptr;
}

void traceDumpLine(int32_t messageNumber, const char* text) {
    LogHandle* log = traceLog();
    if (log == nullptr) return;
    logWrite(log, messageNumber, kTraceClass, kTraceSeverity, PX_TAG_TEXT, text, PX_TAG_END);
}

void publicMessage(int32_t number, int32_t count, const int32_t* values) {
    LogHandle* log = Public_loghandle;
    if (!usableLog(log)) return;
    char leader[256];
    std::snprintf(leader, sizeof leader, "%s[%d]: QLN%05d", JobOpName ? JobOpName : "",
                  ThisInstance, number);
    // Messages of the layer carry at most three integers after the leader.
    int32_t v[3] = {};
    for (int32_t i = 0; i < count && i < 3; ++i) v[i] = values[i];
    switch (count) {
        case 0:
            logWrite(log, number, 3, 6, PX_TAG_TEXT, leader, PX_TAG_END);
            break;
        case 1:
            logWrite(log, number, 3, 6, PX_TAG_TEXT, leader, PX_TAG_INT32, v[0], PX_TAG_END);
            break;
        case 2:
            logWrite(log, number, 3, 6, PX_TAG_TEXT, leader, PX_TAG_INT32, v[0], PX_TAG_INT32, v[1],
                     PX_TAG_END);
            break;
        default:
            logWrite(log, number, 3, 6, PX_TAG_TEXT, leader, PX_TAG_INT32, v[0], PX_TAG_INT32, v[1],
                     PX_TAG_INT32, v[2], PX_TAG_END);
            break;
    }
}

uint32_t notInitialized(const char* caller) {
    TLGlobalPtr->CurrentLevel = 2;
    trceprnt(caller, "!ERROR! API not initialized", "");
    return pmrcNotInitialized;
}

}  // namespace pm

using namespace pm;

extern "C" void trceSetFp(LogHandle* Handle) noexcept {
    privateLog = Handle;
}

extern "C" void trceprnt(const char* Function, const char* Text1, const char* Text2) noexcept {
    LogHandle* log = traceLog();
    if (log == nullptr) return;
    char prefix[21] = "    ";
    if (bDisplayFuncName)
        std::snprintf(prefix, sizeof prefix, "%-20.20s", Function ? Function : "");
    logWrite(log, kTraceMessage, kTraceClass, kTraceSeverity, PX_TAG_TEXT, prefix, PX_TAG_TEXT,
             Text1 ? Text1 : "", PX_TAG_TEXT, Text2 ? Text2 : "", PX_TAG_END);
}

namespace {

void traceValue(const char* function, const char* text, const char* format, ...)
    __attribute__((format(printf, 3, 4)));

void traceValue(const char* function, const char* text, const char* format, ...) {
    char buf[64];
    va_list args;
    va_start(args, format);
    std::vsnprintf(buf, sizeof buf, format, args);
    va_end(args);
    trceprnt(function, text, buf);
}

}  // namespace

extern "C" void TRCECMTI(const char* Function, const char* Text, int32_t Value) noexcept {
    traceValue(Function, Text, "%d", Value);
}
extern "C" void TRCECMTU(const char* Function, const char* Text, uint32_t Value) noexcept {
    traceValue(Function, Text, "%u", Value);
}
extern "C" void TRCECMTLL(const char* Function, const char* Text,
                          unsigned long long Value) noexcept {
    traceValue(Function, Text, "%llu", Value);
}
extern "C" void TRCECMTX(const char* Function, const char* Text, uint32_t Value) noexcept {
    traceValue(Function, Text, "x'%08x'", Value);
}
extern "C" void TRCECMTC(const char* Function, const char* Text, char Value) noexcept {
    traceValue(Function, Text, "'%c'", Value);
}
extern "C" void TRCECMTD(const char* Function, const char* Text, double Value) noexcept {
    traceValue(Function, Text, "%f", Value);
}

extern "C" uint32_t pmTrace(uint32_t Scope, uint32_t* TargetToken, int32_t Level) noexcept {
    if (!layer().initialized) return notInitialized("pmTrace");
    if (Scope < 1 || Scope > 4) return pmrcBadParm;
    if (Level < 1 || Level > 5) return pmrcBadTraceLevel;
    switch (Scope) {
        case 1:
            TLGlobalPtr->DefaultLevel = Level;
            return pmrcOK;
        case 2: {
            Paramod* mod = nullptr;
            uint32_t rc = checkHandle(TargetToken ? *TargetToken : 0, &mod, "pmTrace");
            if (rc != pmrcOK) return pmrcBadHandle;
            mod->TraceLvl = Level;
            return pmrcOK;
        }
        case 3: {
            FileInfo* file = nullptr;
            uint32_t rc = checkFp(TargetToken ? *TargetToken : 0, &file, "pmTrace");
            if (rc != pmrcOK) return pmrcBadFp;
            file->TraceLvl = Level;
            return pmrcOK;
        }
        default:
            return pmrcBadParm;
    }
}

extern "C" uint32_t pmTraceMsg(int32_t Level, const char* Text) noexcept {
    if (!layer().initialized) return notInitialized("pmTraceMsg");
    if (TLGlobalPtr->CurrentLevel >= Level) trceprnt(layer().clientName, Text, "");
    return pmrcOK;
}
