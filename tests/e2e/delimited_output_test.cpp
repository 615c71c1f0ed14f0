// DELIMITED jobs end to end through buhost: the bytes of each combination of
// marks that changes them against the golden cases of tests/golden/delimited,
// in ASCII, UTF-8, UTF-16 and Shift-JIS. Generated rows written as DELIMITED
// and read back, value for value against the same rows written as BINARY, are
// the producer's round trip (producer_round_trip_test.cpp).
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "test_jobs.h"

namespace {

using testsupport::hex;
using testsupport::Job;
using testsupport::JobResult;
using testsupport::staged;

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
        JobResult r = testsupport::runJob(job);
        ASSERT_EQ(r.exitCode, 0) << r.output << r.publicLog;
        const std::string expected = testsupport::goldenBytes("delimited", name);
        const std::string written = r.file("out.dat");
        EXPECT_EQ(written, expected)
            << "written:  " << hex(written) << "\nexpected: " << hex(expected);
        ++cases;
    }
    EXPECT_EQ(cases, 11);
}

}  // namespace
