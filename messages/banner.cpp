// Banners: framed lines of 74 characters in the private log.
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "dc_messages.h"

namespace {

constexpr int kInnerWidth = 72;
constexpr int kPieceWidth = 70;

void bannerLine(const char* piece, int length) {
    char line[kInnerWidth + 3];
    int margin = (kInnerWidth - length) / 2;
    std::memset(line, ' ', sizeof line);
    line[0] = '=';
    std::memcpy(line + 1 + margin, piece, static_cast<size_t>(length));
    line[kInnerWidth + 1] = '=';
    line[kInnerWidth + 2] = '\0';
    bu::dc::trace(1, "dcDisplayBanner", bu::dc::kInfo, "%s", line);
}

}  // namespace

extern "C" void dcDisplayBanner(const char* text) noexcept {
    if (text == nullptr || text[0] == '\0') {
        char rule[kInnerWidth + 3];
        std::memset(rule, '=', kInnerWidth + 2);
        rule[kInnerWidth + 2] = '\0';
        bu::dc::traceStats("dcDisplayBanner", "%s", rule);
        return;
    }
    // Long texts are cut into pieces of 70, each centred on its own line.
    int length = static_cast<int>(std::strlen(text));
    for (int at = 0; at < length; at += kPieceWidth) {
        int piece = length - at < kPieceWidth ? length - at : kPieceWidth;
        bannerLine(text + at, piece);
    }
}

void bu::dc::displayBanner(const char* format, ...) noexcept {
    char text[kLineSize];
    va_list args;
    va_start(args, format);
    std::vsnprintf(text, sizeof text, format, args);
    va_end(args);
    dcDisplayBanner(text);
}
