// The delimited parser's rules, one record each: how columns are counted
// at the record's ends, NULL and empty columns, escapes, quotes never
// closed, trimming and cutting in characters, every error of a record with
// its text, the rules some loops have of their own, and what a record of
// characters cut short or unknown gives.
#include <gtest/gtest.h>

#include "charset_fixture.h"
#include "parse_job.h"

namespace bu::test {
namespace {

enum class By { OwnLoop, General };

struct Case {
    const char* what;
    ParseJob job;
    std::string record;
    int32_t error;
    int32_t found;  // ActualColumnCount
    std::vector<ParsedColumn> row;
    std::string ledger = "";
    By by = By::General;
};

ParsedColumn null() {
    return {"", true};
}

ParseJob columns(std::vector<uint32_t> limits) {
    ParseJob job;
    job.maxLengths = std::move(limits);
    return job;
}

ParseJob quoted(int32_t mode, std::vector<uint32_t> limits = {20, 20}) {
    ParseJob job = columns(std::move(limits));
    job.quoted = mode;
    job.open = "\"";
    return job;
}

ParseJob with(ParseJob job, void (*change)(ParseJob&)) {
    change(job);
    return job;
}

const std::string kTooFew = "Delimited Data Parsing error: Too few columns in row 70";
const std::string kTooMany = "Delimited Data Parsing error: Too many columns in row 70";

const std::vector<Case>& cases() {
    static const std::vector<Case> all = {
        // Columns counted at the ends of a record.
        {"an empty record is one empty column of a one-column schema",
         with(columns({5}), [](ParseJob& j) { j.nullColumns = true; }),
         "",
         0,
         1,
         {null()}},
        {"and no column of a longer one", columns({5, 5}), "", 2, 0, {}, kTooFew},
        {"a trailing delimiter short of columns", columns({5, 5, 5}), "a|", 2, 1, {{"a"}}, kTooFew},
        {"two delimiters make three columns, the last empty",
         columns({5, 5, 5}),
         "a||",
         0,
         3,
         {{"a"}, {""}, {""}}},
        {"a delimiter behind the last column isn't a column",
         columns({5, 5, 5}),
         "a|b|c|",
         0,
         3,
         {{"a"}, {"b"}, {"c"}}},
        {"one column too many", columns({5, 5}), "a|b|c", 1, 3, {{"a"}, {"b"}}, kTooMany},
        {"a closed quote with one column due gives that column empty",
         quoted(2),
         "\"a\"",
         0,
         2,
         {{"a"}, {""}}},
        {"the same text unquoted is a column short", quoted(2), "a", 2, 1, {{"a"}}, kTooFew},
        // NULL and empty.
        {"empty unquoted columns are NULL, an empty quoted one is empty",
         with(quoted(2, {5, 5, 5}), [](ParseJob& j) { j.nullColumns = true; }),
         "a||\"\"",
         0,
         3,
         {{"a"}, null(), {""}}},
        {"without NullColumns nothing is NULL",
         quoted(2, {5, 5, 5}),
         "a||\"\"",
         0,
         3,
         {{"a"}, {""}, {""}}},
        // Escapes.
        {"an escaped delimiter is data, later columns follow the shorter record",
         with(columns({5, 5}), [](ParseJob& j) { j.escapeDelimiter = "\\"; }),
         "a\\|b|c",
         0,
         2,
         {{"a|b"}, {"c"}}},
        {"an escape at the end of a record is data",
         with(columns({5}), [](ParseJob& j) { j.escapeDelimiter = "\\"; }),
         "ab\\",
         0,
         1,
         {{"ab\\"}}},
        {"an escape and the start of a longer delimiter at the record's end",
         with(columns({5, 5}), [](ParseJob& j) { j.delimiter = "||", j.escapeDelimiter = "\\"; }),
         "a\\|",
         11,
         0,
         {},
         "Delimited Data Parsing error: DelimiterEscape should be followed by DelimiterEscape or "
         "Delimeter 7, col 1"},
        {"an escaped end-of-record mark is data",
         with(columns({5, 5}), [](ParseJob& j) { j.escapeRecordEnd = "~"; }),
         "a~\nb|c",
         0,
         2,
         {{"a\nb"}, {"c"}}},
        // Quotes.
        {"a quoted column holds delimiters and doubled marks",
         quoted(2),
         "\"a|\"\"b\"|c",
         0,
         2,
         {{"a|\"b"}, {"c"}}},
        {"a quote never closed: the column starts at the mark and loses its last byte",
         quoted(2),
         "x|\"abc",
         0,
         2,
         {{"x"}, {"\"ab"}}},
        {"with quotes required an empty field is fine", quoted(1), "|\"b\"", 0, 2, {{""}, {"b"}}},
        {"with quotes required a letter is not",
         quoted(1),
         "a|\"b\"",
         8,
         0,
         {},
         "Delimited Data Parsing error: First character not open quote mark in record 7, field "
         "1, 'c1'"},
        {"a blank between the close mark and the delimiter",
         quoted(2),
         "\"a\" |b",
         9,
         0,
         {},
         "Delimited Data Parsing error: Delimiter did not immediately follow close quote mark in "
         "row 7, col 1"},
        {"a quote escape before a letter",
         with(quoted(2), [](ParseJob& j) { j.escapeQuote = "^"; }),
         "\"a^b\"",
         10,
         0,
         {},
         "Delimited Data Parsing error: QuoteEscape should be followed by OpenQuote or "
         "CloseQuote or QuoteEscape in row 7, col 1"},
        {"a quote escape that escapes delimiters too is data before a letter",
         with(quoted(2), [](ParseJob& j) { j.escapeQuote = j.escapeDelimiter = "\\"; }),
         "\"a\\b\"|\"\\\"\"",
         0,
         2,
         {{"a\\b"}, {"\""}}},
        // Trimming and cutting.
        {"trimming works inside the quotes",
         with(quoted(2), [](ParseJob& j) { j.trimLeading = j.trimTrailing = " "; }),
         "\" a \"| b",
         0,
         2,
         {{"a"}, {"b"}}},
        {"a count of characters to trim as great as the column's empties it",
         with(columns({9}), [](ParseJob& j) { j.charset = "UTF8", j.trimLeadingCount = 3; }),
         "a\xC3\xA9"
         "b",
         0,
         1,
         {{""}}},
        {"one less leaves one character",
         with(columns({9}), [](ParseJob& j) { j.charset = "UTF8", j.trimLeadingCount = 2; }),
         "\xC3\xA9"
         "a\xC3\xA9",
         0,
         1,
         {{"\xC3\xA9"}}},
        {"a multi-byte column is cut at a character and the overflow still told",
         with(columns({4}), [](ParseJob& j) { j.charset = "UTF8", j.truncate = true; }),
         "a\xC3\xA9\xE2\x82\xAC",
         3,
         1,
         {{"a\xC3\xA9"}},
         "Delimited Data Parsing error: Field length overflow(s) in record 7, field 1, 'c1'. "
         "Expected 4 bytes, received 6 bytes."},
        {"every long column is cut, the first one is named",
         with(columns({3, 3}), [](ParseJob& j) { j.truncate = true; }),
         "abcdef|ghijk",
         3,
         2,
         {{"abc"}, {"ghi"}},
         "Delimited Data Parsing error: Field length overflow(s) in record 7, field 1, 'c1'. "
         "Expected 3 bytes, received 6 bytes."},
        {"without cutting a long column stops the record",
         columns({3, 3}),
         "ab|ghijk",
         3,
         0,
         {},
         "Delimited Data Parsing error: Field length overflow(s) in record 7, field 2, 'c2'. "
         "Expected 3 bytes, received 5 bytes."},
        // Rules of loops of their own.
        {"loop 1 takes the schema's columns and drops the rest where columns may be cut",
         with(columns({5, 5}), [](ParseJob& j) { j.truncate = true; }),
         "a|b|c",
         0,
         2,
         {{"a"}, {"b"}},
         "",
         By::OwnLoop},
        {"where the general machine finds too many",
         with(columns({5, 5}), [](ParseJob& j) { j.truncate = true; }),
         "a|b|c",
         1,
         3,
         {{"a"}, {"b"}},
         kTooMany},
        {"loop 1 counts every delimiter behind the schema's columns",
         columns({5, 5}),
         "a|b|c|",
         1,
         4,
         {{"a"}, {"b"}},
         kTooMany,
         By::OwnLoop},
        {"loop 1 closes a last empty column",
         columns({5, 5, 5}),
         "a|",
         2,
         2,
         {{"a"}, {""}},
         kTooFew,
         By::OwnLoop},
        {"loop 1 counts an empty record as a column",
         columns({5, 5}),
         "",
         2,
         1,
         {{""}},
         kTooFew,
         By::OwnLoop},
        {"loop 4 likewise",
         with(columns({5, 5, 5}), [](ParseJob& j) { j.delimiter = "||"; }),
         "a||",
         2,
         2,
         {{"a"}, {""}},
         kTooFew,
         By::OwnLoop},
        {"loop 9 walks a last delimiter again for columns that may be missing",
         with(quoted(2, {5, 5, 5, 5}), [](ParseJob& j) { j.acceptMissing = true; }),
         "a|",
         0,
         4,
         {{"a"}, {""}, {""}, {""}},
         "",
         By::OwnLoop},
        {"but not for columns that can be NULL",
         with(quoted(2, {5, 5, 5, 5}),
              [](ParseJob& j) { j.acceptMissing = true, j.nullColumns = true; }),
         "a|",
         2,
         1,
         {{"a"}},
         kTooFew,
         By::OwnLoop},
        {"a byte walk trims a mark of two bytes by its length",
         with(columns({9}), [](ParseJob& j) { j.delimiter = "||", j.trimLeading = "ab"; }),
         "ababx",
         0,
         1,
         {{"x"}},
         "",
         By::OwnLoop},
        {"the general machine by one character at a time",
         with(columns({9}), [](ParseJob& j) { j.delimiter = "||", j.trimLeading = "ab"; }),
         "ababx",
         0,
         1,
         {{"babx"}}},
        // Characters.
        {"a character of the set that no column can hold",
         with(columns({5, 5}), [](ParseJob& j) { j.charset = "KANJISJIS_0S"; }),
         "a|\x82\x7F",
         5,
         0,
         {},
         "Delimited Data Parsing error: Invalid multi-byte character in record 7, field 2, 'c2'"},
        {"a UTF-16 character cut by the record's end",
         with(columns({5}), [](ParseJob& j) { j.charset = "UTF16"; }),
         std::string("a\0b", 3),
         5,
         0,
         {},
         "Delimited Data Parsing error: Invalid multi-byte character in record 7, field 1, 'c1'"},
        {"a surrogate pair stops the record",
         with(columns({5, 5}), [](ParseJob& j) { j.charset = "UTF16"; }),
         std::string("a\0|\0\x34\xD8\x1E\xDD", 8),
         5,
         0,
         {},
         "Delimited Data Parsing error: Invalid multi-byte character in record 7, field 2, 'c2'"},
        {"or, with a record error file, is noted and the record walked to its end",
         with(columns({5, 5}), [](ParseJob& j) { j.charset = "UTF16", j.keepsBadRecords = true; }),
         std::string("a\0|\0\x34\xD8\x1E\xDD|\0", 10),
         5,
         0,
         {},
         "Delimited Data Parsing error: Invalid multi-byte character in record 7, field 2, 'c2'"},
        {"an ill-formed UTF-8 byte is one character",
         with(columns({5}), [](ParseJob& j) { j.charset = "UTF8"; }),
         "a\xC0",
         0,
         1,
         {{"a\xC0"}}},
    };
    return all;
}

class ParseCasesTest : public CharsetTest {};

TEST_F(ParseCasesTest, EachRecordGivesItsColumnsAndError) {
    for (const Case& c : cases()) {
        SCOPED_TRACE(c.what);
        const int32_t parsingCase = c.job.apply();
        const Parsed parsed = parseWith(c.job, c.by == By::General ? 0 : parsingCase, c.record);
        EXPECT_EQ(parsed.result.error, c.error);
        EXPECT_EQ(parsed.result.columnsFound, c.found);
        EXPECT_EQ(parsed.columns(), c.row);
        EXPECT_EQ(parsed.ledger, c.ledger);
    }
}

}  // namespace
}  // namespace bu::test
