// The delimited set-up at schema time, and its release at the end of the
// job: the parsing case checked, the marks cached for the record writer,
// the conversion table and the number work value made when the schema has
// columns to render, and the parser's blocks for a producer.
#include <cstdlib>

#include "charsets.h"
#include "column_text.h"
#include "dc_messages.h"
#include "delimited_export.h"
#include "delimited_parse.h"
#include "delimited_writer.h"
#include "file_settings.h"
#include "initiation.h"
#include "schema.h"

using namespace bu::dc;

extern "C" {
int32_t bMultiByteOpenQuote = 0;
pmData pmBufferTarget = {};
pmData pmBufferOrig = {};
uint32_t pmBufferTargetSize = 0;
}

namespace {

constexpr int32_t kNoMemory = 4;
constexpr int32_t kUnsupportedCase = 7;
constexpr const char* kNoMemoryText = "Unable to allocate memory for delimited data";

// Every digit of the case picks a loop of the parser: the character set and
// the delimiter are one or two bytes (1 or 2), each of the four marks below
// them absent, one byte or longer (0 to 2). The trimming digit isn't tested.
bool supportedCase(int32_t parsingCase) {
    if (parsingCase < 1) return false;
    for (int32_t unit : {1000000, 100000}) {
        const int32_t digit = parsingCase / unit % 10;
        if (digit < 1 || digit > 2) return false;
    }
    for (int32_t unit : {10000, 1000, 100, 10}) {
        if (parsingCase / unit % 10 > 2) return false;
    }
    return true;
}

const char* quotedDataText() {
    if (bQuotedData == 0) return " (QUOTED DATA: No)";
    return bQuotedData == 1 ? " (QUOTED DATA: Yes)" : " (QUOTED DATA: Optional)";
}

int32_t makeConvertTable() {
    bu::rf::releaseDelimitedBuffers();
    if (!ConvertDelimitedData) return 0;
    if (!bu::rf::createConvertTable(SG_ColCount, SG_ColTypes)) {
        traceError("ValidateUDDIcase", "%s %s %d bytes.", kNoMemoryText,
                   "convert buffer.  Memory requested",
                   SG_ColCount * static_cast<int32_t>(sizeof(ConvertRecord)));
        return kNoMemory;
    }
    bu::rf::initNumberContext();
    return 0;
}

void freeBlock(pmData& block) {
    std::free(block.Data);
    block.Data = nullptr;
    block.Length = 0;
}

}  // namespace

extern "C" int32_t ValidateUDDIcase(void) noexcept {
    static const char kFn[] = "ValidateUDDIcase";
    trace(1, kFn, kInfo, "Validating parsing case: %d.", UDDI_ParsingCase);
    if (!supportedCase(UDDI_ParsingCase)) {
        traceError(kFn, " Unsupported parsing case.");
        return kUnsupportedCase;
    }
    trace(1, kFn, kInfo, "%s%s", UsingSingleByteCharSet ? "SBCS" : "MBCS", quotedDataText());
    bu::rf::setDelimitedSettings(
        {bu::rf::markOf(TextDelimiter), bu::rf::markOf(OpenQuoteMark),
         bu::rf::markOf(CloseQuoteMark), bu::rf::markOf(EscapeTextCharacter),
         bu::rf::markOf(EscapeQuoteCharacter), bQuotedData, bAppendDelimiter});
    bMultiByteOpenQuote = OpenQuoteMark.Length >= 2 ? 1 : 0;
    return makeConvertTable();
}

extern "C" int32_t dcCreateUDDIBuffers(void) noexcept {
    static const char kFn[] = "dcCreateUDDIBuffers";
    if (OperatorType != PX_OPERATOR_TYPE_PRODUCER || !isDelimited() ||
        pmBufferTarget.Data != nullptr) {
        return 0;
    }
    uint32_t maxRowLength = 0;
    for (int32_t i = 0; i < SG_ColCount; ++i) maxRowLength += SG_ColLensBase[i];
    trace(1, kFn, kInfo, "MaxRowLength = %u", maxRowLength);
    const uint32_t size =
        maxRowLength + NumIndBytes + static_cast<uint32_t>(SG_ColCount) * 8 + 1000;
    pmBufferTarget.Data = std::malloc(size);
    pmBufferOrig.Data = std::malloc(size);
    if (pmBufferTarget.Data == nullptr || pmBufferOrig.Data == nullptr) {
        traceError(kFn, "%s %s %u bytes.", kNoMemoryText, "target buffer.  Memory requested", size);
        freeBlock(pmBufferTarget);
        freeBlock(pmBufferOrig);
        return kNoMemory;
    }
    pmBufferTargetSize = size;
    trace(1, kFn, kInfo, "Allocated pmBufferTarget and pmBufferOrig of size %u", size);
    return 0;
}

extern "C" void dcfini(void) noexcept {
    bu::rf::releaseDelimitedBuffers();
    freeBlock(pmBufferTarget);
    freeBlock(pmBufferOrig);
    pmBufferTargetSize = 0;
    bu::dc::freeExtractWork();
    bu::charsets::freeHexValueText();
    bu::rf::releaseNumberContext();
}
