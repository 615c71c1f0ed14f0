// Fuzz target for the delimited parser: a job's marks and options drawn
// from the input, then the rest of the input as one record, parsed by the
// loop of the job's case and by the general machine. Neither may read or
// write outside the record and its blocks (the sanitizers watch), and
// every column of a row made must lie inside the row.
//   byte 0: character set (bits 0-1), quoted data (bits 2-3), NULL columns,
//   truncation, missing columns accepted (bits 4-6); byte 1: delimiter,
//   escape, open and close quote (two bits each); byte 2: quote escape and
//   trimming (two bits each), record-end escape (bit 6); byte 3: the
//   schema's column limits.
#include <cstdint>
#include <cstdlib>
#include <string>

#include "parse_job.h"

namespace {

using bu::test::ParseJob;

// Marks by their code: none, one byte, longer. Their bytes are ones a
// fuzzer finds quickly.
const char* const kDelimiters[] = {"|", ",", "||", "<>"};
const char* const kEscapes[] = {"", "\\", "\\\\", "|"};
const char* const kQuotes[] = {"", "\"", "'", "\"\""};
const char* const kTrims[] = {"", " ", "  ", "x"};

ParseJob jobOf(const uint8_t* head) {
    static const char* const kSets[] = {"ASCII", "UTF8", "UTF16", "KANJISJIS_0S"};
    ParseJob job;
    job.charset = kSets[head[0] & 3];
    job.quoted = (head[0] >> 2) % 3;
    job.nullColumns = (head[0] & 16) != 0;
    job.truncate = (head[0] & 32) != 0;
    job.acceptMissing = (head[0] & 64) != 0;
    job.delimiter = kDelimiters[head[1] & 3];
    job.escapeDelimiter = kEscapes[(head[1] >> 2) & 3];
    job.open = kQuotes[(head[1] >> 4) & 3];
    job.close = kQuotes[(head[1] >> 6) & 3];
    job.escapeQuote = kEscapes[head[2] & 3];
    job.trimLeading = kTrims[(head[2] >> 2) & 3];
    job.trimTrailing = kTrims[(head[2] >> 4) & 3];
    if ((head[2] & 64) != 0) job.escapeRecordEnd = "\\";
    job.maxLengths = {head[3] & 7u, (head[3] >> 3) & 7u, 0};
    return job;
}

void checkRow(const bu::test::Parsed& p, size_t recordLength) {
    if (!p.result.rowMade) return;
    if (p.result.rowLength > recordLength + 1) abort();
    const size_t count = std::min<size_t>(static_cast<size_t>(p.result.columnsFound), 3);
    for (size_t i = 0; i < count; ++i) {
        if (p.offsets[i] > p.result.rowLength || p.lengths[i] > p.result.rowLength - p.offsets[i])
            abort();
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 4) return 0;
    const ParseJob job = jobOf(data);
    const int32_t parsingCase = job.apply();
    const std::string record(reinterpret_cast<const char*>(data + 4), size - 4);
    checkRow(bu::test::parseWith(job, parsingCase, record), record.size());
    checkRow(bu::test::parseWith(job, 0, record), record.size());
    return 0;
}
