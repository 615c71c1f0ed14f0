// Delimited records read from a file: the job's settings as the parser
// takes them.
#include "delimited_parse.h"

#include "charsets.h"
#include "file_catalogue.h"
#include "file_settings.h"
#include "initiation.h"

namespace bu::dc {

using rf::markOf;

namespace {

uint8_t byteOf(char c) {
    return static_cast<uint8_t>(c);
}

}  // namespace

rf::ParseSettings parseSettingsOfJob(rf::Mark recordEnd, bool recordErrorsKept) noexcept {
    rf::ParseSettings s;
    s.delimiter = markOf(TextDelimiter);
    s.escapeDelimiter = markOf(EscapeTextCharacter);
    if (bQuotedData != 0) {
        s.openQuote = markOf(OpenQuoteMark);
        s.closeQuote = markOf(CloseQuoteMark);
        s.escapeQuote = markOf(EscapeQuoteCharacter);
    }
    s.trimLeading = markOf(TrimLeadingChar);
    s.trimTrailing = markOf(TrimTrailingChar);
    s.escapeRecordEnd = markOf(EscapeRecDelim);
    s.recordEnd = recordEnd;
    s.delimiterByte = byteOf(cDelimiter);
    s.escapeDelimiterByte = byteOf(cEscapeTextCharacter);
    s.openQuoteByte = byteOf(cOpenQuoteMark);
    s.closeQuoteByte = byteOf(cCloseQuoteMark);
    s.escapeQuoteByte = byteOf(cEscapeQuoteCharacter);
    s.trimLeadingByte = byteOf(cTrimLeadingChar);
    s.trimTrailingByte = byteOf(cTrimTrailingChar);
    s.trimLeadingCount = TrimLeadingNchars;
    s.trimTrailingCount = TrimTrailingNchars;
    s.quotedData = bQuotedData;
    s.nullColumns = bNullColumns != 0;
    s.truncate = TruncateColumnsOpt != 0 || bTruncateUTF8 != 0;
    s.acceptMissing = SG_AcceptMissingColumns != 0;
    s.keepsBadRecords = recordErrorsKept;
    return s;
}

}  // namespace bu::dc
