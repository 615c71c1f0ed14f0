// The texts of the delimited parser's errors, one per error number.
#include <cstdio>

#include "delimited_parser.h"

namespace bu::rf {
namespace {

constexpr char kWhat[] = "Delimited Data Parsing";

const char* columnName(const ParseErrorContext& context, int32_t column) {
    const ParseColumns* columns = context.columns;
    if (columns == nullptr || context.names == nullptr || column < 1 || column > columns->count ||
        context.names[column - 1] == nullptr) {
        return "(null)";
    }
    return context.names[column - 1];
}

int32_t asInt(uint32_t value) {
    return static_cast<int32_t>(value);
}

}  // namespace

void formatParseError(const ParseResult& result, const ParseErrorContext& context, char* out,
                      size_t size) noexcept {
    const int32_t record = asInt(context.recordNumber);
    const int32_t row = asInt(context.rowNumber);
    const int32_t column = result.errorColumn;
    const char* name = columnName(context, column);
    switch (result.error) {
        case kParseTooManyColumns:
            std::snprintf(out, size, "%s error: Too many columns in row %d", kWhat, row);
            break;
        case kParseTooFewColumns:
            std::snprintf(out, size, "%s error: Too few columns in row %d", kWhat, row);
            break;
        case kParseOverflow: {
            const ParseColumns* columns = context.columns;
            const bool known = columns != nullptr && column >= 1 && column <= columns->count;
            std::snprintf(out, size,
                          "%s error: Field length overflow(s) in record %d, field %d, '%s'. "
                          "Expected %d bytes, received %d bytes.",
                          kWhat, record, column, name,
                          known ? asInt(columns->maxLengths[column - 1]) : 0,
                          known ? asInt(columns->receivedLengths[column - 1]) : 0);
            break;
        }
        case kParseNoMemory:
            std::snprintf(out, size, "%s error: Memory allocation error ar row %d", kWhat, record);
            break;
        case kParseBadCharacter:
            std::snprintf(out, size,
                          "%s error: Invalid multi-byte character in record %d, field %d, '%s'",
                          kWhat, record, column, name);
            break;
        case kParseNotInitialised:
            std::snprintf(out, size, "%s error: Schema not defined", kWhat);
            break;
        case kParseUnsupportedCase:
            std::snprintf(out, size, "%s error: Unsupported UDDI parsing case '%d'", kWhat,
                          context.parsingCase);
            break;
        case kParseNoOpenQuote:
            std::snprintf(out, size,
                          "%s error: First character not open quote mark in record %d, field %d, "
                          "'%s'",
                          kWhat, record, column, name);
            break;
        case kParseNoDelimiterAfterQuote:
            std::snprintf(out, size, "%s error: %s %d, col %d", kWhat,
                          "Delimiter did not immediately follow close quote mark in row", record,
                          column);
            break;
        case kParseBadQuoteEscape:
            std::snprintf(out, size, "%s error: %s in row %d, col %d", kWhat,
                          "QuoteEscape should be followed by OpenQuote or CloseQuote or "
                          "QuoteEscape",
                          record, column);
            break;
        case kParseBadDelimiterEscape:
            std::snprintf(out, size, "%s error: %s %d, col %d", kWhat,
                          "DelimiterEscape should be followed by DelimiterEscape or Delimeter",
                          record, column);
            break;
        case kParseRecordTooLarge:
            std::snprintf(out, size, "%s error: %s on row %d", kWhat,
                          "Input record exceeds allocated storage", record);
            break;
        case kParseNoLobFile:
            std::snprintf(out, size,
                          "%s error: Could not create temporary LOB file in row %d, column %d",
                          kWhat, record, column);
            break;
        case kParseNoLobControlFile:
            std::snprintf(out, size,
                          "%s error: Could not write to the LOB control file for row %d, column "
                          "%d",
                          kWhat, record, column);
            break;
        case kParseUnknown:
            std::snprintf(out, size, "%s error: Unknown fatal parsing error in row %d", kWhat,
                          record);
            break;
        default:
            std::snprintf(out, size, "%s error: Unknown (%d) fatal syntax error in row %d", kWhat,
                          result.error, record);
            break;
    }
}

}  // namespace bu::rf
