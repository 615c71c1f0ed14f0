// bench_parse - the reading side of delimited data: ExtractDelimitedText
// on a file of the sales table's records (about 100 MB, quotes where the
// data needs them), against a plain splitter that finds the same records and
// fields with memchr and copies each field once, as the parser does. Both
// run over the same bytes in the same process; each round parses a fresh
// copy (the parser alters records in place). Times are the thread's CPU
// time (the machines are shared); the best round of each counts, and the
// ratio of their times is the figure.
#include <time.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "charsets.h"
#include "dc_messages.h"
#include "delimited_export.h"
#include "delimited_parse.h"
#include "fake_host.h"
#include "file_settings.h"
#include "initiation.h"
#include "schema.h"
#include "text_attr.h"

extern "C" void dcSetUDDIParsingCase(void) noexcept;

namespace {

double cpuSeconds() {
    timespec t{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
    return static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_nsec) / 1e9;
}

constexpr int kVarchar = 7;
constexpr int kColumns = 4;

// The sales table's rows as a delimited export with optional quotes
// writes them, ids counting on.
std::string salesFile(size_t bytes) {
    static const char* const kRows[][3] = {
        {"Ada Lovelace", "1234.50", "2024-01-15"},
        {"Brown & Sons", "-12.00", "2024-01-16"},
        {"", "0.00", "2024-02-01"},
        {"\"Pipe | Works\"", "99999.99", "2024-02-29"},
        {"\"The \"\"Quoted\"\" Shop\"", "7.25", "2024-03-03"},
        {"Comma, Inc.", "150.10", "2024-03-31"},
        {"Zeta", "-0.01", "2024-04-01"},
        {"\xC3\x89mile Caf\xC3\xA9", "42.00", "2024-05-05"},
        {"\"\"", "1.00", "2024-06-30"},
        {"Last Customer", "9999999999.99", "2024-12-31"},
    };
    std::string out;
    out.reserve(bytes + 64);
    for (size_t id = 1; out.size() < bytes; ++id) {
        const auto& row = kRows[id % 10];
        out += std::to_string(id) + '|' + row[0] + '|' + row[1] + '|' + row[2] + '\n';
    }
    return out;
}

void setMark(TextAttr& attr, char c) {
    attr = {};
    attr.Length = 1;
    attr.Bytes[0] = static_cast<uint8_t>(c);
}

// A producer's delimited job: '|', optional '"' quotes, four VARCHARs.
bool startLayer(bu::test::FakeHost& host) {
    pmSetCharSet("ASCII");
    SG_opHandle = host.handle();
    DC_TraceLvl = 1;  // a job's default; before a start everything is traced
    BufferSize = 1 << 20;
    OperatorType = PX_OPERATOR_TYPE_PRODUCER;
    FileFormat = FMT_TEXT;
    setMark(TextDelimiter, '|');
    setMark(OpenQuoteMark, '"');
    setMark(CloseQuoteMark, '"');
    bUsingSingleByteDelimiter = 1;
    bQuotedData = 2;
    dcSetUDDIParsingCase();
    host.columns = {{"id", kVarchar, 10},
                    {"customer", kVarchar, 40},
                    {"amount", kVarchar, 16},
                    {"sold_on", kVarchar, 10}};
    return DC_EstablishSchema(host.handle()) == 0 && pmBufferTarget.Data != nullptr;
}

struct Round {
    double seconds = 0;
    size_t records = 0;
    size_t columnBytes = 0;  // what the rows hold, to tell the two apart
};

Round parseAll(std::string& bytes) {
    Round r;
    const double start = cpuSeconds();
    char* at = bytes.data();
    char* const end = at + bytes.size();
    while (at < end) {
        char* eol = static_cast<char*>(std::memchr(at, '\n', static_cast<size_t>(end - at)));
        if (eol == nullptr) eol = end;
        pmBuffer = {static_cast<uint32_t>(eol - at), at};
        if (ExtractDelimitedText() != 0) std::abort();
        r.columnBytes += pmBuffer.Length;
        ++r.records;
        at = eol + 1;
    }
    r.seconds = cpuSeconds() - start;
    return r;
}

// The baseline: records and fields found with memchr, each field copied to
// a row block with its offset and length, as the parser leaves them.
Round splitAll(const std::string& bytes) {
    static char row[4096];
    uint32_t offsets[kColumns];
    uint32_t lengths[kColumns];
    Round r;
    const double start = cpuSeconds();
    const char* at = bytes.data();
    const char* const end = at + bytes.size();
    while (at < end) {
        const char* eol =
            static_cast<const char*>(std::memchr(at, '\n', static_cast<size_t>(end - at)));
        if (eol == nullptr) eol = end;
        uint32_t used = 0;
        for (int c = 0; c < kColumns && at <= eol; ++c) {
            const char* bar =
                static_cast<const char*>(std::memchr(at, '|', static_cast<size_t>(eol - at)));
            if (bar == nullptr) bar = eol;
            const auto n = static_cast<uint32_t>(bar - at);
            std::memcpy(row + used, at, n);
            offsets[c] = used;
            lengths[c] = n;
            used += n;
            at = bar + 1;
        }
        asm volatile("" : : "r"(row), "r"(offsets), "r"(lengths) : "memory");
        r.columnBytes += used;
        ++r.records;
        at = eol + 1;
    }
    r.seconds = cpuSeconds() - start;
    return r;
}

}  // namespace

int main(int argc, char** argv) {
    size_t megabytes = 100;
    int rounds = 3;
    for (int i = 1; i + 1 < argc; i += 2) {
        if (std::strcmp(argv[i], "--mb") == 0) megabytes = std::strtoul(argv[i + 1], nullptr, 10);
        if (std::strcmp(argv[i], "--rounds") == 0) rounds = std::atoi(argv[i + 1]);
    }
    bu::test::FakeHost host;
    if (!startLayer(host)) {
        std::fprintf(stderr, "bench_parse: the delimited schema could not be set up\n");
        return 2;
    }
    const std::string file = salesFile(megabytes * 1000000);
    std::string copy;
    Round parsed, split;
    for (int i = 0; i < std::max(rounds, 1); ++i) {
        copy = file;
        const Round p = parseAll(copy);
        const Round s = splitAll(file);
        if (i == 0 || p.seconds < parsed.seconds) parsed = p;
        if (i == 0 || s.seconds < split.seconds) split = s;
    }
    const double mb = static_cast<double>(file.size()) / 1e6;
    std::printf("sales records: %zu, %.1f MB, best of %d rounds\n", parsed.records, mb, rounds);
    std::printf("  %-22s %8.3f s CPU  %8.1f MB/s  (%zu column bytes)\n", "ExtractDelimitedText",
                parsed.seconds, mb / parsed.seconds, parsed.columnBytes);
    std::printf("  %-22s %8.3f s CPU  %8.1f MB/s  (%zu column bytes)\n", "memchr splitter",
                split.seconds, mb / split.seconds, split.columnBytes);
    std::printf("ratio (parser time / splitter time): %.2f\n", parsed.seconds / split.seconds);
    dcfini();
    return 0;
}
