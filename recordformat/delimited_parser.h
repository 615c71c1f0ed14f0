/*
 * delimited_parser.h - one delimited text record split into the schema's
 * columns, in place: escapes and doubled quote marks are removed by moving
 * the rest of the record left, quotes are taken off, columns trimmed and
 * cut to the schema, and the columns' texts end up back to back in a
 * target block, with their offsets, lengths and NULL flags.
 *
 * The settings of a job are folded into a seven-digit parsing case (see
 * dcSetUDDIParsingCase); each case runs a loop made for it, which compares
 * bytes where one byte is all the case can hold and leaves out what the case
 * can't need. Every loop is the general machine with parts removed, and
 * gives its results, but for a few rules of its own (loopOfCase's shapes
 * say which).
 */
#ifndef BU_RECORDFORMAT_DELIMITED_PARSER_H
#define BU_RECORDFORMAT_DELIMITED_PARSER_H

#include <cstddef>
#include <cstdint>

#include "bu_export.h"
#include "delimited_writer.h"

extern "C" {
// Drops the trim characters at both ends of every field of the delimited
// record in pmBuffer, before it is parsed; one-byte delimiters only.
BU_API void TrimBlanks(void) noexcept;
}

namespace bu::rf {

// The job's marks and options as the parser reads them, taken afresh for
// each record. A mark of length 0 isn't in use.
struct ParseSettings {
    Mark delimiter;
    Mark escapeDelimiter;  // EscapeTextCharacter
    Mark openQuote;
    Mark closeQuote;
    Mark escapeQuote;      // EscapeQuoteCharacter
    Mark trimLeading;      // TrimLeadingChar
    Mark trimTrailing;     // TrimTrailingChar
    Mark escapeRecordEnd;  // EscapeRecDelim
    Mark recordEnd;        // the file's end-of-record mark
    // The single-byte copies the one-byte loops compare with (cDelimiter and
    // the others), valid where the mark has one byte.
    uint8_t delimiterByte = 0;
    uint8_t escapeDelimiterByte = 0;
    uint8_t openQuoteByte = 0;
    uint8_t closeQuoteByte = 0;
    uint8_t escapeQuoteByte = 0;
    uint8_t trimLeadingByte = 0;
    uint8_t trimTrailingByte = 0;
    int32_t trimLeadingCount = 0;   // TrimLeadingNchars
    int32_t trimTrailingCount = 0;  // TrimTrailingNchars
    int32_t quotedData = 0;         // 1: every column must be quoted or empty
    bool nullColumns = false;       // an empty unquoted column is NULL
    bool truncate = false;          // cut long columns instead of refusing
    bool acceptMissing = false;     // AcceptMissingColumns
    bool keepsBadRecords = false;   // a record error file is open
};

// The schema's columns and where the parser leaves each one.
struct ParseColumns {
    int32_t count = 0;
    const uint32_t* maxLengths = nullptr;  // SG_ColLensBase; 0: no limit
    uint32_t* offsets = nullptr;           // SG_ColOffs
    uint32_t* lengths = nullptr;           // SG_ColLens
    uint32_t* receivedLengths = nullptr;   // SG_ColLensOrig
    uint8_t* indicators = nullptr;         // SG_IndBytes: 1 for NULL
};

// The blocks a parse writes to: the row's target and the byte length of
// each character of the column at hand.
struct ParseWork {
    uint8_t* target = nullptr;
    uint32_t targetSize = 0;
    uint32_t* characterLengths = nullptr;  // at least one entry per record byte
};

// Errors of the parse (the ledger's numbers).
enum ParseError : int32_t {
    kParseTooManyColumns = 1,
    kParseTooFewColumns = 2,
    kParseOverflow = 3,
    kParseNoMemory = 4,
    kParseBadCharacter = 5,
    kParseNotInitialised = 6,
    kParseUnsupportedCase = 7,
    kParseNoOpenQuote = 8,
    kParseNoDelimiterAfterQuote = 9,
    kParseBadQuoteEscape = 10,
    kParseBadDelimiterEscape = 11,
    kParseRecordTooLarge = 12,
    kParseNoLobFile = 13,
    kParseNoLobControlFile = 14,
    kParseUnknown = 999,
};

struct ParseResult {
    int32_t error = 0;
    int32_t errorColumn = 0;          // from 1, for errors that name a column
    int32_t columnsFound = 0;         // ActualColumnCount; 0 when the parse stopped early
    int32_t firstOverflowColumn = 0;  // from 1; 0 none
    uint32_t dataBytes = 0;           // text bytes of the schema's columns
    uint32_t rowLength = 0;           // bytes of the row in the target
    bool rowMade = false;             // the columns found stand in the target
};

// The loop of a parsing case: 1 to 22, or 0 for the general machine.
int32_t loopOfCase(int32_t parsingCase) noexcept;

// Parses `record` (`length` bytes, altered in place) by the loop of
// `parsingCase`; a case no loop serves (0 among them) runs the general
// machine. Where the result says `rowMade`, the columns found stand in the
// target, their offsets counted from its start; the error is then 0, or 1,
// 2 or 3 for a row that is complete as far as it goes.
ParseResult parseDelimitedRecord(int32_t parsingCase, const ParseSettings& settings,
                                 const ParseColumns& columns, const ParseWork& work,
                                 uint8_t* record, uint32_t length) noexcept;

// What the ledger's texts name besides the result.
struct ParseErrorContext {
    const ParseColumns* columns = nullptr;
    const char* const* names = nullptr;  // the schema's column names
    uint32_t recordNumber = 0;           // of the record parsed
    uint32_t rowNumber = 0;              // the number errors 1 and 2 give
    int32_t parsingCase = 0;
};

// The ledger's text of a parse error into `out` (at most `size` bytes). A
// column beyond the schema is named "(null)".
void formatParseError(const ParseResult& result, const ParseErrorContext& context, char* out,
                      size_t size) noexcept;

}  // namespace bu::rf

#endif  // BU_RECORDFORMAT_DELIMITED_PARSER_H
