// Random bytes through every checker and through the parser's character
// walk under every set. The text ends in one zero byte and nothing more, so
// a checker that reads past the end of its text is caught by the sanitizer.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

#include "charsets.h"
#include "dc_messages.h"
#include "pmdcomt.h"

namespace {

const char* const kSets[] = {"ASCII",
                             "UTF8",
                             "UTF16",
                             "UCS-2",
                             "SCHINESE936_6R0",
                             "SCHGB2312_1T0",
                             "KANJIEUC_0U",
                             "SDKANJIEUC_1U3",
                             "KANJISJIS_0S",
                             "SDKANJISJIS_1S3",
                             "KANJI932_1S0",
                             "TCHBIG5_1R0",
                             "SDTCHBIG5_3R0",
                             "HANGULKSC5601_2R4",
                             "SDHANGULKSC5601_4R4"};

const IsMBC_t kCheckers[] = {IsMBC__EUC, IsMBC__SJIS,   IsMBC__BIG5,  IsMBC__KSC,
                             IsMBC__GBK, IsMBC__GB2312, IsMBC__UTF16, IsMBC__UTF8};

void fail() {
    __builtin_trap();
}

// Every position through a checker: a length it reports for a valid
// multi-byte character lies between 2 and 4.
void eachChecker(const char* text, size_t size) {
    for (IsMBC_t checker : kCheckers) {
        for (size_t i = 0; i < size; ++i) {
            int32_t length = -1;
            badmbcs = 0;
            if (checker(text + i, &length) != 0 && !badmbcs && (length < 2 || length > 4)) fail();
        }
    }
}

// The parser's walk: stops at the first invalid character, never moves by
// less than one byte.
void walk(const char* text, size_t size) {
    pmBuffer.Data = const_cast<char*>(text);
    pmBuffer.Length = static_cast<uint32_t>(size);
    size_t at = 0;
    while (at < size) {
        int32_t length = 0;
        int32_t errorColumn = 0;
        if (dcCheckNextCharNew(text + at, &length, &errorColumn, 3) != 0) {
            if (errorColumn != 4) fail();
            break;
        }
        if (length < 1 || length > 4) fail();
        at += static_cast<size_t>(length);
    }
    pmBuffer.Data = nullptr;
    pmBuffer.Length = 0;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    DC_TraceLvl = 0;
    std::vector<char> text(size + 1, '\0');
    if (size != 0) std::memcpy(text.data(), data, size);
    // Zero bytes inside are data like any other: every checker stops its
    // look-ahead at one, and the UTF-16 checker reads no further than the
    // second byte of its unit.
    eachChecker(text.data(), size);
    for (const char* set : kSets) {
        if (pmSetCharSet(set) == PXSTC_FatalError) fail();
        // UTF-16 text is walked in whole code units.
        size_t walked = (SG_UTF_CharsetNum == 2) ? size & ~size_t{1} : size;
        walk(text.data(), walked);
    }
    return 0;
}
