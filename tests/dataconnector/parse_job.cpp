// Delimited jobs for the parser's tests; see parse_job.h.
#include "parse_job.h"

#include <gtest/gtest.h>

#include <cstring>
#include <sstream>

#include "charsets.h"
#include "delimited_parse.h"
#include "file_catalogue.h"
#include "file_settings.h"
#include "initiation.h"

extern "C" void dcSetUDDIParsingCase(void) noexcept;

namespace bu::test {
namespace {

void setMark(TextAttr& attr, const std::string& bytes) {
    attr = {};
    attr.Length = static_cast<int32_t>(bytes.size());
    std::memcpy(attr.Bytes, bytes.data(), bytes.size());
}

}  // namespace

std::string visible(const std::string& bytes) {
    std::string out;
    for (unsigned char c : bytes) {
        if (c >= 0x20 && c < 0x7F && c != '\\') {
            out += static_cast<char>(c);
        } else {
            char hex[8];
            std::snprintf(hex, sizeof hex, "\\x%02X", c);
            out += hex;
        }
    }
    return out;
}

std::string ParseJob::text(const std::string& ascii) const {
    if (charset != "UTF16") return ascii;
    std::string wide;
    for (char c : ascii) wide += std::string{c, '\0'};
    return wide;
}

int32_t ParseJob::apply() const {
    EXPECT_LT(pmSetCharSet(charset.c_str()), 100) << charset;
    setMark(TextDelimiter, text(delimiter));
    bUsingSingleByteDelimiter = TextDelimiter.Length == 1 ? 1 : 0;
    setMark(EscapeTextCharacter, text(escapeDelimiter));
    setMark(OpenQuoteMark, text(open));
    setMark(CloseQuoteMark, text(close));
    setMark(EscapeQuoteCharacter, text(escapeQuote));
    setMark(TrimLeadingChar, text(trimLeading));
    setMark(TrimTrailingChar, text(trimTrailing));
    cTrimLeadingChar = TrimLeadingChar.Bytes[0];
    cTrimTrailingChar = TrimTrailingChar.Bytes[0];
    setMark(EscapeRecDelim, text(escapeRecordEnd));
    TrimLeadingNchars = trimLeadingCount;
    TrimTrailingNchars = trimTrailingCount;
    bQuotedData = quoted;
    bNullColumns = nullColumns ? 1 : 0;
    TruncateColumnsOpt = truncate ? 1 : 0;
    bTruncateUTF8 = 0;
    SG_AcceptMissingColumns = acceptMissing ? 1 : 0;
    dcSetUDDIParsingCase();
    return UDDI_ParsingCase;
}

std::string ParseJob::describe() const {
    std::ostringstream out;
    out << charset << " delimiter '" << visible(delimiter) << "' escape '"
        << visible(escapeDelimiter) << "' quoted " << quoted << " open '" << visible(open)
        << "' close '" << visible(close) << "' quote escape '" << visible(escapeQuote) << "' trim '"
        << visible(trimLeading) << "'/'" << visible(trimTrailing) << "' counts " << trimLeadingCount
        << "/" << trimTrailingCount << " record-end escape '" << visible(escapeRecordEnd)
        << "' null " << nullColumns << " truncate " << truncate << " missing " << acceptMissing
        << " keeps bad " << keepsBadRecords << " limits";
    for (uint32_t limit : maxLengths) out << ' ' << limit;
    return out.str();
}

std::vector<ParsedColumn> Parsed::columns() const {
    std::vector<ParsedColumn> out;
    if (!result.rowMade) return out;
    const size_t count = std::min(static_cast<size_t>(result.columnsFound), offsets.size());
    for (size_t i = 0; i < count; ++i) {
        out.push_back({target.substr(offsets[i], lengths[i]), indicators[i] == 1});
    }
    return out;
}

Parsed parseWith(const ParseJob& job, int32_t parsingCase, const std::string& record) {
    const std::string recordEnd = job.text(job.recordEnd);
    const rf::ParseSettings settings = dc::parseSettingsOfJob(
        {recordEnd.data(), static_cast<int32_t>(recordEnd.size())}, job.keepsBadRecords);
    const size_t count = job.maxLengths.size();
    Parsed p;
    // Entries a parse doesn't reach keep these values, in both parses.
    p.offsets.assign(count, 0xDEAD);
    p.lengths.assign(count, 0xBEEF);
    p.received.assign(count, 0xF00D);
    p.indicators.assign(count, 7);
    rf::ParseColumns columns{
        static_cast<int32_t>(count), job.maxLengths.data(), p.offsets.data(), p.lengths.data(),
        p.received.data(),           p.indicators.data()};
    // The record as the reader delivers it: a zero byte behind it.
    std::vector<uint8_t> bytes(record.begin(), record.end());
    bytes.push_back(0);
    std::vector<uint8_t> target(record.size() + 1);
    std::vector<uint32_t> lengths(record.size() + 1);
    const rf::ParseWork work{target.data(), static_cast<uint32_t>(target.size()), lengths.data()};
    p.result = rf::parseDelimitedRecord(parsingCase, settings, columns, work, bytes.data(),
                                        static_cast<uint32_t>(record.size()));
    p.target.assign(reinterpret_cast<const char*>(target.data()), p.result.rowLength);
    if (p.result.error != 0) {
        static const char* const names[] = {"c1", "c2", "c3", "c4", "c5", "c6"};
        rf::ParseErrorContext context{&columns, names, 7, 70, parsingCase};
        char text[2500];
        rf::formatParseError(p.result, context, text, sizeof text);
        p.ledger = text;
    }
    return p;
}

}  // namespace bu::test
