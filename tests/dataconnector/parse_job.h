// Delimited jobs for the parser's tests: the marks and options of a job
// written in ASCII and put into the job's character set, set as the
// attributes would set them, with the parsing case they make, and one
// record parsed into columns the test can read.
#ifndef BU_TESTS_PARSE_JOB_H
#define BU_TESTS_PARSE_JOB_H

#include <cstdint>
#include <string>
#include <vector>

#include "delimited_parser.h"

namespace bu::test {

struct ParseJob {
    std::string charset = "ASCII";
    // Marks, in ASCII; UTF16 jobs widen them.
    std::string delimiter = "|";
    std::string escapeDelimiter, open, close, escapeQuote;
    std::string trimLeading, trimTrailing, escapeRecordEnd;
    std::string recordEnd = "\n";
    int32_t quoted = 0;
    int32_t trimLeadingCount = 0, trimTrailingCount = 0;
    bool nullColumns = false, truncate = false, acceptMissing = false, keepsBadRecords = false;
    std::vector<uint32_t> maxLengths = {20, 20, 20};

    // Text of the job's character set from ASCII (UTF16 widens each byte).
    std::string text(const std::string& ascii) const;
    // Sets the character set and the settings' globals, and returns the
    // parsing case they make.
    int32_t apply() const;
    std::string describe() const;
};

// Bytes for a message: printable ASCII as it stands, the rest as \xHH.
std::string visible(const std::string& bytes);

// One column as parsed: its text, or NULL.
struct ParsedColumn {
    std::string text;
    bool null = false;
    bool operator==(const ParsedColumn&) const = default;
};

struct Parsed {
    rf::ParseResult result;
    std::vector<uint32_t> offsets, lengths, received;
    std::vector<uint8_t> indicators;
    std::string target;  // the row's bytes
    std::string ledger;  // the error's text, empty for none

    // The columns the row holds (within the schema and the columns found).
    std::vector<ParsedColumn> columns() const;
};

// Parses `record` with the job's settings (applied already) by the loop of
// `parsingCase`.
Parsed parseWith(const ParseJob& job, int32_t parsingCase, const std::string& record);

}  // namespace bu::test

#endif  // BU_TESTS_PARSE_JOB_H
