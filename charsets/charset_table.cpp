// The table of character sets and the selection of the job's set by number
// or by name. Selection runs once, when the access layer starts, before any
// file is read or written.
#include <cctype>
#include <cstdlib>
#include <cstring>

#include "charset_routines.h"
#include "charsets.h"
#include "dc_messages.h"
#include "pmdcomt.h"

namespace {

using bu::dc::kInfo;
using bu::dc::trace;

constexpr int32_t kUnsupportedCharsetMessage = 19465;

int32_t singleByteChecker(const char*, int32_t* length) noexcept {
    *length = 1;
    badmbcs = 0;
    return 0;
}

void installRoutines(IsMBC_t checker, UpperCase_t upper) {
    IsMBC = checker;
    UpperCase = upper;
    PassThrough = bu::charsets::passThrough;
}

void initAscii() {
    installRoutines(singleByteChecker, bu::charsets::upperCaseBytes);
    IsUnicodeCS = 0;
}

void initUtf8() {
    installRoutines(IsMBC__UTF8, bu::charsets::upperCaseCharacters);
    SG_UTF_CharsetNum = 3;
    IsUnicodeCS = 1;
}

void initUtf16() {
    installRoutines(IsMBC__UTF16, bu::charsets::upperCaseCharacters);
    bu::charsets::setUtf16ByteOrder(Platform_Endian());
    SG_UTF_CharsetNum = 2;
    IsUnicodeCS = 1;
}

template <IsMBC_t Checker>
void initMultiByte() {
    installRoutines(Checker, bu::charsets::upperCaseCharacters);
    IsUnicodeCS = 0;
}

struct CharsetRow {
    const char* name;
    void (*init)();
    int32_t code;  // numeric selection, 0 for none
};

// Searched in this order; the last row stands for every other name.
constexpr CharsetRow kCharsets[] = {
    {"ASCII", initAscii, 0},
    {"UTF8", initUtf8, 63},
    {"UTF16", initUtf16, 62},
    {"UCS-2", initUtf16, 0},
    {"SCHINESE936_6R0", initMultiByte<IsMBC__GBK>, 0},
    {"SCHGB2312_1T0", initMultiByte<IsMBC__GB2312>, 121},
    {"KANJIEUC_0U", initMultiByte<IsMBC__EUC>, 118},
    {"SDKANJIEUC_1U3", initMultiByte<IsMBC__EUC>, 91},
    {"KANJISJIS_0S", initMultiByte<IsMBC__SJIS>, 119},
    {"SDKANJISJIS_1S3", initMultiByte<IsMBC__SJIS>, 92},
    {"KANJI932_1S0", initMultiByte<IsMBC__SJIS>, 0},
    {"TCHBIG5_1R0", initMultiByte<IsMBC__BIG5>, 122},
    {"SDTCHBIG5_3R0", initMultiByte<IsMBC__BIG5>, 95},
    {"HANGULKSC5601_2R4", initMultiByte<IsMBC__KSC>, 120},
    {"SDHANGULKSC5601_4R4", initMultiByte<IsMBC__KSC>, 93},
    {nullptr, initAscii, 0},
};

const char* nameForCode(long code) {
    for (const CharsetRow& row : kCharsets) {
        if (row.name != nullptr && row.code != 0 && row.code == code) return row.name;
    }
    return nullptr;
}

void cutTrailingWhiteSpace(char* text) {
    size_t n = std::strlen(text);
    while (n > 0 && std::isspace(static_cast<unsigned char>(text[n - 1]))) text[--n] = '\0';
}

// Names of single-byte sets follow the pattern "..._xA...": an underscore
// with at least two characters behind it, the second of them an A. Any
// underscore of the name may open it, so EBCDIC_0E_0A qualifies.
bool looksLikeSingleByteName(const char* name) {
    for (const char* u = std::strchr(name, '_'); u != nullptr; u = std::strchr(u + 1, '_')) {
        if (u[1] != '\0' && u[2] == 'A') return true;
    }
    return false;
}

void traceByteWidth() {
    trace(1, "pmSetCharSet", kInfo, "%s-byte character set in use",
          UsingSingleByteCharSet ? "Single" : "Multi");
}

}  // namespace

extern "C" {
IsMBC_t IsMBC = singleByteChecker;
UpperCase_t UpperCase = bu::charsets::upperCaseBytes;
PassThrough_t PassThrough = bu::charsets::passThrough;

char SG_CharsetName[31] = {};
int32_t UsingSingleByteCharSet = 0;
int32_t SG_UTF_CharsetNum = 0;
int32_t IsUnicodeCS = 0;
int32_t bUnsupportedCharacterSet = 0;
}

extern "C" int32_t is_it_a_number(const char* Text) noexcept {
    for (const char* p = Text; *p != '\0'; ++p) {
        if (!std::isdigit(static_cast<unsigned char>(*p))) return 0;
    }
    return 1;
}

extern "C" int32_t Init_MBCS(const char* Name) noexcept {
    static const char kFn[] = "Init_MBCS";
    if (Name == nullptr) Name = "";  // no name: generic processing, as for an unknown one
    if (dcCheckForStrOverflow(kFn, sizeof SG_CharsetName, Name, 2) != 0) {
        bu::dc::publicMessage(kUnsupportedCharsetMessage, 3, 6);
        return PXSTC_FatalError;
    }
    std::strcpy(SG_CharsetName, Name);
    cutTrailingWhiteSpace(SG_CharsetName);
    bUnsupportedCharacterSet = 0;

    for (const CharsetRow& row : kCharsets) {
        if (row.name == nullptr) break;
        if (std::strcmp(row.name, SG_CharsetName) == 0) {
            trace(1, kFn, kInfo, "Established character set %s", SG_CharsetName);
            row.init();
            return std::strcmp(row.name, "UCS-2") == 0 ? bu::charsets::kUcs2 : 0;
        }
        trace(2, kFn, kInfo, "comparing: '%s' with '%s'", SG_CharsetName, row.name);
    }
    if (looksLikeSingleByteName(SG_CharsetName)) {
        trace(1, kFn, kInfo, "Established character set %s", SG_CharsetName);
        UsingSingleByteCharSet = 1;
        initAscii();
        return 0;
    }
    bUnsupportedCharacterSet = 1;
    trace(1, kFn, kInfo, "Requested character set not recognized.");
    trace(1, kFn, kInfo, "Using generic, single-byte processing.");
    UsingSingleByteCharSet = 1;
    initAscii();
    return bu::charsets::kGeneric;
}

extern "C" int32_t pmSetCharSet(const char* Name) noexcept {
    static const char kFn[] = "pmSetCharSet";
    if (Name == nullptr) Name = "";  // no name: generic processing, as for code 0
    trace(1, kFn, kInfo, "Initializing with CharSet = '%s'.", Name);
    UsingSingleByteCharSet = 0;
    SG_UTF_CharsetNum = 0;

    if (is_it_a_number(Name)) {
        long code = std::strtol(Name, nullptr, 10);
        trace(1, kFn, kInfo, "Numeric CSNum=%ld", code);
        if (code > 255) {
            trace(1, kFn, kInfo, "Invalid numeric character set value");
            return bu::charsets::kBadNumeric;
        }
        const char* name = nameForCode(code);
        if (name != nullptr) {
            (void)Init_MBCS(name);  // a listed code always counts as established
            traceByteWidth();
            return 0;
        }
        UsingSingleByteCharSet = 1;
        (void)Init_MBCS("ASCII");
        traceByteWidth();
        return bu::charsets::kGeneric;
    }

    // A name too long for the copy is handed on as it stands: Init_MBCS
    // refuses it for its length, which the case doesn't change.
    char upper[256];
    const char* established = Name;
    if (std::strlen(Name) < sizeof upper) {
        std::strcpy(upper, Name);
        bu::charsets::upperCaseBytes(upper, static_cast<int32_t>(std::strlen(upper)));
        established = upper;
    }
    trace(1, kFn, kInfo, "Alphabetic CSName=%s", established);
    UsingSingleByteCharSet = std::strncmp(established, "ASCII", 5) == 0 ? 1 : 0;
    int32_t rc = Init_MBCS(established);
    if (rc != PXSTC_FatalError) traceByteWidth();
    return rc;
}
