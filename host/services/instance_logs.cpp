// Logs of an instance. The public log is one file per job shared by all
// instance processes (each line written with one append, prefixed by the
// instance); a private log is a file per name. Messages are rendered with
// the host's catalogue; trace lines go in verbatim.
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstring>

#include "catalog/message_catalog.h"
#include "outmod.h"
#include "run/operator_module.h"
#include "services/handle_registry.h"
#include "services/host_instance.h"
#include "services/service_table.h"

namespace buhost {
namespace {

// Messages of this severity and above are errors; a trace line at error
// level carries the mark.
constexpr int32_t kErrorSeverity = 5;
constexpr std::string_view kErrorTraceMark = "!ERROR!";

// The OUTMOD could not be loaded, or has no entry point.
constexpr int32_t kOutmodNotLoaded = 19501;
constexpr int32_t kOutmodEntryMissing = 19502;

// More pairs than any message has: a list without its end tag stops here.
constexpr int kMaxMessageArgs = 32;

bool goodLogName(const char* name) {
    std::string_view n(name);
    return !n.empty() && n.size() < 200 && n.find('/') == std::string_view::npos && n != "." &&
           n != "..";
}

// Reads the (tag, value) pairs up to tag 0. False on an unknown tag: its
// value's width is unknown, so nothing behind it can be read.
bool decodeArgs(va_list args, std::vector<LogArg>& out) {
    for (int i = 0; i < kMaxMessageArgs; ++i) {
        int32_t tag = va_arg(args, int32_t);
        switch (tag) {
            case PX_TAG_END:
                return true;
            case PX_TAG_INT32:
                out.push_back({tag, va_arg(args, int32_t), {}});
                break;
            case PX_TAG_INT64:
                out.push_back({tag, va_arg(args, int64_t), {}});
                break;
            case PX_TAG_TEXT: {
                const char* text = va_arg(args, const char*);
                out.push_back({tag, 0, text != nullptr ? text : "(null)", text == nullptr});
                break;
            }
            default:
                return false;
        }
    }
    return false;
}

}  // namespace

void HostInstance::writeLine(int fd, const std::string& line) {
    std::string buf = line;
    buf.push_back('\n');
    const char* p = buf.data();
    size_t left = buf.size();
    while (left > 0) {
        ssize_t n = ::write(fd, p, left);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) throw JobError(std::string("log write failed: ") + std::strerror(errno));
        p += n;
        left -= static_cast<size_t>(n);
    }
}

int32_t HostInstance::logInit(const char* owner, int32_t instance, const char* logName,
                              int32_t reserved, LogHandle** out) {
    if (out == nullptr || owner == nullptr) return PXSTC_NullPointer;
    if (reserved != 0 || instance < 1) return PXSTC_InvalidArgument;
    if (logName != nullptr && !goodLogName(logName)) return PXSTC_InvalidName;
    const bool isPublic = logName == nullptr;
    const std::string path =
        isPublic ? publicLogPath(job_) : job_.logDir + "/" + std::string(logName) + ".log";
    for (auto& log : logs_) {
        if (log->fd >= 0 && log->path == path) {
            *out = &log->handle;
            return PXSTC_Success;
        }
    }
    auto log = std::make_unique<OpenLog>();
    log->fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
    if (log->fd < 0) {
        hostError_ = "cannot open log " + path + ": " + std::strerror(errno);
        return PXSTC_LogFileError;
    }
    log->isPublic = isPublic;
    log->path = path;
    fillLogServices(log->handle);
    registerHandle(&log->handle, {PX_KIND_LOG, this, reinterpret_cast<uint64_t>(log.get())});
    *out = &log->handle;
    logs_.push_back(std::move(log));
    return PXSTC_Success;
}

int32_t HostInstance::logWrite(OpenLog& log, int32_t number, int32_t severity, va_list args) {
    std::vector<LogArg> decoded;
    const bool complete = decodeArgs(args, decoded);
    std::string text = isTraceMessage(number) ? std::string() : renderMessage(number, decoded);
    if (isTraceMessage(number)) {
        for (const auto& a : decoded)
            text += a.tag == PX_TAG_TEXT ? a.text : std::to_string(a.integer);
    }
    if (!complete) text += " <argument list broken>";
    if (log.isPublic ? severity >= kErrorSeverity : text.find(kErrorTraceMark) != std::string::npos)
        ++errorLines_;
    if (log.isPublic && severity >= kErrorSeverity)
        noteError(withLoaderText(number, decoded, text));
    std::string line;
    if (log.isPublic) {
        const char* mark = severity >= kErrorSeverity ? "E" : severity == 4 ? "W" : "I";
        line = "[" + std::to_string(options_.instance) + "] " + mark + " " + text;
    } else {
        line = std::move(text);
    }
    writeLine(log.fd, line);
    return complete ? PXSTC_Success : PXSTC_InvalidArgument;
}

// 19501 and 19502 hand over a second reading of the loader's error, which
// the operator's trace line has taken before: it is null. For the instance's
// failure line the host asks the loader itself about the OUTMOD it named;
// the log keeps the message as the operator wrote it.
std::string HostInstance::withLoaderText(int32_t number, std::vector<LogArg> args,
                                         const std::string& rendered) const {
    const bool loading = number == kOutmodNotLoaded || number == kOutmodEntryMissing;
    const AttributeValue* outmod = attribute("OUTMODname");
    if (!loading || args.size() < 3 || !args[2].nullText || outmod == nullptr) return rendered;
    const std::string path(outmod->bytes.begin(), outmod->bytes.begin() + outmod->length);
    const std::string why = loaderReason(path, OUTMOD_ENTRY_SYMBOL);
    if (why.empty()) return rendered;
    args[2].text = why;
    return renderMessage(number, args);
}

void HostInstance::noteInPublicLog(const std::string& text) {
    for (auto& log : logs_) {
        if (log->isPublic && log->fd >= 0) {
            writeLine(log->fd, "[" + std::to_string(options_.instance) + "] I buhost: " + text);
            return;
        }
    }
}

int32_t HostInstance::logClose(OpenLog& log) {
    unregisterHandle(&log.handle);
    if (log.fd >= 0) ::close(log.fd);
    log.fd = -1;
    return PXSTC_Success;
}

}  // namespace buhost
