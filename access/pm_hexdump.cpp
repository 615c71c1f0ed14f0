// pmHexDmp: bytes as hexadecimal and characters, sixteen a line, with runs of
// identical lines folded into one marker.
#include <cctype>
#include <cstdio>
#include <cstring>

#include "pm_layer.h"

namespace {

constexpr int kLineWidth = 75;   // text columns 0..74
constexpr int kBytesColumn = 6;  // first " %02X"
constexpr int kLeftStar = 56;
constexpr int kCharsColumn = 57;
constexpr int kRightStar = 73;

void formatLine(char* line, uint32_t offset, const uint8_t* bytes, uint32_t count) {
    std::memset(line, ' ', kLineWidth);
    line[kLineWidth] = '\0';
    char head[8];
    std::snprintf(head, sizeof head, "%04X", offset & 0xFFFFu);
    std::memcpy(line + 1, head, 4);
    static const char kHex[] = "0123456789ABCDEF";
    for (uint32_t i = 0; i < count; ++i) {
        char* at = line + kBytesColumn + 3 * i;
        if (i == 4 || i == 8 || i == 12) at[0] = '.';
        at[1] = kHex[bytes[i] >> 4];
        at[2] = kHex[bytes[i] & 0xF];
        line[kCharsColumn + i] = std::isprint(bytes[i]) ? static_cast<char>(bytes[i]) : '.';
    }
    line[kLeftStar] = '*';
    line[kRightStar] = '*';
}

}  // namespace

extern "C" void pmHexDmp(int32_t MessageNumber, uint32_t MaxBytes, const void* Address,
                         uint32_t Length, const char* Label, uint32_t bHeader) noexcept {
    if (pm::traceLog() == nullptr) return;
    const char* label = Label ? Label : "";
    char text[160];
    if (Address == nullptr) {
        pm::traceDumpLine(MessageNumber, "Address provided is null, no data to display.");
        return;
    }
    if (bHeader) {
        std::snprintf(text, sizeof text,
                      "%s Hexadecimal formatted display from address %08X for %d bytes.", label,
                      static_cast<unsigned>(reinterpret_cast<uintptr_t>(Address)),
                      static_cast<int>(Length));
        pm::traceDumpLine(MessageNumber, text);
    }
    if (Length > MaxBytes) {
        std::snprintf(text, sizeof text, "%s HexDump truncated buffer from %d bytes to %d bytes.",
                      label, static_cast<int>(Length), static_cast<int>(MaxBytes));
        pm::traceDumpLine(MessageNumber, text);
        Length = MaxBytes;
    }
    const auto* bytes = static_cast<const uint8_t*>(Address);
    char line[kLineWidth + 1];
    char last[kLineWidth + 1] = {};
    bool markerWritten = false;
    for (uint32_t offset = 0; offset < Length; offset += 16) {
        uint32_t count = Length - offset < 16 ? Length - offset : 16;
        formatLine(line, offset, bytes + offset, count);
        bool final = offset + 16 >= Length;
        if (!final && offset > 0 && std::strcmp(line + kBytesColumn, last + kBytesColumn) == 0) {
            if (!markerWritten) {
                std::snprintf(text, sizeof text, "%s  ....", label);
                pm::traceDumpLine(MessageNumber, text);
                markerWritten = true;
            }
            continue;
        }
        std::snprintf(text, sizeof text, "%s %s", label, line);
        pm::traceDumpLine(MessageNumber, text);
        std::memcpy(last, line, sizeof line);
        markerWritten = false;
    }
}
