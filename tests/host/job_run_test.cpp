// Whole jobs through the staged buhost and the test operator: rows and
// buffers in the row form, instances and their barrier, exit codes, a
// restart after SIGKILL, and the command line.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <map>

#include "test_jobs.h"

namespace {

using testsupport::contains;
using testsupport::Job;
using testsupport::JobResult;
using testsupport::lines;
using testsupport::runBuhost;
using testsupport::runJob;

// A job of the test operator, which writes what it is handed to
// out.<instance>: 20 generated rows of an INTEGER and a VARCHAR.
Job testOperatorJob(const std::string& name) {
    Job job;
    job.name = "host-" + name;
    job.module = "tests/lib64/libbutestop.so";
    job.attributes = "FileName = \"out.{instance}\"\n";
    job.schema =
        "[[schema]]\nname = \"id\"\ntype = \"INTEGER\"\n"
        "[[schema]]\nname = \"v\"\ntype = \"VARCHAR\"\nlength = 12\nnullable = true\n";
    job.source = "kind = \"generate\"\nrows = 20\nnull_rate = 0.2\n";
    return job;
}

std::string le32(uint32_t v) {
    return std::string{static_cast<char>(v), static_cast<char>(v >> 8), static_cast<char>(v >> 16),
                       static_cast<char>(v >> 24)};
}

// Nine columns (two indicator bytes) with every prefix width.
const char kFamiliesSchema[] =
    "[[schema]]\nname = \"i\"\ntype = \"INTEGER\"\n"
    "[[schema]]\nname = \"v\"\ntype = \"VARCHAR\"\nlength = 5\nnullable = true\n"
    "[[schema]]\nname = \"n\"\ntype = \"NUMBER\"\nlength = 10\n"
    "[[schema]]\nname = \"lob\"\ntype = \"CLOB\"\nlength = 20\n"
    "[[schema]]\nname = \"c\"\ntype = \"CHAR\"\nlength = 2\n"
    "[[schema]]\nname = \"b1\"\ntype = \"BYTEINT\"\nnullable = true\n"
    "[[schema]]\nname = \"b2\"\ntype = \"BYTEINT\"\nnullable = true\n"
    "[[schema]]\nname = \"b3\"\ntype = \"BYTEINT\"\nnullable = true\n"
    "[[schema]]\nname = \"b4\"\ntype = \"BYTEINT\"\nnullable = true\n";

// Column 9 NULL (second indicator byte, high bit); VARCHAR "ab"; NUMBER 5.
const std::string kRowA =
    testsupport::unhex("0080 01000000 0200 6162 03000005 0300000000000000 78797a 6869 01020300");
// Column 2 NULL; NUMBER zero and an empty CLOB have no data bytes.
const std::string kRowB =
    testsupport::unhex("4000 ffffffff 0000 00 0000000000000000 2020 7f800000");

// Rows A and B from a rows file, or the rows given.
Job familiesJob(const std::string& name,
                const std::string& rows = le32(31) + kRowA + le32(23) + kRowB) {
    Job job = testOperatorJob("families-" + name);
    job.inputs["in.rows"] = rows;
    job.schema = kFamiliesSchema;
    job.source = "kind = \"rows\"\nfile = \"in.rows\"\n";
    return job;
}

// The sections of a golden file of these tests ("== NAME" and its lines),
// by name.
std::map<std::string, std::string> goldenSections(const std::string& name) {
    std::map<std::string, std::string> sections;
    std::string* section = nullptr;
    const std::string path = std::string(BU_SOURCE_DIR) + "/tests/host/golden/" + name;
    for (const auto& line : lines(testsupport::readFile(path))) {
        if (line.starts_with("== ")) {
            section = &sections[line.substr(3)];
        } else if (section != nullptr) {
            *section += line + "\n";
        }
    }
    return sections;
}

// What the operator is handed, row by row or in buffers (golden/families.txt):
// indicators, offsets and lengths of every family, of a row lengthened on
// purpose and of the row behind it; length-prefixed rows with the trailer,
// with or without their indicator bytes; a buffer too small for the largest
// row (2 + 4 + 7 + 11 + 28 + 2 + 4 = 58 bytes, 62 with its length) grown to
// it, so that row A twice (70) takes two buffers.
TEST(FamiliesJob, RowsAndBuffersArriveAsTheSchemaLaysThemOut) {
    const auto golden = goldenSections("families.txt");
    const struct {
        const char *name, *job;
    } cases[] = {
        {"rows", ""},
        {"overlong", "\n[faults]\nrow = 1\noverlong_column = 5\n"},
        {"buffer-trailer", "buffer_mode = true\nbuffer_trailer_size = 4\n"},
        {"buffer-no-indicators", "buffer_mode = true\nbuffer_indicators = false\n"},
        {"buffer-grown", "buffer_mode = true\nbuffer_size = 1\n"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        Job job = familiesJob(c.name);
        if (std::string(c.name) == "buffer-grown")
            job.inputs["in.rows"] = le32(31) + kRowA + job.inputs["in.rows"];
        job.jobLines = c.job;
        const JobResult r = runJob(job, "");
        ASSERT_EQ(r.exitCode, 0) << r.err;
        ASSERT_EQ(golden.count(c.name), 1u);
        EXPECT_EQ(r.file("out.1"), golden.at(c.name));
    }
    // The grown size is what the operator reads as BUFFERMAXSIZE; --trace
    // sets its TraceLevel, and --quiet leaves standard output empty.
    Job job = familiesJob("probe");
    job.jobLines = "buffer_mode = true\nbuffer_size = 1\n";
    job.attributes += "TestMode = \"probe\"\nTestProbeNames = \"BUFFERMAXSIZE,TraceLevel\"\n";
    const JobResult r = runJob(job, "--trace ALL --quiet");
    ASSERT_EQ(r.exitCode, 0) << r.err;
    EXPECT_EQ(r.out, "");
    const auto probed = lines(r.file("out.1"));
    ASSERT_GE(probed.size(), 2u);
    EXPECT_EQ(probed[0], "attr BUFFERMAXSIZE rc=0 len=4 hex=3e000000 zero-behind=1");
    EXPECT_EQ(probed[1], "attr TraceLevel rc=0 len=3 hex=414c4c zero-behind=1");
}

// Rows handed from the mapped file are the rows of the row buffer, a spoiled
// one too, and in buffers; only the old row's bytes now stay as they were.
TEST(FamiliesJob, MappedRowsArriveAsTheReusedBufferHandsThem) {
    for (const char* lines : {"", "\n[faults]\nrow = 1\noverlong_column = 2\n",
                              "buffer_mode = true\nbuffer_size = 1\n"}) {
        SCOPED_TRACE(lines);
        Job job = familiesJob("reused");
        job.jobLines = lines;
        const JobResult reused = runJob(job, "");
        job.name = "host-families-mapped";
        job.source += "row_memory = \"mapped\"\n";
        const JobResult mapped = runJob(job, "");
        ASSERT_EQ(reused.exitCode + mapped.exitCode, 0) << reused.err << mapped.err;
        EXPECT_EQ(mapped.file("out.1"), reused.file("out.1"));
    }
    // Mapped, the shorter row stays as it was behind the longer one, which
    // leaves no garbage behind it to tell apart.
    Job job = familiesJob("reuse-check", le32(23) + kRowB + le32(31) + kRowA);
    job.source += "row_memory = \"mapped\"\n";
    job.attributes += "TestCheckReuse = 1\n";
    const JobResult r = runJob(job, "");
    ASSERT_EQ(r.exitCode, 0) << r.err;
    const auto out = lines(r.file("out.1"));
    EXPECT_EQ(std::count(out.begin(), out.end(), "last row overwritten=0"), 1);
}

TEST(FamiliesJob, ARowThatDisagreesWithTheSchemaFailsTheJobWithItsReason) {
    const JobResult r = runJob(familiesJob("bad-row", le32(3) + std::string("\x00\x00\x01", 3)));
    EXPECT_EQ(r.exitCode, 12);
    EXPECT_TRUE(contains(r.out, "row 1: row ends")) << r.out;
}

std::vector<std::string> rowLines(const JobResult& r, const std::string& name) {
    auto all = lines(r.file(name));
    std::erase_if(all, [](const std::string& l) { return !l.starts_with("row "); });
    return all;
}

// The old row is overwritten, and what the new one leaves of it is garbage:
// behind rows a little shorter and, with the wide column, far shorter.
TEST(RowMemory, ARowIsOverwrittenByTheNextSoAMissingCopyShows) {
    for (const uint32_t width : {12u, 300u}) {
        Job job = testOperatorJob("reuse-" + std::to_string(width));
        job.attributes += "TestCheckReuse = 1\n";
        job.schema =
            "[[schema]]\nname = \"id\"\ntype = \"INTEGER\"\n[[schema]]\nname = \"v\"\n"
            "type = \"VARCHAR\"\nnullable = true\nlength = " +
            std::to_string(width) + "\n";
        const JobResult r = runJob(job, "");
        ASSERT_EQ(r.exitCode, 0) << r.err;
        auto out = lines(r.file("out.1"));
        EXPECT_EQ(std::count(out.begin(), out.end(), "last row overwritten=1"), 19) << width;
        size_t previous = 0, longestDrop = 0;
        for (const auto& row : rowLines(r, "out.1")) {
            const size_t length = (row.size() - row.find("data=") - 5) / 2;
            if (length < previous) longestDrop = std::max(longestDrop, previous - length);
            previous = length;
        }
        EXPECT_GT(longestDrop, width / 2) << width;
    }
}

// Every row goes to exactly one instance, in stride order. Instance 1
// finishes phase 1 late and marks it in a global variable that the others
// read in phase 2: none may start phase 2 before every phase 1 is done.
TEST(Instances, RowsInStrideOrderAndPhaseTwoAfterEveryPhaseOne) {
    Job job = testOperatorJob("single");
    job.source = "kind = \"generate\"\nrows = 100\nseed = 5\n";
    const JobResult single = runJob(job, "");
    job.name = "host-triple";
    job.instances = 3;
    job.attributes += "TestPhase1DelayMs = 300\n";
    const JobResult triple = runJob(job, "");
    ASSERT_EQ(single.exitCode + triple.exitCode, 0) << single.err << triple.err;
    auto whole = rowLines(single, "out.1");
    ASSERT_EQ(whole.size(), 100u);
    std::vector<std::vector<std::string>> parts;
    for (int k = 1; k <= 3; ++k) {
        const std::string out = "out." + std::to_string(k);
        EXPECT_EQ(lines(triple.file(out)).back(), "phase2 saw 3 of 3") << "instance " << k;
        parts.push_back(rowLines(triple, out));
    }
    ASSERT_EQ(parts[0].size() + parts[1].size() + parts[2].size(), 100u);
    for (size_t i = 0; i < whole.size(); ++i) EXPECT_EQ(parts[i % 3][i / 3], whole[i]) << i;
}

// The job exits with the highest code of its instances. Each instance tells
// its rows, code and pace over the row bytes it was handed (rows of 1 + 4
// bytes), in JSON and as a line of its own.
TEST(ExitCode, TheJobExitsWithTheHighestCodeOfItsInstances) {
    Job job = testOperatorJob("exit-codes");
    job.instances = 3;
    job.attributes += "TestExitCodes = \"0,8,4\"\n";
    job.schema = "[[schema]]\nname = \"id\"\ntype = \"INTEGER\"\n";
    JobResult r = runJob(job);
    EXPECT_EQ(r.exitCode, 8) << r.err;
    EXPECT_TRUE(contains(r.out, "\"exit_code\":8,\"rows\":20")) << r.out;
    // Instance 2 took 7 rows of 5 bytes, instance 3 took 6; every pace was
    // measured over a time.
    for (const char* instance : {"{\"instance\":2,\"rows\":7,\"checkpoints\":0,\"exit_code\":8,",
                                 "{\"instance\":3,\"rows\":6,\"checkpoints\":0,\"exit_code\":4,",
                                 "\"row_bytes\":35,", "\"row_bytes\":30,"})
        EXPECT_TRUE(contains(r.out, instance)) << r.out;
    EXPECT_FALSE(contains(r.out, "\"seconds\":0.000000,")) << r.out;
    EXPECT_TRUE(contains(r.publicLog, "[2] I TESTOP[2]: QLN19015 exit code raised to 8"));
    r = testsupport::rerunJob(job, "");
    EXPECT_TRUE(contains(r.out, "instance 2: rows 7 at ")) << r.out;
    EXPECT_TRUE(contains(r.out, " MB/s, checkpoints 0, exit code 4\n")) << r.out;
    EXPECT_TRUE(contains(r.out, "job 'host-exit-codes': 20 rows in ")) << r.out;
}

TEST(ExitCode, AFailingMethodEndsTheRowsButBothTerminatePhasesRun) {
    Job job = testOperatorJob("fail-execute");
    job.attributes += "TestFailExecuteAt = 3\n";
    JobResult r = runJob(job, "");
    EXPECT_EQ(r.exitCode, 12);
    // The failure is told once, in the instance's line of the report; with
    // --quiet, which has no report, on standard error.
    const std::string failure = "PX_Execute returned 48 ('Fatal Error')";
    EXPECT_TRUE(contains(r.out, "exit code 12: " + failure)) << r.out;
    EXPECT_EQ(r.output.find(failure), r.output.rfind(failure)) << r.output;
    r = testsupport::rerunJob(job, "--quiet");
    EXPECT_TRUE(r.out.empty()) << r.out;
    EXPECT_EQ(r.err, "buhost: instance 1: " + failure + "\n");
    auto out = lines(r.file("out.1"));
    ASSERT_EQ(out.size(), 3u);
    EXPECT_EQ(out.back(), "phase2 saw 1 of 1");
}

// Killed after row 12 with checkpoints every 5 rows, the job resumes at row
// 10: the operator read no record (21) and started its file afresh, so only
// rows 11 to 20 are in it. Chains of kills of every instance, buffers and
// the real operator are the end-to-end crash matrix's.
TEST(Restart, ThePositionIsKeptEvenWhenTheOperatorWritesNoRecord) {
    Job job = testOperatorJob("no-record");
    job.jobLines = "checkpoint_rows = 5\n";
    job.attributes += "TestNoCheckpointRecord = 1\n";
    EXPECT_EQ(runJob(job, "--crash-after-rows 12").exitCode, 12);
    const JobResult r = testsupport::rerunJob(job, "--restart --json");
    ASSERT_EQ(r.exitCode, 0) << r.err;
    EXPECT_TRUE(contains(r.out, "{\"instance\":1,\"rows\":20,\"checkpoints\":2,")) << r.out;
    EXPECT_EQ(rowLines(r, "out.1").size(), 10u);
}

TEST(CommandLine, BadUsageExitsWith2) {
    const struct {
        const char* arguments;
        int exitCode;
        const char* said;
    } cases[] = {
        {"", 2, ""},
        {"walk x.toml", 2, ""},
        {"run x.toml --instances 0", 2, ""},
        {"run x.toml --crash-after-rows 1:x", 2, ""},
        {"run x.toml --fast", 2, "unknown option '--fast'"},
        {"run x.toml --trace loud", 2,
         "--trace must be NONE, MILESTONES, IO_COUNTS, IO_BUFFERS or ALL, not 'loud'"},
        {"--help", 0, "usage: buhost run JOB.toml"},
    };
    testsupport::TempDir dir;
    for (const auto& c : cases) {
        const JobResult r = runBuhost(c.arguments, dir.path());
        EXPECT_EQ(r.exitCode, c.exitCode) << c.arguments;
        EXPECT_TRUE(contains(r.output, c.said)) << r.output;
    }
}

// A bad job is one line on standard error and exit code 12 with nothing run;
// check runs nothing either, and sees what would stop run: a query that
// disagrees with the schema, a log folder it cannot write (an error), an
// OUTMOD the operator will not find (a warning: the job is valid).
TEST(CommandLine, BadJobsAndCheckWithoutRunning) {
    const std::string sales = "kind = \"sqlite\"\ndatabase = \"" +
                              testsupport::stagePath("examples/sales.db") +
                              "\"\nquery = \"SELECT id FROM sales\"\n";
    const std::string generated = testOperatorJob("").source;
    const struct {
        const char* command;
        std::string source, attributes;
        int exitCode;
        std::string out, err;
    } cases[] = {
        {"run", "kind = \"sqlite\"\ndatabase = \"missing.db\"\nquery = \"SELECT 1\"\n", "", 12, "",
         "database not found"},
        {"check", generated, "", 0, "job 'host-check' is valid: 2 columns", ""},
        {"check", sales, "", 12, "", "the query returns 1 columns, the schema has 2"},
        {"check", generated, "OUTMODname = \"lib64/outmods/libmissing.so\"\n", 0,
         "job 'host-check' is valid",
         "warning: OUTMOD 'lib64/outmods/libmissing.so' not found (nor beside the job file, nor "
         "in the stage)"},
        {"check", generated, "OUTMODname = \"lib64/outmods/libcountrecs.so\"\n", 12, "",
         "log directory /proc is not writable"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.err);
        Job job = testOperatorJob("check");
        job.source = c.source;
        job.attributes += c.attributes;
        const std::string dir = testsupport::writeJob(job);
        if (contains(c.err, "/proc")) {
            std::string text = testsupport::readFile(dir + "/job.toml");
            testsupport::writeFile(dir + "/job.toml",
                                   text.replace(text.find("\"logs\""), 6, "\"/proc\""));
        }
        const JobResult r = runBuhost(std::string(c.command) + " job.toml", dir);
        EXPECT_EQ(r.exitCode, c.exitCode) << r.err;
        EXPECT_TRUE(contains(r.out, c.out)) << r.out;
        if (std::string(c.command) == "run") {
            EXPECT_EQ(r.out, "");
        }
        if (c.exitCode != 0) {
            EXPECT_EQ(lines(r.err).size(), 1u) << r.err;
        }
        EXPECT_TRUE(contains(r.err, c.err)) << r.err;
        if (contains(c.err, "/proc")) {
            EXPECT_FALSE(contains(r.err, "warning")) << r.err;  // the stage's OUTMOD is found
        }
        EXPECT_FALSE(std::filesystem::exists(dir + "/out.1"));
    }
}

}  // namespace
