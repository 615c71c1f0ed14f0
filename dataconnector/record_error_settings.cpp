// The rows of the record error file: read with the data file's settings.
// Without an open error file the limit, the prefix and the verbosity are
// noted as ignored; the verbosity is kept all the same.
#include "record_error_settings.h"

#include <cstring>
#include <iterator>

#include "attributes.h"
#include "dc_messages.h"
#include "file_catalogue.h"
#include "record_error_file.h"
#include "special_chars.h"

using namespace bu::dc;

extern "C" {
char LogDirectory[PM_MAX_FILE_NAME + 1] = {};
int32_t SG_ErrorRowLimit = -1;
int32_t RowErrorVerbosity = 0;
int32_t SG_ContinueOnRowError = 0;
}

namespace {

constexpr const char* kFn = "DC_DataConFileInfo";

struct Verbosity {
    const char* name;
    const char* initial;
};
constexpr Verbosity kVerbosities[] = {{"OFF", "O"}, {"LOW", "L"}, {"MED", "M"}, {"HIGH", "H"}};

bool errorFileOpen() {
    return SG_ContinueOnRowError != 0;
}

void noteIgnored(const char* name) {
    trace(1, kFn, kInfo, "Definition of attribute %s ignored", name);
}

int32_t readTextInto(const FileAttribute& row, bool& present) {
    const char* value = nullptr;
    int32_t length = 0;
    int32_t rc = fetchText(row, false, false, &value, &length, present);
    if (rc == 0) storeText(row, value, length);
    return rc;
}

}  // namespace

namespace bu::dc {

const char* verbosityName(int32_t level) noexcept {
    return level >= 0 && level < static_cast<int32_t>(std::size(kVerbosities))
               ? kVerbosities[level].name
               : "";
}

int32_t readErrorFileName(const FileAttribute& row, bool& present) noexcept {
    int32_t rc = readTextInto(row, present);
    if (rc == 0 && present) trace(1, kFn, kInfo, "%s: '%.4000s'", row.name, SG_RowErrFileName);
    return rc;
}

int32_t readLogDirectory(const FileAttribute& row, bool& present) noexcept {
    return readTextInto(row, present);
}

int32_t readErrorLimit(const FileAttribute& row, bool& present) noexcept {
    int32_t limit = row.number;
    int32_t rc = readOptionalInt(kFn, row.name, &limit, &present);
    SG_ErrorRowLimit = row.number;
    if (rc != 0 || !present) return rc;
    if (errorFileOpen()) {
        SG_ErrorRowLimit = limit;
        trace(1, kFn, kInfo, "%s: '%d'", row.name, limit);
    }
    if (!errorFileOpen() || limit < 1) noteIgnored(row.name);
    return 0;
}

int32_t readErrorFilePrefix(const FileAttribute& row, bool& present) noexcept {
    int32_t rc = readSpecial(row, nullptr);
    if (rc == kSpecialCharAbsent) return 0;
    if (rc != 0) return rc;
    present = true;
    if (!errorFileOpen()) noteIgnored(row.name);
    return 0;
}

int32_t readErrorVerbosity(const FileAttribute& row, bool& present) noexcept {
    const char* value = nullptr;
    int32_t length = 0;
    int32_t rc = fetchText(row, false, false, &value, &length, present);
    if (rc != 0) return rc;
    if (!present) {
        value = row.text;
        length = static_cast<int32_t>(std::strlen(value));
    }
    char upper[11];
    upperCaseCopy(upper, sizeof upper, value, length);
    int32_t level = -1;
    for (int32_t i = 0; i < static_cast<int32_t>(std::size(kVerbosities)); ++i) {
        const Verbosity& v = kVerbosities[i];
        if (std::strcmp(upper, v.name) == 0 || std::strcmp(upper, v.initial) == 0) level = i;
    }
    if (level < 0) {
        char shown[11];
        std::snprintf(shown, sizeof shown, "%.*s", length, value);
        return refuseValue(kFn, row.name, shown, "Off, Low, Med or High");
    }
    // Kept even without a file to write to, where it has nothing to act on.
    RowErrorVerbosity = level;
    if (present && !errorFileOpen()) noteIgnored(row.name);
    trace(1, kFn, kInfo, "%s: %s %s (=%d)", row.name, kVerbosities[level].name,
          present ? "" : "(default)", level);
    // Without a file the header's writes simply fail.
    if (RowErrorVerbosity != 0 && ThisInstance == 1) writeErrorFileHeader();
    return 0;
}

}  // namespace bu::dc
