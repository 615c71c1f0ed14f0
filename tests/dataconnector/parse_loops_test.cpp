// Every loop of the delimited parser against the general machine: random
// jobs of each loop's parsing cases, random records of marks, escapes,
// quotes, multi-byte characters, blanks to trim and stray bytes, parsed by
// the loop and by the general machine with the same settings. Rows, column
// lengths, NULL flags and error texts must be the same, but where a loop
// has a rule of its own (those cases are pinned in parse_cases_test.cpp).
#include <gtest/gtest.h>

#include <array>
#include <random>
#include <tuple>

#include "charset_fixture.h"
#include "parse_job.h"

namespace bu::test {
namespace {

constexpr int32_t kLoops = 23;  // loops 1 to 22 behind the general machine (0)
constexpr int kJobsPerLoop = 40;
constexpr int kRecordsPerJob = 12;

class Random {
  public:
    explicit Random(uint32_t seed) : engine_(seed) {}
    int below(int n) { return static_cast<int>(engine_() % static_cast<uint32_t>(n)); }
    bool chance(int percent) { return below(100) < percent; }
    template <typename T>
    const T& pick(const std::vector<T>& from) {
        return from[static_cast<size_t>(below(static_cast<int>(from.size())))];
    }

  private:
    std::mt19937 engine_;
};

// Characters of each set that are more than one byte (UTF16: every one),
// and a few that no column can hold.
struct CharacterSet {
    const char* name;
    std::vector<std::string> wide;
    std::vector<std::string> bad;
};

const std::vector<CharacterSet>& characterSets() {
    static const std::vector<CharacterSet> sets = {
        {"ASCII", {"\xE9", "\xFF"}, {}},
        {"UTF8", {"\xC3\xA9", "\xE2\x82\xAC", "\xF0\x9D\x84\x9E"}, {}},
        {"UTF16", {"\xE9\x00", "\xAC\x20"}, {"\x34\xD8\x1E\xDD"}},
        {"KANJISJIS_0S", {"\x82\xA0", "\x93\xFA"}, {"\x82\x7F"}},
    };
    return sets;
}

// Marks are drawn from these: none, one byte, longer. None of their bytes is
// a letter or a blank, which the text is made of.
ParseJob randomJob(Random& r, const CharacterSet& set) {
    ParseJob job;
    job.charset = set.name;
    const bool singleByte = job.charset == "ASCII";
    job.delimiter = r.pick<std::string>({"|", ",", "\t", "||", "<>"});
    job.escapeDelimiter = r.pick<std::string>({"", "", "\\", "%%"});
    job.quoted = r.below(3);
    job.open = r.pick<std::string>({"", "\"", "\"", "<<"});
    job.close = r.pick<std::string>({"", "\"", "'", ">>"});
    job.escapeQuote = r.pick<std::string>({"", "^", "^^", job.escapeDelimiter});
    if (r.chance(40)) {
        job.trimLeading = r.chance(50) ? " " : "";
        job.trimTrailing = r.chance(50) ? " " : "";
    }
    job.escapeRecordEnd = r.chance(25) ? "~" : "";
    job.nullColumns = r.chance(50);
    job.truncate = r.chance(40);
    job.acceptMissing = r.chance(50);
    job.keepsBadRecords = r.chance(30);
    // A byte walk counts bytes where the general machine counts its table of
    // characters, in which a mark taken as data is one entry and an escape
    // that is data has none: in a single-byte set, cuts and counted trims
    // agree only while every mark is one byte and no escape can be data.
    const auto wide = [](const std::string& mark) { return mark.size() > 1; };
    const bool countsBytes = !wide(job.open) && !wide(job.close) && !wide(job.escapeQuote) &&
                             !wide(job.delimiter) && !wide(job.escapeDelimiter) &&
                             (job.escapeQuote.empty() || job.escapeQuote != job.escapeDelimiter);
    if (singleByte && !countsBytes) {
        job.truncate = false;
    } else {
        if (r.chance(20)) job.trimLeadingCount = r.below(4) - 1;
        if (r.chance(20)) job.trimTrailingCount = r.below(4) - 1;
    }
    job.maxLengths.clear();
    const int columns = 1 + r.below(5);
    for (int i = 0; i < columns; ++i) {
        job.maxLengths.push_back(r.chance(20) ? 0 : static_cast<uint32_t>(1 + r.below(12)));
    }
    return job;
}

// A quoted column never closed starts at its open mark, which puts its text
// one mark off the general machine's table of characters: in a single-byte
// set its trimming agrees with a byte walk's only while the quote marks are
// one byte. Records of such jobs close every quote they open.
bool mustCloseQuotes(const ParseJob& job) {
    const bool trims = !job.trimLeading.empty() || !job.trimTrailing.empty();
    return job.charset == "ASCII" && trims &&
           (job.open.size() > 1 || job.close.size() > 1 || job.escapeQuote.size() > 1);
}

// A record of the job's fields: mostly well formed, now and then with a
// stray mark, a field too many or too few, or cut anywhere.
std::string randomRecord(Random& r, const ParseJob& job, const CharacterSet& set) {
    const bool closeQuotes = mustCloseQuotes(job);
    auto mark = [&](const std::string& ascii) { return job.text(ascii); };
    auto text = [&]() -> std::string {
        const int kind = r.below(10);
        if (kind < 5) return mark(std::string(1, static_cast<char>('a' + r.below(3))));
        if (kind < 7) return mark(" ");
        if (!set.bad.empty() && r.chance(3)) return r.pick(set.bad);
        return r.pick(set.wide);
    };
    const std::string open = mark(job.open);
    const std::string close = job.close.empty() ? open : mark(job.close);
    const std::string quoteEscape = mark(job.escapeQuote);
    const bool quotes = job.quoted != 0 && !open.empty();
    std::string record;
    const int fields = std::max(0, static_cast<int>(job.maxLengths.size()) + r.below(5) - 2);
    for (int f = 0; f < fields; ++f) {
        if (f != 0) record += mark(job.delimiter);
        const int length = r.below(6);
        if (quotes && r.chance(35)) {
            if (r.chance(5)) record += text();  // text before the open mark
            record += open;
            // Inside quotes: a delimiter, escaped marks, a doubled close mark,
            // an escaped character, or text.
            const std::string marks[] = {mark(job.delimiter), quoteEscape + close,
                                         quoteEscape + open, quoteEscape + quoteEscape,
                                         close + close};
            for (int i = 0; i < length; ++i) {
                const int k = r.below(9);
                record += k < 5 ? marks[k] : k == 5 ? quoteEscape + text() : text();
            }
            if (closeQuotes || !r.chance(5)) record += close;
            if (r.chance(5)) record += text();  // text behind the close mark
            continue;
        }
        // Unquoted: an escaped delimiter or record end, a stray open mark or
        // escape, or text.
        for (int i = 0; i < length; ++i) {
            const int k = r.below(12);
            if (k == 0) {
                record += mark(job.escapeDelimiter + job.delimiter);
            } else if (k == 1) {
                record += mark(job.escapeRecordEnd + job.recordEnd);
            } else if (k == 2) {
                record += r.chance(30) && !closeQuotes ? open : mark(job.escapeDelimiter);
            } else {
                record += text();
            }
        }
    }
    if (r.chance(10)) record += mark(job.delimiter);
    if (r.chance(10) && !record.empty() && !closeQuotes)
        record.resize(static_cast<size_t>(r.below(static_cast<int>(record.size()))));
    return record;
}

// Loops 1 and 4 leave the walk at the schema's last column, so that what
// stands behind it is never parsed, and always close a last column: records
// whose count of delimiters brings either rule into play are theirs alone.
bool underLoopRuleOfLastColumn(const ParseJob& job, const std::string& record) {
    const std::string delimiter = job.text(job.delimiter);
    size_t delimiters = 0;
    for (size_t at = record.find(delimiter); at != std::string::npos;
         at = record.find(delimiter, at + delimiter.size())) {
        ++delimiters;
    }
    const bool lastEmpty = record.empty() || (record.size() >= delimiter.size() &&
                                              record.compare(record.size() - delimiter.size(),
                                                             delimiter.size(), delimiter) == 0);
    const size_t count = job.maxLengths.size();
    if (delimiters >= count) return !(delimiters == count && lastEmpty);
    return delimiters + 1 < count && lastEmpty;
}

// What two parses must agree on: the result, the row's bytes, its arrays
// and the error's text.
auto outcome(const Parsed& p) {
    const rf::ParseResult& r = p.result;
    return std::tie(r.error, r.errorColumn, r.columnsFound, r.firstOverflowColumn, r.dataBytes,
                    r.rowMade, p.target, p.offsets, p.lengths, p.received, p.indicators, p.ledger);
}

class ParseLoopsTest : public CharsetTest {};

TEST_F(ParseLoopsTest, EveryLoopGivesTheGeneralMachinesResults) {
    DC_TraceLvl = 1;
    Random r(20261124);
    std::array<int, kLoops> compared{};
    for (int32_t loop = 1; loop < kLoops; ++loop) {
        int jobs = 0;
        for (int attempt = 0; jobs < kJobsPerLoop && attempt < 200000; ++attempt) {
            const CharacterSet& set = r.pick(characterSets());
            ParseJob job = randomJob(r, set);
            int32_t parsingCase = job.apply();
            if (rf::loopOfCase(parsingCase) != loop) continue;
            // Loop 9's rule for missing columns that can't be NULL.
            if (loop == 9 && job.acceptMissing && !job.nullColumns) {
                job.acceptMissing = false;
                parsingCase = job.apply();
            }
            ++jobs;
            for (int i = 0; i < kRecordsPerJob; ++i) {
                const std::string record = randomRecord(r, job, set);
                if ((loop == 1 || loop == 4) && underLoopRuleOfLastColumn(job, record)) continue;
                EXPECT_EQ(outcome(parseWith(job, parsingCase, record)),
                          outcome(parseWith(job, 0, record)))
                    << "loop " << loop << " case " << parsingCase << ": " << job.describe()
                    << "\nrecord: " << visible(record);
                ++compared[static_cast<size_t>(loop)];
                if (HasFailure()) return;
            }
        }
        EXPECT_EQ(jobs, kJobsPerLoop) << "no jobs found for loop " << loop;
    }
    for (int32_t loop = 1; loop < kLoops; ++loop) {
        EXPECT_GE(compared[static_cast<size_t>(loop)], kJobsPerLoop * kRecordsPerJob / 3)
            << "loop " << loop;
    }
}

}  // namespace
}  // namespace bu::test
