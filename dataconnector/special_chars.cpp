// Reading one delimiter-like attribute: the plain value or its hexadecimal
// twin (never both), else the default, then, for a UTF16 job, the plain
// value converted from the UTF-8 in which users write it.
#include <cstdlib>
#include <cstring>

#include "attributes.h"
#include "charsets.h"
#include "dc_messages.h"
#include "initiation.h"
#include "special_chars.h"

using namespace bu::dc;

namespace {

constexpr char kFn[] = "GetSpecialChars";
constexpr int32_t kMaxValue = 100;

// Where a value came from.
struct ValueSource {
    bool hex = false;
    bool plain = false;
    bool final = false;
};

// Reads one optional attribute of at most 100 bytes. Returns the fetch's
// result; `present` tells whether it was there.
int32_t readValue(const char* name, const char** value, bool* present) {
    void* raw = nullptr;
    int32_t length = 0;
    int32_t status = 0;
    int32_t rc = dcGetAttribute(kFn, name, &raw, 0, kMaxValue, 0, &length, &status);
    *present = rc == 0 && status == 0;
    *value = static_cast<const char*>(raw);
    return rc;
}

void storeValue(TextAttr* attr, const char* bytes, int32_t length) {
    std::memcpy(attr->Bytes, bytes, static_cast<size_t>(length));
    attr->Bytes[length] = '\0';
    attr->Length = length;
}

// Reads the twin and decodes it. The host's value is decoded in a copy, so
// that a later read of the same attribute still sees the digits.
int32_t readHexTwin(const char* hexName, TextAttr* attr, bool* present) {
    const char* value = nullptr;
    if (int32_t rc = readValue(hexName, &value, present); rc != 0) return rc;
    if (!*present) return 0;
    char digits[kMaxValue + 1];
    std::memcpy(digits, value, static_cast<size_t>(PX_Len));
    digits[PX_Len] = '\0';
    if (ConvertHEX(digits, hexName) != 0) return PXSTC_FatalError;
    storeValue(attr, digits, PX_Len);
    return 0;
}

int32_t redundant(const char* name, const char* hexName) {
    trace(1, kFn, kWarning, "Redundant attributes defined: '%s' and '%s'", name, hexName);
    if (ThisInstance == 1) publicMessage(19128, 3, 6, kText, name, kText, hexName);
    raiseExitCodeTo(8);
    return kSpecialCharRedundant;
}

void takeDefault(TextAttr* attr, TextAttr* defaults, ValueSource* source) {
    if (defaults->Length < 0) {
        defaults->Length = -defaults->Length;
        source->final = true;
    }
    int32_t length = defaults->Length <= kMaxValue ? defaults->Length : kMaxValue;
    storeValue(attr, defaults->Bytes, length);
    trace(1, kFn, kWarning, "%s attribute not specified, default '%s' being used", attr->Name,
          attr->Bytes);
    publicMessage(19203, 2, 4, kText, attr->Name, kText, attr->Bytes);
}

void traceValue(const TextAttr* attr) {
    if (DC_TraceLvl <= 1) return;
    if (IsUnicodeCS == 1) {
        trace(1, kFn, kInfo, "%s = '%s' [%d byte(s)]", attr->Name,
              pHEXvalue(attr->Bytes, attr->Length), attr->Length);
    } else {
        trace(1, kFn, kInfo, "%s = '%s' [%d byte(s) %s]", attr->Name, attr->Bytes, attr->Length,
              pHEXvalue(attr->Bytes, attr->Length));
    }
}

bool jobIsUtf16() {
    return std::strcmp(SG_CharSetName, "UTF16") == 0 || std::strcmp(SG_CharSetName, "62") == 0;
}

// The conversion writes into the record itself, whose 100 bytes hold 50
// UTF-16 units; a value that needs more fails rather than overrun it.
int32_t convertToUtf16(TextAttr* attr) {
    const size_t size = static_cast<size_t>(attr->Length) + 1;
    char* copy = static_cast<char*>(std::malloc(size));
    if (copy == nullptr) {
        trace(1, kFn, kWarning, " unable to allocate memory for '%s' conversion", attr->Name);
        char bytes[32];
        std::snprintf(bytes, sizeof bytes, "%zu", size);
        publicMessage(19140, 3, 6, kText, bytes);
    } else {
        std::memcpy(copy, attr->Bytes, size);
        int32_t converted = UTF8toUTF16(copy, attr->Length, reinterpret_cast<UChar*>(attr->Bytes),
                                        kTextAttrUtf16Units);
        std::free(copy);
        if (converted > 0) {
            attr->Length = converted;
            attr->Bytes[converted] = '\0';
            trace(1, kFn, kInfo, "Attribute converted from UTF8 to UTF16");
            trace(1, kFn, kInfo, "%s = %s [%d bytes]", attr->Name,
                  pHEXvalue(attr->Bytes, attr->Length), attr->Length);
            return 0;
        }
        trace(1, kFn, kWarning, " Unable to convert '%s' from UTF8 to UTF16", attr->Name);
        publicMessage(19154, 3, 6);
    }
    trace(1, kFn, kWarning, "Could not convert '%s' from UTF8 to UTF16", attr->Name);
    publicMessage(19154, 3, 6);
    return PXSTC_FatalError;
}

}  // namespace

extern "C" int32_t GetSpecialChars(const char* Name, const char* HexName, TextAttr* Attr,
                                   TextAttr* Defaults) noexcept {
    if (dcCheckForStrOverflow(kFn, sizeof Attr->Name, Name, 2) != 0) return PXSTC_FatalError;
    std::memset(Attr, 0, sizeof *Attr);
    std::strcpy(Attr->Name, Name);

    ValueSource source;
    if (int32_t rc = readHexTwin(HexName, Attr, &source.hex); rc != 0) return rc;
    const char* plainValue = nullptr;
    if (int32_t rc = readValue(Name, &plainValue, &source.plain); rc != 0) return rc;

    if (source.hex && source.plain) return redundant(Name, HexName);
    if (!source.hex && !source.plain) {
        if (Defaults == nullptr || Defaults->Length == 0) {
            Attr->Length = 0;
            trace(1, kFn, kWarning, "%s attribute not specified, there is no default", Name);
            return kSpecialCharAbsent;
        }
        takeDefault(Attr, Defaults, &source);
    }
    if (source.plain) storeValue(Attr, plainValue, PX_Len);
    traceValue(Attr);

    if (source.final || !jobIsUtf16()) return 0;
    if (source.hex) {
        trace(1, kFn, kInfo, "Attribute specified in hexadecimal - %s",
              "not converting from UTF8 to UTF16");
        return 0;
    }
    return convertToUtf16(Attr);
}
