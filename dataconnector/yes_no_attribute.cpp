// Yes/no attributes, with the two extended forms "OPTIONAL" and
// "YESWITHOUTLOG" where the caller admits them.
#include <cctype>
#include <cstring>
#include <string_view>

#include "attributes.h"
#include "dc_messages.h"
#include "pm_trace.h"

using namespace bu::dc;

extern "C" {
int32_t bYNAttrPresent = 0;
const char YNNames[4][15] = {"NO", "YES", "OPTIONAL", "YESWITHOUTLOG"};
}

namespace {

constexpr int32_t kNo = 0;
constexpr int32_t kYes = 1;
constexpr int32_t kOptional = 2;
constexpr int32_t kYesWithoutLog = 3;
constexpr int32_t kInvalid = -1;

constexpr int32_t kKindOptional = 1;
constexpr int32_t kKindWithoutLog = 2;

bool admits(int32_t value, int32_t kind) {
    if (value == kOptional) return kind == kKindOptional;
    if (value == kYesWithoutLog) return kind == kKindWithoutLog;
    return value == kNo || value == kYes;
}

// Decodes an upper-cased value by its length, as the host gave it; -1 when
// it names nothing.
int32_t decode(std::string_view upper) {
    switch (upper.size()) {
        case 1:
            if (upper[0] == 'Y') return kYes;
            if (upper[0] == 'N') return kNo;
            if (upper[0] == 'O') return kOptional;
            return kInvalid;
        case 2:
            return upper == "NO" ? kNo : kInvalid;
        case 3:
            return upper == "YES" ? kYes : kInvalid;
        case 4:
            return upper == "YESW" ? kYesWithoutLog : kInvalid;
        default:
            if (upper == "OPTIONAL") return kOptional;
            if (upper == "YESWITHOUTLOG") return kYesWithoutLog;
            return kInvalid;
    }
}

const char* validValues(int32_t kind) {
    if (kind == kKindOptional) return "Y[es], N[o] or O[ptional]";
    if (kind == kKindWithoutLog) return "Y[es], N[o] or YesW[ithoutLog]";
    return "Y[es] or N[o]";
}

void show(const char* text, int32_t display) {
    if (display) {
        dcDisplayBanner(text);
    } else {
        traceStats("DC_GetYN", "%s", text);
    }
}

int32_t applyDefault(const char* name, int32_t* value, int32_t display, int32_t defaultValue,
                     int32_t kind) {
    *value = defaultValue;
    if (defaultValue == kInvalid) return 0;
    if (defaultValue < kNo || defaultValue > kYesWithoutLog || !admits(defaultValue, kind)) {
        raiseExitCodeTo(12);
        publicMessage(19243, 3, 6, kText, name);
        return 1;
    }
    // A defaulted value is shown like a given one, its name marked as defaulted.
    char shown[32];
    std::snprintf(shown, sizeof shown, "%s (defaulted)", YNNames[defaultValue]);
    char text[kLineSize];
    std::snprintf(text, sizeof text, "%s: '%s' (=%d)", name, shown, defaultValue);
    show(text, display);
    return 0;
}

}  // namespace

extern "C" int32_t DC_GetYN(const char* name, int32_t* value, int32_t display, int32_t defaultValue,
                            int32_t kind) noexcept {
    pm::TraceEntryExit entryAndExit("DC_GetYN");
    void* raw = nullptr;
    int32_t length = 0;
    int32_t status = 0;
    int32_t rc = dcGetAttribute("DC_GetYN", name, &raw, 0, 15, 0, &length, &status);
    if (rc != 0) return rc;
    bYNAttrPresent = status == 0;
    if (status == kAttrAbsent) return applyDefault(name, value, display, defaultValue, kind);

    char given[16] = {};
    std::memcpy(given, raw, static_cast<size_t>(length));
    char upper[16] = {};
    for (int32_t i = 0; i < length; ++i) {
        upper[i] = static_cast<char>(std::toupper(static_cast<unsigned char>(given[i])));
    }
    *value = decode(std::string_view(upper, static_cast<size_t>(length)));
    if (*value != kInvalid && !admits(*value, kind)) *value = kInvalid;

    if (*value == kInvalid) {
        trace(1, "DC_GetYN", kInfo, "%s: '%s'", name, given);
        trace(1, "DC_GetYN", kWarning, "'%s' is an invalid value for %s.", given, name);
        trace(1, "DC_GetYN", kWarning, "Valid values are %s", validValues(kind));
        if (ThisInstance == 1) {
            publicMessage(19205, 3, 6, kText, name, kText, given, kText, validValues(kind));
        }
        return 1;
    }
    char text[kLineSize];
    std::snprintf(text, sizeof text, "%s: '%s' (=%d)", name, YNNames[*value], *value);
    show(text, display);
    return 0;
}
