// DELIMITED jobs end to end through buhost: the bytes of each combination of
// marks that changes them against the golden cases of tests/golden/delimited,
// in ASCII, UTF-8, UTF-16 and Shift-JIS; and generated rows read back from the file by a
// small reader of delimited records, value for value against the same rows
// written as BINARY.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <vector>

#include "job_runner.h"

namespace {

using bu::e2e::hex;
using bu::e2e::Job;
using bu::e2e::JobResult;
using bu::e2e::staged;

std::string column(const char* name, const char* type, const char* more = "") {
    return std::string("[[schema]]\nname = \"") + name + "\"\ntype = \"" + type + "\"\n" + more;
}

// Every case of tests/golden/delimited: the job its .case file describes,
// over the rows of rows.sql through the pass-through OUTMOD, must write the
// bytes of its .hex file.
TEST(DelimitedOutput, EveryCaseWritesItsGoldenBytes) {
    const std::string folder = std::string(BU_SOURCE_DIR) + "/tests/golden/delimited";
    int cases = 0;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        if (entry.path().extension() != ".case") continue;
        const std::string name = entry.path().stem().string();
        SCOPED_TRACE(name);
        std::ifstream in(entry.path());
        std::string charset, rows, attributes;
        for (std::string line; std::getline(in, line);) {
            if (line.rfind("charset = ", 0) == 0) {
                charset = line.substr(10);
            } else if (line.rfind("rows = ", 0) == 0) {
                rows = line.substr(7);
            } else {
                attributes += line + "\n";
            }
        }
        Job job;
        job.name = "delimited-" + name;
        job.jobLines = "charset = \"" + charset + "\"\n";
        job.attributes = "OUTMODname = " + staged("lib64/outmods/libpassthru.so") +
                         "\nFileName = \"out.dat\"\nFormat = \"DELIMITED\"\n" + attributes;
        const std::string query = rows == "t" ? "SELECT id, note, name, amount, day FROM t"
                                              : "SELECT " + rows + ", n FROM u";
        job.schema =
            rows == "t"
                ? column("id", "INTEGER") +
                      column("note", "VARCHAR", "length = 4\nnullable = true\n") +
                      column("name", "VARCHAR", "length = 12\nnullable = true\n") +
                      column("amount", "DECIMAL", "precision = 7\nscale = 2\nnullable = true\n") +
                      column("day", "INTDATE", "nullable = true\n")
                : column(rows.c_str(), "VARCHAR", "length = 12\n") + column("n", "INTEGER");
        job.source = std::string("kind = \"sqlite\"\ndatabase = \"") + BU_DELIMITED_DB +
                     "\"\nquery = \"" + query + " ORDER BY rowid\"\n";
        JobResult r = bu::e2e::runJob(job);
        ASSERT_EQ(r.exitCode, 0) << r.output << r.publicLog;
        const std::string expected = bu::e2e::goldenBytes("delimited", name);
        const std::string written = r.file("out.dat");
        EXPECT_EQ(written, expected)
            << "written:  " << hex(written) << "\nexpected: " << hex(expected);
        ++cases;
    }
    EXPECT_EQ(cases, 11);
}

// The round trip: generated rows (texts full of delimiters and quotes,
// NULLs, the widest integers) read back from the delimited file by a reader
// written from the rules alone, and compared with the same rows written as
// BINARY records with their indicator bytes.

using Value = std::optional<std::string>;  // none: NULL
using Row = std::vector<Value>;

struct Marks {
    std::string delimiter = "|";
    std::string quote;   // open and close mark; empty: no quoting
    std::string escape;  // before a delimiter in unquoted data
    bool quoteAll = false;
};

// Splits one record into its fields. A field in quotes is text (the empty
// string included) with its doubled close marks undone; a bare field is
// text with its escapes undone, and NULL when empty and quoting is on.
Row readRecord(const std::string& line, const Marks& m) {
    Row row;
    size_t at = 0;
    auto startsWith = [&](const std::string& mark, size_t pos) {
        return !mark.empty() && line.compare(pos, mark.size(), mark) == 0;
    };
    for (;;) {
        std::string text;
        bool quoted = false;
        if (startsWith(m.quote, at)) {
            quoted = true;
            at += m.quote.size();
            while (at < line.size()) {
                if (startsWith(m.quote, at)) {
                    if (!startsWith(m.quote, at + m.quote.size())) break;
                    at += m.quote.size();
                }
                text += line[at++];
            }
            at += m.quote.size();
        } else {
            while (at < line.size() && !startsWith(m.delimiter, at)) {
                if (startsWith(m.escape, at) && startsWith(m.delimiter, at + m.escape.size())) {
                    at += m.escape.size();
                    text += m.delimiter;
                    at += m.delimiter.size();
                    continue;
                }
                text += line[at++];
            }
        }
        row.push_back(quoted || !text.empty() || m.quote.empty() ? Value(text) : std::nullopt);
        if (at >= line.size()) return row;
        at += m.delimiter.size();
    }
}

// The columns of the round trip: INTEGER, VARCHAR(30) nullable, CHAR(4),
// VARCHAR(2) nullable.
const std::string kRoundTripSchema =
    column("id", "INTEGER") + column("a", "VARCHAR", "length = 30\nnullable = true\n") +
    column("b", "CHAR", "length = 4\n") + column("c", "VARCHAR", "length = 2\nnullable = true\n");

// BINARY records with their indicator bytes: a 2-byte length, one indicator
// byte, then the columns in the row's own form.
std::vector<Row> readBinary(const std::string& file) {
    std::vector<Row> rows;
    for (size_t at = 0; at + 2 <= file.size();) {
        uint16_t length = 0;
        std::memcpy(&length, file.data() + at, 2);
        const std::string record = file.substr(at + 2, length);
        at += 2u + length;
        const auto indicators = static_cast<uint8_t>(record[0]);
        size_t pos = 1;
        auto varchar = [&] {
            uint16_t n = 0;
            std::memcpy(&n, record.data() + pos, 2);
            pos += 2u + n;
            return record.substr(pos - n, n);
        };
        int32_t id = 0;
        std::memcpy(&id, record.data() + pos, 4);
        pos += 4;
        Row row{std::to_string(id), varchar(), record.substr(pos, 4), std::nullopt};
        pos += 4;
        row[3] = varchar();
        for (size_t i = 0; i < row.size(); ++i) {
            if (indicators & (0x80u >> i)) row[i] = std::nullopt;
        }
        rows.push_back(row);
    }
    return rows;
}

JobResult generatedJob(const std::string& name, const std::string& attributes, int seed,
                       double nullRate) {
    Job job;
    job.name = "round-trip-" + name + "-" + std::to_string(seed);
    job.attributes = "OUTMODname = " + staged("lib64/outmods/libpassthru.so") +
                     "\nFileName = \"out.dat\"\n" + attributes + "\n";
    job.schema = kRoundTripSchema;
    job.source = "kind = \"generate\"\nrows = 400\nseed = " + std::to_string(seed) +
                 "\nnull_rate = " + std::to_string(nullRate) + "\n";
    return bu::e2e::runJob(job);
}

TEST(DelimitedOutput, GeneratedRowsReadBackToTheirValues) {
    struct Case {
        const char* name;
        std::string attributes;
        Marks marks;
        double nullRate;
    };
    const Case cases[] = {
        {"quoted", "QuotedData = \"Yes\"", {"|", "\"", "", true}, 0.2},
        // With NULLs before a column that needs quotes the record would be
        // cut (kept on purpose), so these rows have none.
        {"optional", "QuotedData = \"Optional\"\nTextDelimiter = \",\"", {",", "\"", "", false}, 0},
        {"escaped", "EscapeTextDelimiter = \"\\\\\"", {"|", "", "\\", false}, 0.2},
        {"long-delimiter",
         "TextDelimiter = \"|,\"\nEscapeTextDelimiter = \"\\\\\"",
         {"|,", "", "\\", false},
         0.2},
    };
    for (const Case& c : cases) {
        for (int seed : {7, 1234}) {
            SCOPED_TRACE(std::string(c.name) + " seed " + std::to_string(seed));
            JobResult binary =
                generatedJob(std::string(c.name) + "-binary",
                             "Format = \"BINARY\"\nIndicatorMode = \"Y\"", seed, c.nullRate);
            ASSERT_EQ(binary.exitCode, 0) << binary.output << binary.publicLog;
            const std::vector<Row> expected = readBinary(binary.file("out.dat"));
            ASSERT_EQ(expected.size(), 400u);

            JobResult text =
                generatedJob(c.name, "Format = \"DELIMITED\"\n" + c.attributes, seed, c.nullRate);
            ASSERT_EQ(text.exitCode, 0) << text.output << text.publicLog;
            const std::string file = text.file("out.dat");
            size_t at = 0;
            for (size_t i = 0; i < expected.size(); ++i) {
                const size_t end = file.find('\n', at);
                ASSERT_NE(end, std::string::npos) << "record " << i + 1 << " missing";
                const std::string line = file.substr(at, end - at);
                at = end + 1;
                Row want = expected[i];
                // Without quotes NULL and the empty string look alike.
                if (!c.marks.quoteAll && c.marks.quote.empty()) {
                    for (Value& v : want) v = v.value_or("");
                }
                ASSERT_EQ(readRecord(line, c.marks), want) << "record " << i + 1 << ": " << line;
            }
            EXPECT_EQ(at, file.size());
        }
    }
}

}  // namespace
