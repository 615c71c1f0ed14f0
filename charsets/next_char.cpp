// The walk of text one character at a time: the length of the character at
// a position through the set's checker, and what an invalid one does to the
// job. dcCheckNextChar serves the record writers and the record reader,
// dcCheckNextCharNew the column parser.
#include <cstdint>

#include "charsets.h"
#include "dc_messages.h"
#include "file_path_globals.h"
#include "pmdcomt.h"

extern "C" {
int32_t bCheckTolerant = 0;
}

namespace {

using bu::dc::kInfo;
using bu::dc::trace;

constexpr int32_t kDumpMessage = 19005;
constexpr uint32_t kDumpBytes = 8;

// A checker that answered "multi-byte" with no length.
bool zeroLengthCharacter = false;

bu::charsets::WalkReports reports = {};

void dumpFileInfo() {
    if (reports.dumpFileInfo != nullptr) reports.dumpFileInfo(-1);
}

void checkCharacter(const char* fn, const char* text, int32_t* length) {
    if (IsMBC(text, length) == 0) {
        *length = 1;
        zeroLengthCharacter = false;
    } else if (*length == 0) {
        zeroLengthCharacter = true;
        trace(1, fn, kInfo, "!ERROR! zero length character encountered in row %d",
              static_cast<int32_t>(RowCount));
    } else {
        zeroLengthCharacter = false;
    }
}

void traceInvalidCharacter(const char* fn, const char* text, const char* side, uint32_t offset) {
    if (DC_TraceLvl <= 1) return;
    trace(1, fn, kInfo, "!ERROR! Invalid MBC encountered in row %d",
          static_cast<int32_t>(RowCount));
    pmHexDmp(kDumpMessage, kDumpBytes, text, kDumpBytes, "hex:", 0);
    trace(1, fn, kInfo, "!ERROR! invalid %s character at %s buffer offset x'%08X'", SG_CharsetName,
          side, offset);
    trace(1, fn, kInfo, "This is a fatal error");
}

}  // namespace

void bu::charsets::installWalkReports(const WalkReports& installed) noexcept {
    reports = installed;
}

extern "C" int32_t dcCheckNextChar(const char* Text, uint32_t Offset, int32_t* Length) noexcept {
    static const char kFn[] = "dcCheckNextChar";
    checkCharacter(kFn, Text, Length);
    if (badmbcs) traceInvalidCharacter(kFn, Text, "output", Offset);
    if (bCheckTolerant) return 0;
    if (!zeroLengthCharacter && !badmbcs) return 0;
    dumpFileInfo();
    return bu::charsets::kInvalidCharacter;
}

int32_t bu::charsets::checkParsedCharacter(const char* text, uint32_t offset, int32_t* length,
                                           int32_t* errorColumn, int32_t column) noexcept {
    static const char kFn[] = "dcCheckNextCharNew";
    checkCharacter(kFn, text, length);
    if (badmbcs) traceInvalidCharacter(kFn, text, "input", offset);
    if (*length != 0 && !badmbcs) return 0;
    dumpFileInfo();
    *errorColumn = column + 1;
    return bu::charsets::kInvalidCharacter;
}

extern "C" int32_t dcCheckNextCharNew(const char* Text, int32_t* Length, int32_t* ErrorColumn,
                                      int32_t Column) noexcept {
    // The record is parsed in place in pmBuffer, so the distance from its
    // start is the offset within the record.
    auto start = reinterpret_cast<uintptr_t>(pmBuffer.Data);
    auto at = reinterpret_cast<uintptr_t>(Text);
    return bu::charsets::checkParsedCharacter(Text, static_cast<uint32_t>(at - start), Length,
                                              ErrorColumn, Column);
}
