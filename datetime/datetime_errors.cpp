// datetime_errors.cpp - texts of the error codes and the last-error state.
#include "datetime_errors.h"

#include <array>

namespace bu::datetime {

namespace {

constexpr std::array<const char*, kLastErrorCode + 1> kErrorTexts = {
    nullptr,
    "01: Duplicate YEAR formatting characters",
    "02: Duplicate MONTH formatting characters",
    "03: Duplicate WEEKDAY formatting characters",
    "04: Duplicate DAY formatting characters",
    "05: Duplicate HOUR formatting characters",
    "06: Duplicate MINUTE formatting characters",
    "07: Duplicate SECOND formatting characters",
    nullptr,
    "09: Duplicate TIMEZONE formatting characters",
    "10: Unknown separator(s)",
    "11: Unknown formatting character(s)",
    "12: Unmatched separator with formatting string",
    "13: Unrecognized WEEKDAY name",
    "14: Unrecognized MONTH name",
    "15: Wrong month DAY value [1,31]",
    "16: Wrong 24-HOUR value representation [0,23]",
    "17: Wrong 12-HOUR value representation [0,23]",
    "18: Wrong MINUTE value [0,59]",
    "19: Wrong MONTH value [1,12]",
    "20: Wrong MERIDIEM value (AM or PM)",
    "21: Wrong SECOND value [0,61]",
    "22: Wrong 4-digit YEAR value [0,9999]",
    "23: Wrong 2-digit YEAR value [0,99]",
    "24: Wrong TIMEZONE value representation ([+|-]HH:MI)",
    "25: Unknown internal formatting character",
    "26: Empty values or formatting strings",
    "27: Ambiguous input data",
    nullptr,
    nullptr,
};

// Plain process globals, as everywhere in the operator: one thread at a time.
int g_last_error_code = kNoError;
const char* g_last_error_text = nullptr;

}  // namespace

const char* ErrorText(int code) {
    if (code < 0 || code > kLastErrorCode) return nullptr;
    return kErrorTexts[static_cast<unsigned>(code)];
}

int LastErrorCode() {
    return g_last_error_code;
}
const char* LastErrorText() {
    return g_last_error_text;
}
void ClearLastErrorText() {
    g_last_error_text = nullptr;
}

void ClearLastError() {
    g_last_error_code = kNoError;
    g_last_error_text = nullptr;
}

int Fail(int code) {
    g_last_error_code = code;
    g_last_error_text = ErrorText(code);
    return code;
}

int FailWithoutText(int code) {
    g_last_error_code = code;
    return code;
}

}  // namespace bu::datetime
