// The rows that say what the file is: its name, how it opens, the format of
// its records with the checks that go with each format, the byte-order mark,
// and the record type an Access Module is told.
#include <cstring>
#include <iterator>

#include "attributes.h"
#include "charsets.h"
#include "dc_messages.h"
#include "file_access.h"
#include "file_catalogue.h"
#include "file_list.h"
#include "file_settings.h"
#include "initiation.h"

using namespace bu::dc;

namespace {

constexpr const char* kFn = "DC_DataConFileInfo";

struct FormatKeyword {
    const char* keyword;
    int32_t code;
    bool delimited;
};
constexpr FormatKeyword kFormats[] = {{"TEXT", FMT_TEXT, false},
                                      {"DELIMITED", FMT_TEXT, true},
                                      {"BINARY", FMT_BINARY, false},
                                      {"FORMATTED", FMT_FORMATTED, false},
                                      {"FORMATTED2", FMT_FORMATTED2, false},
                                      {"BINARY4", FMT_BINARY4, false},
                                      {"FORMATTED4", FMT_FORMATTED4, false},
                                      {"UNFORMATTED", FMT_UNFORMATTED, false}};
// FORMATTED2 is accepted though the message doesn't name it.
constexpr const char* kValidFormats =
    "TEXT, FORMATTED, BINARY, FORMATTED4, BINARY4, UNFORMATTED or DELIMITED";

// The byte-order mark message names the format from this list, indexed by
// the format code, names and codes out of step as they have always been (a
// BINARY file is called FORMATTED2). UNFORMATTED, code 8, lies just beyond
// the list and is named by an empty text.
constexpr char kBomFormatNames[][13] = {"TEXT",        "FORMATTED", "FORMATTED2", "BINARY",
                                        "UNFORMATTED", "DELIMITED", "FORMATTED4", "BINARY4"};

bool delimitedKeyword = false;
char openModeShown[13] = {};

bool isConsumer() {
    return OperatorType == PX_OPERATOR_TYPE_CONSUMER;
}

bool charsetIs(const char* a, const char* b) {
    return std::strcmp(SG_CharSetName, a) == 0 || std::strcmp(SG_CharSetName, b) == 0;
}

// Refusals of the UTF-8 validation settings take exit code 12 at once.
int32_t refuseHard() {
    raiseExitCodeTo(12);
    return PXSTC_FatalError;
}

int32_t refuseOpenMode(const char* name, const char* value) {
    trace(1, kFn, kWarning, "Invalid %s attribute value ('%s') provided", name, value);
    if (isConsumer()) {
        trace(1, kFn, kWarning, "Valid %s values are Write or WriteAppend", name);
    } else {
        trace(1, kFn, kWarning, "Valid %s value is Read", name);
    }
    if (ThisInstance == 1) {
        publicMessage(19205, 3, 6, kText, name, kText, value, kText,
                      isConsumer() ? "Write, WriteAppend" : "Read");
    }
    return PXSTC_FatalError;
}

// WriteAppend can't add to a zip archive: a name that ends in its first
// ".zip" is refused (a name with ".zip" further in front passes).
bool appendsToZip() {
    const char* zip = std::strstr(DC_FileName, ".zip");
    return zip != nullptr && zip[4] == '\0';
}

void traceInstanceFileName() {
    if (TotalInstances <= 1 || !isConsumer()) return;
    trace(1, kFn, kInfo, "Multiple consumer instances.");
    if (UsingFileList) {
        trace(1, kFn, kInfo, "File name for this instance from 'FileList' file");
        return;
    }
    // Cut to fit the line, as every trace line is.
    trace(1, kFn, kInfo, "File name for this instance is '%.4000s-%d'", DC_FileName, ThisInstance);
}

// A restarted job appends to the file it was writing, and goes back to its
// checkpoint in it. Whether there is a checkpoint to go back to is the host's
// to know: a host with none starts the job afresh, not in restart mode.
int32_t appendOnRestart(const char* name) {
    if (DC_RestartMode == 0 || DC_OpenMode != pmOpenWrite) return 0;
    DC_OpenMode = pmOpenUpdate;
    trace(1, kFn, kInfo, "OpenMode changed from '%s' to 'WRITEAPPEND'", openModeShown);
    publicMessage(19206, 2, 3, kText, name, kText, openModeShown);
    std::snprintf(openModeShown, sizeof openModeShown, "WRITEAPPEND");
    return 0;
}

int32_t refuseTextFormatSettings() {
    if (bUnsupportedCharacterSet) {
        trace(1, kFn, kWarning, "'%s' %s ('%s')", Format_C,
              "data can not be processed with an unsupported character set", SG_CharsetName);
        if (ThisInstance == 1) publicMessage(19465, 3, 6);
        return PXSTC_FatalError;
    }
    if (SG_IndicatorData) {
        trace(1, kFn, kWarning, "'%s' not allowed with data format '%s'", "IndicatorMode",
              Format_C);
        if (ThisInstance == 1) publicMessage(19208, 3, 6, kText, "IndicatorMode", kText, Format_C);
        return PXSTC_FatalError;
    }
    return 0;
}

const char* bomFormatName() {
    return FileFormat >= 0 && FileFormat < static_cast<int32_t>(std::size(kBomFormatNames))
               ? kBomFormatNames[FileFormat]
               : "";
}

// Each condition is checked even after an earlier one failed, so that one
// job learns all that is wrong with its mark at once.
bool bomIsPossible(const FileAttribute& row) {
    bool possible = true;
    if (!servesThisSide(row)) {
        trace(1, kFn, kWarning, " %s '%s' %s", "Attribute", row.name,
              "='Yes' is valid only with Consumer instance.");
        if (ThisInstance == 1) publicMessage(19246, 3, 6, kText, row.name);
        possible = false;
    }
    if (!charsetIs("UTF16", "62") && !charsetIs("UTF8", "63")) {
        trace(1, kFn, kWarning, " %s '%s' %s '%s' %s", "Attribute", row.name,
              "='Yes' is not valid with", SG_CharSetName, "character set.");
        if (ThisInstance == 1) publicMessage(19249, 3, 6, kText, row.name, kText, SG_CharSetName);
        possible = false;
    }
    if (FileFormat != FMT_TEXT) {
        trace(1, kFn, kWarning, " %s '%s' %s %s or %s %s", "Attribute", row.name,
              "='Yes' is valid only with", "TEXT", "DELIMITED", " formats");
        if (ThisInstance == 1) publicMessage(19208, 3, 6, kText, row.name, kText, bomFormatName());
        possible = false;
    }
    return possible;
}

}  // namespace

namespace bu::dc {

bool formatIsDelimited() noexcept {
    return delimitedKeyword;
}

const char* openModeText() noexcept {
    return openModeShown;
}

int32_t fetchText(const FileAttribute& row, bool required, bool exact, const char** value,
                  int32_t* length, bool& present) noexcept {
    void* raw = nullptr;
    int32_t status = 0;
    *length = 0;
    int32_t rc = dcGetAttribute(kFn, row.name, &raw, required, row.size, exact, length, &status);
    present = rc == 0 && status == 0;
    if (!present || raw == nullptr) {
        *value = "";
        *length = 0;
    } else {
        *value = static_cast<const char*>(raw);
    }
    return rc;
}

void storeText(const FileAttribute& row, const char* value, int32_t length) noexcept {
    auto* target = static_cast<char*>(row.target);
    const int32_t n = length < row.size ? length : row.size;
    std::memcpy(target, value, static_cast<size_t>(n));
    target[n] = '\0';
}

int32_t readFileName(const FileAttribute& row, bool& present) noexcept {
    const char* value = nullptr;
    int32_t length = 0;
    if (!bIOviaAccessModule) trace(1, kFn, kInfo, "Filename required with no Access Module");
    int32_t rc = fetchText(row, !bIOviaAccessModule, false, &value, &length, present);
    if (rc != 0) return rc;
    if (!present) trace(1, kFn, kInfo, "Attribute FileName unspecified, setting FileName to null");
    storeText(row, value, length);
    return 0;
}

int32_t readOpenMode(const FileAttribute& row, bool& present) noexcept {
    const char* value = nullptr;
    int32_t length = 0;
    int32_t rc = fetchText(row, false, false, &value, &length, present);
    if (rc != 0) return rc;
    if (!present) {
        value = isConsumer() ? "Write" : "Read";
        length = static_cast<int32_t>(std::strlen(value));
        trace(1, kFn, kWarning, "%s %s '%s' %s.", row.name, "attribute not specified, default",
              value, "being used");
        // A default taken is told by every instance, not only by the first.
        if (publicMessage(19203, 2, 4, kText, row.name, kText, value) != 0) return refuseHard();
    }
    std::snprintf(openModeShown, sizeof openModeShown, "%.*s", length, value);
    char mode[13];
    upperCaseCopy(mode, sizeof mode, value, length);
    DC_OpenMode = -1;
    if (isConsumer()) {
        if (std::strcmp(mode, "WRITE") == 0) DC_OpenMode = pmOpenWrite;
        if (std::strcmp(mode, "WRITEAPPEND") == 0) DC_OpenMode = pmOpenUpdate;
        Reading = 0;
    } else {
        if (std::strcmp(mode, "READ") == 0) DC_OpenMode = pmOpenRead;
        Reading = 1;
    }
    if (DC_OpenMode == -1) return refuseOpenMode(row.name, openModeShown);
    if (DC_OpenMode == pmOpenUpdate && ThisInstance == 1 && appendsToZip()) {
        publicMessage(19251, 3, 6, kText, row.name, kText, openModeShown);
        return PXSTC_FatalError;
    }
    traceInstanceFileName();
    return appendOnRestart(row.name);
}

int32_t readFormat(const FileAttribute& row, bool& present) noexcept {
    TextDelimiter.Length = 0;
    delimitedKeyword = false;
    const char* value = nullptr;
    int32_t length = 0;
    int32_t rc = fetchText(row, true, false, &value, &length, present);
    if (rc != 0) return rc;
    storeText(row, value, length);
    char keyword[21];
    upperCaseCopy(keyword, sizeof keyword, value, length);
    const FormatKeyword* found = nullptr;
    for (const FormatKeyword& f : kFormats) {
        if (std::strcmp(keyword, f.keyword) == 0) found = &f;
    }
    if (found == nullptr) return refuseValue(kFn, row.name, Format_C, kValidFormats);
    FileFormat = found->code;
    delimitedKeyword = found->delimited;
    if (delimitedKeyword) {
        TextDelimiter.Length = 1;
        std::memcpy(TextDelimiter.Bytes, kPipe, sizeof kPipe);
    }
    return FileFormat == FMT_TEXT ? refuseTextFormatSettings() : 0;
}

int32_t readValidUtf8(const FileAttribute& row, bool& present) noexcept {
    Valid_UTFX = 0;
    const char* value = nullptr;
    int32_t length = 0;
    int32_t rc = fetchText(row, false, false, &value, &length, present);
    if (rc != 0 || !present) return rc;
    char shown[201];
    std::snprintf(shown, sizeof shown, "%.*s", length, value);
    char upper[201];
    upperCaseCopy(upper, sizeof upper, value, length);
    const int32_t validation = std::strcmp(upper, "UTF8") == 0   ? 1
                               : std::strcmp(upper, "UTFX") == 0 ? 2
                                                                 : 0;
    if (validation == 0) {
        refuseValue(kFn, row.name, shown, "UTF8 or UTFX");
        return refuseHard();
    }
    if (!charsetIs("UTF8", "63")) {
        trace(1, kFn, kWarning, "Attribute %s ('%s') requires attribute %s be '%s' or '%s'",
              row.name, shown, "SYSTEM_CharSetId", "UTF8", "63");
        if (ThisInstance == 1) {
            publicMessage(19244, 3, 6, kText, row.name, kText, shown, kText, "SYSTEM_CharSetId",
                          kText, "UTF8", kText, "63");
        }
        return refuseHard();
    }
    if (!delimitedKeyword) {
        trace(1, kFn, kWarning, "'%s' is not allowed with data format '%s'.", row.name, Format_C);
        if (ThisInstance == 1) publicMessage(19208, 3, 6, kText, row.name, kText, Format_C);
        return refuseHard();
    }
    Valid_UTFX = validation;
    SetupUTF8Validation();
    bTruncateUTF8 = 1;
    return 0;
}

int32_t readReplacementChar(const FileAttribute& row, bool& present) noexcept {
    const char* value = nullptr;
    int32_t length = 0;
    int32_t rc = fetchText(row, false, true, &value, &length, present);
    if (rc != 0) return rc;
    if (!present) {
        displayBanner("%s: %s", row.name, "White-Space 0x'E296A1'");
        return 0;
    }
    if (SetUTF8Replacement(value, length) == 0) {
        trace(1, kFn, kWarning,
              "Attribute '%s' value is invalid.  A Valid UTF8 value must be provided.", row.name);
        if (ThisInstance == 1) publicMessage(19245, 3, 6, kText, row.name);
        return refuseHard();
    }
    // The replacement takes the place of truncation when only UTF8 is asked.
    if (Valid_UTFX == 1) bTruncateUTF8 = 0;
    displayBanner("%s: '%.*s'", row.name, length, value);
    return 0;
}

int32_t readWriteBom(const FileAttribute& row, bool& present) noexcept {
    if (DC_GetYN(row.name, &bWriteBOM, 0, row.number, row.size) != 0) return PXSTC_FatalError;
    present = bYNAttrPresent != 0;
    if (bWriteBOM == 0 || bomIsPossible(row)) return 0;
    bWriteBOM = 0;
    return refuseHard();
}

int32_t sendRecordType(const FileAttribute& row, bool& present) noexcept {
    present = true;
    trace(1, kFn, kInfo, "Sending to access module: attribute '%s'='%s'", row.name, Format_C);
    int32_t rc = putModuleAttribute(kFn, row.name, Format_C,
                                    static_cast<uint32_t>(std::strlen(Format_C)), true);
    if (rc != 0 || !delimitedKeyword) return rc;
    trace(1, kFn, kInfo, "Sending to access module: attribute '%s'='%s'", "DELIMITER_VALUE",
          TextDelimiter.Bytes);
    return putModuleAttribute(kFn, "DELIMITER_VALUE", TextDelimiter.Bytes,
                              static_cast<uint32_t>(TextDelimiter.Length), true);
}

void resetFileKind() noexcept {
    delimitedKeyword = false;
    openModeShown[0] = '\0';
}

}  // namespace bu::dc
