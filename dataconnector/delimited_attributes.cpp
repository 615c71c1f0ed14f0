// The rows of delimited data: the delimiter, quote marks and escapes, the
// trimming of parsed columns, and the parsing case formed from them all.
#include <cstring>

#include "attributes.h"
#include "charsets.h"
#include "dc_messages.h"
#include "file_catalogue.h"
#include "file_settings.h"
#include "initiation.h"
#include "special_chars.h"

using namespace bu::dc;

namespace {

constexpr const char* kFn = "DC_DataConFileInfo";
constexpr int32_t kGeneralParsingCase = 2222222;
constexpr char kTab = 9;

enum TrimMode { kTrimNone = 0, kTrimLeading = 1, kTrimTrailing = 2, kTrimBoth = 3 };
// Set by "TrimColumns" for the "TrimChar" row that follows it.
TrimMode trimMode = kTrimNone;
bool trimColumnsGiven = false;

// The defaults record handed to GetSpecialChars: no default for a null
// text, a final value (taken as it stands) for a negative length.
TextAttr* defaultOf(const char* bytes, int32_t length) {
    std::memset(&DefaultChar, 0, sizeof DefaultChar);
    if (bytes == nullptr) return &DefaultChar;
    const int32_t n = length < 0 ? -length : length;
    std::memcpy(DefaultChar.Bytes, bytes, static_cast<size_t>(n));
    DefaultChar.Length = length;
    return &DefaultChar;
}

TextAttr* defaultOf(const char* text) {
    return defaultOf(text, text != nullptr ? static_cast<int32_t>(std::strlen(text)) : 0);
}

TextAttr& targetOf(const FileAttribute& row) {
    return *static_cast<TextAttr*>(row.target);
}

// An escape has no default: its flag tells whether one is in force.
int32_t readEscape(const FileAttribute& row, int32_t& inForce, bool& present) {
    int32_t rc = readSpecial(row, nullptr);
    inForce = rc == 0;
    present = rc == 0;
    return rc == kSpecialCharAbsent ? 0 : rc;
}

// A value of zero bytes only can't be told from none.
bool isAllNull(const TextAttr& attr) {
    for (int32_t i = 0; i < attr.Length; ++i) {
        if (attr.Bytes[i] != 0) return false;
    }
    return true;
}

void refuseNullValue(const FileAttribute& row) {
    const TextAttr& attr = targetOf(row);
    trace(1, kFn, kWarning, "The '%s' %s'", row.name,
          " attribute is invalid.  There must be at least one non-null byte");
    if (ThisInstance == 1) {
        publicMessage(19205, 3, 6, kText, row.name, kText, pHEXvalue(attr.Bytes, attr.Length),
                      kText, "those with at least one non-null (non-zero) byte");
    }
}

// An attribute of the other side of the boundary: exit code 8, status 16.
int32_t refuseForSide(const FileAttribute& row) {
    const bool consumer = OperatorType == PX_OPERATOR_TYPE_CONSUMER;
    trace(1, kFn, kWarning, "Attribute '%s' not valid with %s instance", row.name,
          consumer ? "consumer" : "producer");
    if (ThisInstance == 1) publicMessage(consumer ? 19230 : 19246, 3, 6, kText, row.name);
    raiseExitCodeTo(8);
    return PXSTC_NotSupported;
}

// Replaces `unit` bytes at `at` by the tab of that width; true when found.
bool replaceTab(TextAttr& attr, int32_t at, const char* pattern, int32_t unit) {
    const int32_t patternLength = 3 * unit;
    if (at + patternLength > attr.Length ||
        std::memcmp(attr.Bytes + at, pattern, static_cast<size_t>(patternLength)) != 0) {
        return false;
    }
    std::memset(attr.Bytes + at, 0, static_cast<size_t>(unit));
    attr.Bytes[at + (Platform_Endian() == 2 ? 0 : unit - 1)] = kTab;
    std::memmove(attr.Bytes + at + unit, attr.Bytes + at + patternLength,
                 static_cast<size_t>(attr.Length - at - patternLength));
    attr.Length -= patternLength - unit;
    attr.Bytes[attr.Length] = '\0';
    return true;
}

// One pass over the value in units of one or two bytes. After a tab the scan
// goes on one unit behind the unit that follows it, so of two "TAB" in a row
// the second stays.
bool replaceTabs(TextAttr& attr, const char* pattern, int32_t unit) {
    bool replaced = false;
    for (int32_t at = 0; at + 3 * unit <= attr.Length;) {
        if (replaceTab(attr, at, pattern, unit)) {
            replaced = true;
            at += 2 * unit;
        } else {
            at += unit;
        }
    }
    return replaced;
}

// Whether "TrimChar", or its twin, was given at all.
int32_t trimCharGiven(const FileAttribute& row, bool& given) {
    for (const char* suffix : {"", "HEX"}) {
        char name[sizeof TextAttr::Name + 4];
        std::snprintf(name, sizeof name, "%s%s", row.name, suffix);
        int32_t status = 0;
        int32_t rc = dcGetAttribute(kFn, name, nullptr, 0, -1, 0, nullptr, &status);
        if (rc != 0) return rc;
        given = given || status == 0;
    }
    return 0;
}

void resetTrimming() {
    TrimLeadingChar.Length = 0;
    TrimTrailingChar.Length = 0;
    bTrimLeadingBlanks = bTrimTrailingBlanks = 0;
    bUsingSingleTrimLeadingChar = bUsingSingleTrimTrailingChar = 0;
    trimMode = kTrimNone;
    trimColumnsGiven = false;
}

}  // namespace

namespace bu::dc {

int32_t readSpecial(const FileAttribute& row, TextAttr* defaults) noexcept {
    char hexName[sizeof TextAttr::Name + 4];
    std::snprintf(hexName, sizeof hexName, "%sHEX", row.name);
    return GetSpecialChars(row.name, hexName, &targetOf(row),
                           defaults != nullptr ? defaults : defaultOf(nullptr));
}

void applyTabRule(TextAttr& attr) noexcept {
    bool replaced = replaceTabs(attr, "TAB", 1);
    if (std::strcmp(SG_CharSetName, "UTF16") == 0) {
        const char utf16[] = {'T', 0, 'A', 0, 'B', 0};
        const char utf16BigEndian[] = {0, 'T', 0, 'A', 0, 'B'};
        replaced |= replaceTabs(attr, Platform_Endian() == 2 ? utf16 : utf16BigEndian, 2);
    }
    if (!replaced) return;
    trace(1, kFn, kInfo, "%s %s %s", "Occurances of 'TAB' byte sequence in attribute", attr.Name,
          "is converted to single/double byte tab character for UTF8/UTF16 respectively.");
    trace(1, kFn, kInfo, "%s = '%s' [%d byte(s) %s]", attr.Name, attr.Bytes, attr.Length,
          pHEXvalue(attr.Bytes, attr.Length));
}

int32_t readAppendDelimiter(const FileAttribute& row, bool& present) noexcept {
    auto* value = static_cast<int32_t*>(row.target);
    if (DC_GetYN(row.name, value, 0, row.number, row.size) != 0) return PXSTC_FatalError;
    present = bYNAttrPresent != 0;
    return *value != 0 && !servesThisSide(row) ? refuseForSide(row) : 0;
}

int32_t readTextDelimiter(const FileAttribute& row, bool& present) noexcept {
    int32_t rc = readSpecial(row, defaultOf(row.text));
    if (rc != 0 && rc != kSpecialCharAbsent) return rc;
    present = rc == 0;
    if (present) applyTabRule(targetOf(row));
    return 0;
}

int32_t readEscapeTextDelimiter(const FileAttribute& row, bool& present) noexcept {
    int32_t rc = readEscape(row, bUsingDelimiterEscCharacter, present);
    if (rc != 0 || !present) return rc;
    if (isAllNull(targetOf(row))) {
        refuseNullValue(row);
        return PXSTC_FatalError;
    }
    applyTabRule(targetOf(row));
    return 0;
}

int32_t readOpenQuoteMark(const FileAttribute& row, bool& present) noexcept {
    int32_t rc = readSpecial(row, defaultOf(bQuotedData ? row.text : nullptr));
    present = rc == 0;
    return rc == kSpecialCharAbsent ? 0 : rc;
}

int32_t readCloseQuoteMark(const FileAttribute& row, bool& present) noexcept {
    // Unless given, the close mark is the open mark, taken as it stands.
    const bool openGiven = OpenQuoteMark.Length != 0;
    TextAttr* defaults = bQuotedData && openGiven
                             ? defaultOf(OpenQuoteMark.Bytes, -OpenQuoteMark.Length)
                             : defaultOf(nullptr);
    int32_t rc = readSpecial(row, defaults);
    if (rc != 0 && rc != kSpecialCharAbsent) return rc;
    present = rc == 0;
    if (targetOf(row).Length != 0 && !openGiven) {
        trace(1, kFn, kWarning, "Can not define attribute '%s' without attribute '%s'", row.name,
              "OpenQuoteMark");
        if (ThisInstance == 1) publicMessage(19247, 3, 6, kText, row.name, kText, "OpenQuoteMark");
        raiseExitCodeTo(12);
        return PXSTC_FatalError;
    }
    return 0;
}

int32_t readEscapeQuoteDelimiter(const FileAttribute& row, bool& present) noexcept {
    int32_t rc = readEscape(row, bUsingQuoteEscCharacter, present);
    if (rc != 0 || !present) return rc;
    if (OpenQuoteMark.Length == 0 && CloseQuoteMark.Length == 0) {
        trace(1, kFn, kWarning, "%s '%s' %s '%s' nor '%s' defined.", "Attribute", row.name,
              "defined with neither", "OpenQuoteMark", "CloseQuoteMark");
    }
    TextAttr& escape = targetOf(row);
    if (isAllNull(escape)) {
        refuseNullValue(row);
        raiseExitCodeTo(12);
        return PXSTC_FatalError;
    }
    // A close mark that doubles as its own escape needs no escape handling.
    if (escape.Length == CloseQuoteMark.Length &&
        std::memcmp(escape.Bytes, CloseQuoteMark.Bytes, static_cast<size_t>(escape.Length)) == 0) {
        escape.Length = 0;
        std::memset(escape.Bytes, 0, sizeof escape.Bytes);
    }
    return 0;
}

int32_t readTrimColumns(const FileAttribute& row, bool& present) noexcept {
    resetTrimming();
    const char* value = nullptr;
    int32_t length = 0;
    int32_t rc = fetchText(row, false, false, &value, &length, present);
    if (rc != 0 || !present) return rc;
    if (!servesThisSide(row)) return refuseForSide(row);
    char shown[11];
    std::snprintf(shown, sizeof shown, "%.*s", length, value);
    trace(1, kFn, kInfo, "Attribute '%s' = '%s'", row.name, shown);
    char mode[11];
    upperCaseCopy(mode, sizeof mode, value, length);
    trimColumnsGiven = true;
    if (std::strcmp(mode, "NONE") == 0) return 0;
    if (std::strcmp(mode, "LEADING") == 0) {
        trimMode = kTrimLeading;
    } else if (std::strcmp(mode, "TRAILING") == 0) {
        trimMode = kTrimTrailing;
    } else if (std::strcmp(mode, "BOTH") == 0) {
        trimMode = kTrimBoth;
    } else {
        return refuseValue(kFn, row.name, shown, "None, Both, Leading, or Trailing");
    }
    return 0;
}

int32_t readTrimChar(const FileAttribute& row, bool& present) noexcept {
    if (trimMode == kTrimNone) {
        if (int32_t rc = trimCharGiven(row, present); rc != 0 || !present) return rc;
        if (trimColumnsGiven) {
            trace(1, kFn, kWarning, "Attribute '%s' %s '%s' is '%s'", row.name,
                  "not required when attribute", "TrimColumns", "None");
        } else {
            trace(1, kFn, kWarning, "Attribute '%s' %s '%s'", row.name,
                  "defined without a value for attribute", "TrimColumns");
        }
        return 0;
    }
    int32_t rc = readSpecial(row, defaultOf(row.text));
    if (rc != 0) return rc;
    present = true;
    if (TrimLeadingChar.Length != 1) {
        trace(1, kFn, kWarning, "Attribute '%s' %s", row.name, "value length limited to 1 byte");
        if (ThisInstance == 1) publicMessage(19248, 3, 6, kText, row.name);
        return PXSTC_FatalError;
    }
    const char trimmed = TrimLeadingChar.Bytes[0];
    if (trimMode != kTrimLeading) {
        TrimTrailingChar = TrimLeadingChar;
        cTrimTrailingChar = trimmed;
        bTrimTrailingBlanks = 1;
        bUsingSingleTrimTrailingChar = 1;
    }
    if (trimMode == kTrimTrailing) {
        std::memset(&TrimLeadingChar, 0, sizeof TrimLeadingChar);
        return 0;
    }
    bTrimLeadingBlanks = 1;
    cTrimLeadingChar = trimmed;
    if (trimMode == kTrimLeading) {
        std::memset(&TrimTrailingChar, 0, sizeof TrimTrailingChar);
    } else {
        bUsingSingleTrimLeadingChar = 1;
    }
    return 0;
}

int32_t readEscapeRecordDelimiter(const FileAttribute& row, bool& present) noexcept {
    TrimLeadingNchars = TrimTrailingNchars = 0;
    int32_t rc = readSpecial(row, nullptr);
    if (rc == kSpecialCharAbsent) return 0;
    if (rc != 0) return PXSTC_NotSupported;
    present = true;
    if (isAllNull(targetOf(row))) {
        refuseNullValue(row);
        return PXSTC_NotSupported;
    }
    return 0;
}

int32_t readGeneralUddiCase(const FileAttribute& row, bool& present) noexcept {
    bUsingSingleByteDelimiter = formatIsDelimited() && TextDelimiter.Length == 1;
    dcSetUDDIParsingCase();
    int32_t general = 0;
    if (DC_GetYN(row.name, &general, 0, row.number, row.size) != 0) return PXSTC_FatalError;
    present = bYNAttrPresent != 0;
    if (general == 1) {
        trace(1, kFn, kWarning, "!ALERT! UDDI_ParsingCase changed from %d to %d.", UDDI_ParsingCase,
              kGeneralParsingCase);
        UDDI_ParsingCase = kGeneralParsingCase;
    }
    if (formatIsDelimited()) trace(1, kFn, kInfo, "UDDI_ParsingCase=%d", UDDI_ParsingCase);
    return 0;
}

}  // namespace bu::dc
