#include "log_capture.h"

#include <cstdarg>
#include <cstdint>
#include <map>

namespace {

std::map<LogHandle*, std::vector<CapturedMessage>>& store() {
    static std::map<LogHandle*, std::vector<CapturedMessage>> s;
    return s;
}

int32_t capture(LogHandle* lh, int32_t number, int32_t, int32_t, va_list args) {
    CapturedMessage m{number, {}};
    for (;;) {
        int32_t tag = va_arg(args, int32_t);
        if (tag == PX_TAG_END) break;
        if (tag == PX_TAG_TEXT) {
            const char* t = va_arg(args, const char*);
            m.args.emplace_back(t ? t : "(null)");
        } else if (tag == PX_TAG_INT32) {
            m.args.push_back(std::to_string(va_arg(args, int32_t)));
        } else if (tag == PX_TAG_INT64) {
            m.args.push_back(std::to_string(va_arg(args, int64_t)));
        } else {
            m.args.emplace_back("?bad tag");
            break;
        }
    }
    store()[lh].push_back(m);
    return 0;
}

}  // namespace

std::string CapturedMessage::joined() const {
    std::string s;
    for (const auto& a : args) s += a;
    return s;
}

LogCapture::LogCapture() {
    services_.PX_LogWrite = capture;
    handle_.kind = PX_KIND_LOG;
    handle_.services = &services_;
    store()[&handle_].clear();
}

std::vector<CapturedMessage>& LogCapture::messages() {
    return store()[&handle_];
}

bool LogCapture::contains(const std::string& text) const {
    for (const auto& m : store()[const_cast<LogHandle*>(&handle_)]) {
        if (m.joined().find(text) != std::string::npos) return true;
    }
    return false;
}

int LogCapture::count(int number) const {
    int n = 0;
    for (const auto& m : store()[const_cast<LogHandle*>(&handle_)]) n += m.number == number;
    return n;
}

void LogCapture::clear() {
    store()[&handle_].clear();
}
