// The round trip through buhost: generated rows exported as DELIMITED by
// the real operator, read back by the test producer through the layer's
// reader and parser and put into the stream, give the rows the same source
// writes as BINARY records with their indicator bytes.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "test_jobs.h"

namespace {

using testsupport::Job;
using testsupport::JobResult;
using testsupport::staged;

constexpr size_t kRows = 300;

std::string column(const char* name, const char* more) {
    return std::string("[[schema]]\nname = \"") + name + "\"\ntype = \"VARCHAR\"\n" + more;
}

// A producer's delimited schema holds VARCHAR columns only.
const std::string kSchema = column("a", "length = 30\nnullable = true\n") +
                            column("b", "length = 4\n") +
                            column("c", "length = 2\nnullable = true\n");
constexpr size_t kColumns = 3;

// The rows of a file of length-prefixed rows in the row form (indicator
// byte, then each column behind its 2-byte length) as "a,b,c", NULL as "-".
// Where NULL and the empty string can't be told apart in the file, an empty
// column reads as NULL.
std::vector<std::string> rowsOf(const std::string& file, size_t headerSize,
                                bool emptyIsNull = false) {
    std::vector<std::string> rows;
    for (size_t at = 0; at + headerSize <= file.size();) {
        uint32_t length = 0;
        std::memcpy(&length, file.data() + at, headerSize);
        const std::string row = file.substr(at + headerSize, length);
        at += headerSize + length;
        std::string text;
        for (size_t i = 0, pos = 1; i < kColumns && pos + 2 <= row.size(); ++i) {
            uint16_t n = 0;
            std::memcpy(&n, row.data() + pos, 2);
            const bool null = (row[0] & (0x80 >> i)) != 0 || (emptyIsNull && n == 0);
            text += (i > 0 ? "," : "") + (null ? "-" : row.substr(pos + 2, n));
            pos += 2u + n;
        }
        rows.push_back(text);
    }
    return rows;
}

// Generated texts are bytes, not characters; UTF-16 rows come from the
// golden tests' table of UTF-16 texts (one holding the delimiter, one a
// quote mark, one empty).
std::string sourceOf(const std::string& charset, double nullRate) {
    if (charset == "UTF16") {
        return std::string("kind = \"sqlite\"\ndatabase = \"") + BU_DELIMITED_DB +
               "\"\nquery = \"SELECT u16 AS a, X'7A00' AS b, NULL AS c FROM u ORDER BY "
               "rowid\"\n";
    }
    return "kind = \"generate\"\nrows = " + std::to_string(kRows) +
           "\nseed = 11\nnull_rate = " + std::to_string(nullRate) + "\n";
}

JobResult exportJob(const std::string& name, const std::string& charset,
                    const std::string& attributes, double nullRate) {
    Job job;
    job.name = "producer-" + name;
    job.jobLines = "charset = \"" + charset + "\"\n";
    job.attributes = "OUTMODname = " + staged("lib64/outmods/libpassthru.so") +
                     "\nFileName = \"out.dat\"\n" + attributes + "\n";
    job.schema = kSchema;
    job.source = sourceOf(charset, nullRate);
    return testsupport::runJob(job);
}

// A job of the test producer reading the DELIMITED file `file` (or the
// FileName of `attributes` when empty).
Job producerJob(const std::string& name, const std::string& file, const std::string& attributes,
                const std::string& schema) {
    Job job;
    job.name = "producer-" + name;
    job.module = "tests/lib64/libbuproducer.so";
    job.attributes = (file.empty() ? "" : "FileName = \"" + file + "\"\n") +
                     "Format = \"DELIMITED\"\n" + attributes + "\n";
    job.schema = schema;
    job.source = "kind = \"generate\"\nrows = 0\n";
    job.tables = "[system]\nSYSTEM_OperatorType = 1\n";
    return job;
}

TEST(ProducerRoundTrip, DelimitedFilesReadBackToTheRowsWritten) {
    struct Case {
        const char* name;
        const char* charset;
        std::string attributes;
        double nullRate;
        bool emptyIsNull;
        std::string written = {};  // attributes of the writer alone
    };
    const Case cases[] = {
        {"quoted", "ASCII", "QuotedData = \"Yes\"", 0.2, false},
        // NULLs before a column that needs quotes cut the record (on purpose).
        {"optional", "ASCII", "QuotedData = \"Optional\"\nTextDelimiter = \",\"", 0, false},
        {"escaped", "ASCII", "EscapeTextDelimiter = \"\\\\\"", 0.2, true},
        // The plainest loop, and a delimiter behind the last column.
        {"tab-appended", "ASCII", "TextDelimiter = \"TAB\"", 0.2, true, "AppendDelimiter = \"Y\""},
        {"utf8-marks", "UTF8",
         "TextDelimiter = \"¦\"\nQuotedData = \"Yes\"\nOpenQuoteMark = \"«\"\n"
         "CloseQuoteMark = \"»\"",
         0.2, false},
        {"utf16-quoted", "UTF16", "QuotedData = \"Yes\"", 0.2, false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        JobResult binary = exportJob(std::string(c.name) + "-binary", c.charset,
                                     "Format = \"BINARY\"\nIndicatorMode = \"Y\"", c.nullRate);
        ASSERT_EQ(binary.exitCode, 0) << binary.output << binary.publicLog;
        JobResult text =
            exportJob(c.name, c.charset,
                      "Format = \"DELIMITED\"\n" + c.attributes + "\n" + c.written, c.nullRate);
        ASSERT_EQ(text.exitCode, 0) << text.output << text.publicLog;
        const auto expected = rowsOf(binary.file("out.dat"), 2, c.emptyIsNull);
        ASSERT_EQ(expected.size(), c.charset == std::string("UTF16") ? 3u : kRows);
        for (bool buffers : {false, true}) {
            SCOPED_TRACE(buffers ? "buffers" : "rows");
            // Rows put one at a time, or placed in buffers small enough that
            // many are handed on.
            Job job = producerJob(std::string(c.name) + "-read", text.dir + "/out.dat",
                                  c.attributes, kSchema);
            job.jobLines = "charset = \"" + std::string(c.charset) + "\"\n" +
                           (buffers ? "buffer_mode = true\nbuffer_size = 600\n" : "");
            const JobResult read = testsupport::runJob(job);
            ASSERT_EQ(read.exitCode, 0) << read.output << read.publicLog << read.allPrivate();
            const auto got =
                rowsOf(read.file("logs/producer-" + std::string(c.name) + "-read-1-put.rows"), 4,
                       c.emptyIsNull);
            EXPECT_EQ(got, expected);
        }
    }
}

// Records the parser refuses, files that end early and lists of files: each
// case's exit code, the rows put (as "a,b,c" with "-" for NULL), what the
// record error file keeps and a text of the public log (a month of 13 is
// the date routine's error 19, message 10679).
TEST(ProducerRoundTrip, BadInputGivesItsExitCodeRowsAndErrorLines) {
    struct Case {
        const char* name;
        std::string file;
        std::string attributes;
        int exitCode;
        std::vector<std::string> rows;
        std::string errors;                              // the record error file; none when empty
        std::map<std::string, std::string> listed = {};  // files of a list: name, bytes
        std::string logged = {};
        bool dates = false;  // column a rewritten from MMDD to DDMM
    };
    const std::string errorFile = "RecordErrorFileName = \"errors.txt\"\n";
    const std::string list = "FileList = \"Y\"";
    // Each file finds its own end-of-record mark.
    const std::map<std::string, std::string> files = {{"a.dat", "a|b|c\n"}, {"b.dat", "d|e|f\r\n"}};
    const Case cases[] = {
        {"excess", "1|2|3|4\n", "", 12, {}, ""},
        {"long", "12345|b|c\n", "", 12, {}, ""},
        {"long-cut", "12345|b|c\n", "TruncateColumnData = \"Y\"", 0, {"1234,b,c"}, ""},
        {"kept", "1|2|3|4\n5|6|7\n", errorFile, 4, {"5,6,7"}, "1|2|3|4\n"},
        {"no-end-mark", "a|b|c\nd|e|f", "", 0, {"a,b,c", "d,e,f"}, ""},
        {"empty", "", "", 0, {}, ""},
        {"list", "a.dat\n\nb.dat\n", list, 0, {"a,b,c", "d,e,f"}, "", files},
        {"list-missing-file",
         "a.dat\nnone.dat\nb.dat\n",
         list,
         12,
         {"a,b,c"},
         "",
         files,
         "none.dat"},
        {"list-missing", "", "FileName = \"none.list\"\n" + list, 12, {}, "", {}, "QLN19304"},
        {"date", "1124|b|c\n", "", 0, {"2411,b,c"}, "", {}, "", true},
        {"date-refused", "1324|b|c\n", "", 12, {}, "", {}, "QLN10679", true},
    };
    const std::string others =
        column("b", "length = 4\nnullable = true\n") + column("c", "length = 4\nnullable = true\n");
    const std::string dated = "input_format = \"MMDD\"\noutput_format = \"DDMM\"\n";
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Job job = producerJob(
            std::string("bad-") + c.name, c.attributes.starts_with("FileName") ? "" : "in.dat",
            c.attributes,
            column("a", ("length = 4\nnullable = true\n" + (c.dates ? dated : "")).c_str()) +
                others);
        job.inputs = c.listed;
        job.inputs["in.dat"] = c.file;
        JobResult r = testsupport::runJob(job);
        EXPECT_EQ(r.exitCode, c.exitCode) << r.output << r.publicLog;
        EXPECT_NE(r.publicLog.find(c.logged), std::string::npos) << r.publicLog;
        EXPECT_EQ(rowsOf(r.file("logs/" + job.name + "-1-put.rows"), 4), c.rows);
        if (!c.errors.empty()) {
            EXPECT_EQ(r.file("errors.txt"), c.errors);
        }
    }
}

}  // namespace
