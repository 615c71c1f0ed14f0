// Whole jobs through the staged buhost and the test operator: rows and
// buffers in the row form, instances and their barrier, exit codes,
// checkpoints that survive a SIGKILL, restarts, and the command line.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>

#include "jobs_support.h"

namespace {

using hosttest::hex;
using hosttest::JobText;
using hosttest::lines;
using hosttest::readFile;
using hosttest::runBuhost;
using hosttest::TempDir;
using hosttest::writeJob;

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
    hosttest::unhex("0080 01000000 0200 6162 03000005 0300000000000000 78797a 6869 01020300");
// Column 2 NULL; NUMBER zero and an empty CLOB have no data bytes.
const std::string kRowB = hosttest::unhex("4000 ffffffff 0000 00 0000000000000000 2020 7f800000");

class FamiliesJob : public ::testing::Test {
  protected:
    TempDir dir;
    JobText text;
    void SetUp() override {
        hosttest::writeFile(dir / "in.rows", le32(static_cast<uint32_t>(kRowA.size())) + kRowA +
                                                 le32(static_cast<uint32_t>(kRowB.size())) + kRowB);
        text.schema = kFamiliesSchema;
        text.source = "kind = \"rows\"\nfile = \"in.rows\"\n";
    }
};

// What the operator is handed, row by row or in buffers: indicators, offsets
// and lengths of every family, of a row lengthened on purpose and of the
// row behind it; length-prefixed rows with the trailer, with
// or without their indicator bytes; a buffer too small for the largest row
// (2 + 4 + 7 + 11 + 28 + 2 + 4 = 58 bytes, 62 with its length) grown to it,
// so that row A twice (70) takes two buffers.
TEST_F(FamiliesJob, RowsAndBuffersArriveAsTheSchemaLaysThemOut) {
    const std::string rowsAAB = le32(31) + kRowA + le32(31) + kRowA + le32(23) + kRowB;
    const struct {
        const char* job;
        std::string rows;  // empty: rows A and B
        std::vector<std::string> out;
    } cases[] = {
        {"",
         "",
         {"row ind=000000000000000001 at=2+4,8+2,11+3,22+3,25+2,27+1,28+1,29+1,30+1 data=" +
              hex(kRowA),
          "row ind=000100000000000000 at=2+4,8+0,9+0,17+0,17+2,19+1,20+1,21+1,22+1 data=" +
              hex(kRowB)}},
        // A fixed column made a byte longer in the first row only.
        {"\n[faults]\nrow = 1\noverlong_column = 5\n",
         "",
         {"row ind=000000000000000001 at=2+4,8+2,11+3,22+3,25+3,28+1,29+1,30+1,31+1 data=" +
              hex(kRowA.substr(0, 27) + "X" + kRowA.substr(27)),
          "row ind=000100000000000000 at=2+4,8+0,9+0,17+0,17+2,19+1,20+1,21+1,22+1 data=" +
              hex(kRowB)}},
        {"buffer_mode = true\nbuffer_trailer_size = 4\n",
         "",
         {"buffer ind=1 used=66 data=" +
          hex(le32(31) + kRowA + le32(23) + kRowB + std::string(4, '\0'))}},
        {"buffer_mode = true\nbuffer_indicators = false\n",
         "",
         {"buffer ind=0 used=58 data=" +
          hex(le32(29) + kRowA.substr(2) + le32(21) + kRowB.substr(2))}},
        {"buffer_mode = true\nbuffer_size = 1\n",
         rowsAAB,
         {"buffer ind=1 used=35 data=" + hex(le32(31) + kRowA),
          "buffer ind=1 used=62 data=" + hex(le32(31) + kRowA + le32(23) + kRowB)}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.job);
        if (!c.rows.empty()) hosttest::writeFile(dir / "in.rows", c.rows);
        text.job = c.job;
        auto r = runBuhost({"run", writeJob(dir, text)}, dir);
        ASSERT_EQ(r.exitCode, 0) << r.err;
        auto expected = c.out;
        expected.push_back("phase2 saw 1 of 1");
        EXPECT_EQ(lines(readFile(dir / "out.1")), expected);
    }
    // The grown size is what the operator reads as BUFFERMAXSIZE; --trace
    // sets its TraceLevel, and --quiet leaves standard output empty.
    text.attributes = "TestMode = \"probe\"\nTestProbeNames = \"BUFFERMAXSIZE,TraceLevel\"\n";
    auto r = runBuhost({"run", writeJob(dir, text), "--trace", "ALL", "--quiet"}, dir);
    ASSERT_EQ(r.exitCode, 0) << r.err;
    EXPECT_EQ(r.out, "");
    const auto probed = lines(readFile(dir / "out.1"));
    ASSERT_GE(probed.size(), 2u);
    EXPECT_EQ(probed[0], "attr BUFFERMAXSIZE rc=0 len=4 hex=3e000000 zero-behind=1");
    EXPECT_EQ(probed[1], "attr TraceLevel rc=0 len=3 hex=414c4c zero-behind=1");
}

// Rows handed from the mapped file are the rows of the row buffer, a spoiled
// one too, and in buffers; only the old row's bytes now stay as they were.
TEST_F(FamiliesJob, MappedRowsArriveAsTheReusedBufferHandsThem) {
    const std::string reused = text.source;
    for (const char* job : {"", "\n[faults]\nrow = 1\noverlong_column = 2\n",
                            "buffer_mode = true\nbuffer_size = 1\n"}) {
        SCOPED_TRACE(job);
        text.job = job;
        text.source = reused;
        ASSERT_EQ(runBuhost({"run", writeJob(dir, text)}, dir).exitCode, 0);
        const std::string fromBuffer = readFile(dir / "out.1");
        text.source = reused + "row_memory = \"mapped\"\n";
        ASSERT_EQ(runBuhost({"run", writeJob(dir, text)}, dir).exitCode, 0);
        EXPECT_EQ(readFile(dir / "out.1"), fromBuffer);
    }
    // The longer row behind the shorter: no garbage behind it to tell apart.
    hosttest::writeFile(dir / "in.rows", le32(23) + kRowB + le32(31) + kRowA);
    text.job = "";
    text.attributes = "TestCheckReuse = 1\n";
    ASSERT_EQ(runBuhost({"run", writeJob(dir, text)}, dir).exitCode, 0);
    const auto out = lines(readFile(dir / "out.1"));
    EXPECT_EQ(std::count(out.begin(), out.end(), "last row overwritten=0"), 1);
}

TEST_F(FamiliesJob, ARowThatDisagreesWithTheSchemaFailsTheJobWithItsReason) {
    hosttest::writeFile(dir / "in.rows", le32(3) + std::string("\x00\x00\x01", 3));
    auto r = runBuhost({"run", writeJob(dir, text)}, dir);
    EXPECT_EQ(r.exitCode, 12);
    EXPECT_NE(r.out.find("row 1: row ends"), std::string::npos) << r.out;
}

std::vector<std::string> rowLines(const std::string& path) {
    auto all = lines(readFile(path));
    all.erase(std::remove_if(all.begin(), all.end(),
                             [](const std::string& l) { return l.rfind("row ", 0) != 0; }),
              all.end());
    return all;
}

// The old row is overwritten, and what the new one leaves of it is garbage:
// behind rows a little shorter and, with the wide column, far shorter.
TEST(RowMemory, ARowIsOverwrittenByTheNextSoAMissingCopyShows) {
    for (const uint32_t width : {12u, 300u}) {
        TempDir dir;
        JobText text;
        text.attributes = "TestCheckReuse = 1\n";
        text.schema =
            "[[schema]]\nname = \"id\"\ntype = \"INTEGER\"\n[[schema]]\nname = \"v\"\n"
            "type = \"VARCHAR\"\nnullable = true\nlength = " +
            std::to_string(width) + "\n";
        ASSERT_EQ(runBuhost({"run", writeJob(dir, text)}, dir).exitCode, 0);
        auto out = lines(readFile(dir / "out.1"));
        EXPECT_EQ(std::count(out.begin(), out.end(), "last row overwritten=1"), 19) << width;
        size_t previous = 0, longestDrop = 0;
        for (const auto& row : rowLines(dir / "out.1")) {
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
    TempDir single, triple;
    JobText text;
    text.source = "kind = \"generate\"\nrows = 100\nseed = 5\n";
    ASSERT_EQ(runBuhost({"run", writeJob(single, text)}, single).exitCode, 0);
    text.job = "instances = 3\n";
    text.attributes = "TestPhase1DelayMs = 300\n";
    auto r = runBuhost({"run", writeJob(triple, text)}, triple);
    ASSERT_EQ(r.exitCode, 0) << r.err;
    auto whole = rowLines(single / "out.1");
    ASSERT_EQ(whole.size(), 100u);
    std::vector<std::vector<std::string>> parts;
    for (int k = 1; k <= 3; ++k) {
        const std::string out = triple / ("out." + std::to_string(k));
        EXPECT_EQ(lines(readFile(out)).back(), "phase2 saw 3 of 3") << "instance " << k;
        parts.push_back(rowLines(out));
    }
    ASSERT_EQ(parts[0].size() + parts[1].size() + parts[2].size(), 100u);
    for (size_t i = 0; i < whole.size(); ++i) EXPECT_EQ(parts[i % 3][i / 3], whole[i]) << i;
}

// The job exits with the highest code of its instances. Each instance tells
// its rows, code and pace over the row bytes it was handed (rows of 1 + 4
// bytes), in JSON and as a line of its own.
TEST(ExitCode, TheJobExitsWithTheHighestCodeOfItsInstances) {
    TempDir dir;
    JobText text;
    text.job = "instances = 3\n";
    text.attributes = "TestExitCodes = \"0,8,4\"\n";
    text.schema = "[[schema]]\nname = \"id\"\ntype = \"INTEGER\"\n";
    auto r = runBuhost({"run", writeJob(dir, text), "--json"}, dir);
    EXPECT_EQ(r.exitCode, 8) << r.err;
    EXPECT_NE(r.out.find("\"exit_code\":8,\"rows\":20"), std::string::npos) << r.out;
    for (const auto& [k, rest] : {std::pair{2, "7,\"checkpoints\":0,\"exit_code\":8,"},
                                  std::pair{3, "6,\"checkpoints\":0,\"exit_code\":4,"}}) {
        const size_t at = r.out.find("{\"instance\":" + std::to_string(k) + ",\"rows\":" + rest);
        ASSERT_NE(at, std::string::npos) << r.out;
        double seconds = 0;
        ASSERT_EQ(std::sscanf(r.out.c_str() + r.out.find("\"seconds\":", at), "\"seconds\":%lf",
                              &seconds),
                  1);
        EXPECT_GT(seconds, 0);
        const std::string bytes = "\"row_bytes\":" + std::to_string((k == 2 ? 7 : 6) * 5) + ",";
        EXPECT_EQ(r.out.find(bytes, at), r.out.find("\"row_bytes\"", at)) << r.out;
    }
    EXPECT_NE(
        readFile(dir / "logs/t-public.log").find("[2] I TESTOP[2]: QLN19015 exit code raised to 8"),
        std::string::npos);
    r = runBuhost({"run", dir / "job.toml"}, dir);
    EXPECT_NE(r.out.find("instance 2: rows 7 at "), std::string::npos) << r.out;
    EXPECT_NE(r.out.find(" MB/s, checkpoints 0, exit code 4\n"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("job 't': 20 rows in "), std::string::npos) << r.out;
}

TEST(ExitCode, AFailingMethodEndsTheRowsButBothTerminatePhasesRun) {
    TempDir dir;
    JobText text;
    text.attributes = "TestFailExecuteAt = 3\n";
    auto r = runBuhost({"run", writeJob(dir, text)}, dir);
    EXPECT_EQ(r.exitCode, 12);
    // The failure is told once, in the instance's line of the report; with
    // --quiet, which has no report, on standard error.
    const std::string failure = "PX_Execute returned 48 ('Fatal Error')";
    EXPECT_NE(r.out.find("exit code 12: " + failure), std::string::npos) << r.out;
    EXPECT_EQ((r.out + r.err).find(failure), (r.out + r.err).rfind(failure)) << r.out << r.err;
    r = runBuhost({"run", dir / "job.toml", "--quiet"}, dir);
    EXPECT_TRUE(r.out.empty()) << r.out;
    EXPECT_EQ(r.err, "buhost: instance 1: " + failure + "\n");
    auto out = lines(readFile(dir / "out.1"));
    ASSERT_EQ(out.size(), 3u);
    EXPECT_EQ(out.back(), "phase2 saw 1 of 1");
}

// Two instances of 30 rows each, checkpoints every 7 rows. Chains of kills
// of every instance, buffers and the real operator are the end-to-end crash
// matrix's.
JobText crashJob() {
    JobText t;
    t.job = "instances = 2\ncheckpoint_rows = 7\n";
    t.source = "kind = \"generate\"\nrows = 60\nseed = 9\nnull_rate = 0.3\n";
    return t;
}

TEST(CrashAndRestart, ARestartAfterSigkillGivesTheUninterruptedOutput) {
    TempDir clean, crashed;
    auto r = runBuhost({"run", writeJob(clean, crashJob())}, clean);
    ASSERT_EQ(r.exitCode, 0) << r.err;

    const std::string job = writeJob(crashed, crashJob());
    r = runBuhost({"run", job, "--crash-after-rows", "2:17"}, crashed);
    EXPECT_EQ(r.exitCode, 12);
    EXPECT_NE(r.out.find("instance 2: rows 17, checkpoints 2, exit code 12: instance process "
                         "killed by signal 9"),
              std::string::npos)
        << r.out;

    r = runBuhost({"run", job, "--restart", "--json"}, crashed);
    ASSERT_EQ(r.exitCode, 0) << r.err << r.out;
    // Each instance resumed after its stored position: 4 more checkpoints
    // of 7 rows would need 28 fresh rows; instance 2 took 16, so it has 2.
    EXPECT_NE(r.out.find("{\"instance\":2,\"rows\":30,\"checkpoints\":2,"), std::string::npos)
        << r.out;
    for (const char* f : {"out.1", "out.2"}) {
        EXPECT_EQ(readFile(crashed / f), readFile(clean / f)) << f;
    }
}

TEST(Restart, ThePositionIsKeptEvenWhenTheOperatorWritesNoRecord) {
    TempDir dir;
    JobText text;
    text.job = "checkpoint_rows = 5\n";
    text.attributes = "TestNoCheckpointRecord = 1\n";
    const std::string job = writeJob(dir, text);
    EXPECT_EQ(runBuhost({"run", job, "--crash-after-rows", "12"}, dir).exitCode, 12);
    auto r = runBuhost({"run", job, "--restart", "--json"}, dir);
    ASSERT_EQ(r.exitCode, 0) << r.err;
    // Resumed at row 10: the operator read no record (21) and started its
    // file afresh, so only rows 11 to 20 are in it.
    EXPECT_NE(r.out.find("{\"instance\":1,\"rows\":20,\"checkpoints\":2,"), std::string::npos)
        << r.out;
    EXPECT_EQ(rowLines(dir / "out.1").size(), 10u);
}

TEST(CommandLine, BadUsageExitsWith2) {
    TempDir dir;
    EXPECT_EQ(runBuhost({}, dir).exitCode, 2);
    EXPECT_EQ(runBuhost({"walk", "x.toml"}, dir).exitCode, 2);
    EXPECT_EQ(runBuhost({"run", "x.toml", "--instances", "0"}, dir).exitCode, 2);
    EXPECT_EQ(runBuhost({"run", "x.toml", "--crash-after-rows", "1:x"}, dir).exitCode, 2);
    auto help = runBuhost({"--help"}, dir);
    EXPECT_EQ(help.exitCode, 0);
    EXPECT_EQ(help.out.rfind("usage: buhost run JOB.toml", 0), 0u) << help.out;
    auto r = runBuhost({"run", "x.toml", "--fast"}, dir);
    EXPECT_EQ(r.exitCode, 2);
    EXPECT_NE(r.err.find("unknown option '--fast'"), std::string::npos) << r.err;
    r = runBuhost({"run", "x.toml", "--trace", "loud"}, dir);
    EXPECT_EQ(r.exitCode, 2);
    EXPECT_NE(r.err.find("--trace must be NONE, MILESTONES, IO_COUNTS, IO_BUFFERS or ALL, not "
                         "'loud'"),
              std::string::npos)
        << r.err;
}

// A bad job is one line on standard error and exit code 12 with nothing run;
// check runs nothing either, and sees what would stop run: a query that
// disagrees with the schema, a log folder it cannot write (an error), an
// OUTMOD the operator will not find (a warning: the job is valid).
TEST(CommandLine, BadJobsAndCheckWithoutRunning) {
    const std::string sales = "kind = \"sqlite\"\ndatabase = \"" + hosttest::stageDir() +
                              "/examples/sales.db\"\nquery = \"SELECT id FROM sales\"\n";
    const struct {
        const char* command;
        std::string source, attributes;
        int exitCode;
        std::string out, err;
    } cases[] = {
        {"run", "kind = \"sqlite\"\ndatabase = \"missing.db\"\nquery = \"SELECT 1\"\n", "", 12, "",
         "database not found"},
        {"check", JobText{}.source, "", 0, "job 't' is valid: 2 columns", ""},
        {"check", sales, "", 12, "", "the query returns 1 columns, the schema has 2"},
        {"check", JobText{}.source, "OUTMODname = \"lib64/outmods/libmissing.so\"\n", 0,
         "job 't' is valid",
         "warning: OUTMOD 'lib64/outmods/libmissing.so' not found (nor beside the job file, nor "
         "in the stage)"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.err);
        TempDir dir;
        JobText text;
        text.source = c.source;
        text.attributes = c.attributes;
        auto r = runBuhost({c.command, writeJob(dir, text)}, dir);
        EXPECT_EQ(r.exitCode, c.exitCode) << r.err;
        EXPECT_NE(r.out.find(c.out), std::string::npos) << r.out;
        if (std::string(c.command) == "run") {
            EXPECT_EQ(r.out, "");
        }
        if (c.exitCode != 0) {
            EXPECT_EQ(lines(r.err).size(), 1u) << r.err;
        }
        EXPECT_NE(r.err.find(c.err), std::string::npos) << r.err;
        EXPECT_FALSE(std::filesystem::exists(dir / "out.1"));
    }

    TempDir dir;
    hosttest::writeFile(dir / "proc.toml",
                        "[job]\nname = \"t\"\nlog_dir = \"/proc\"\n"
                        "[operator]\nmodule = \"" +
                            hosttest::testOperator() +
                            "\"\n[attributes]\nOUTMODname = \"lib64/outmods/libcountrecs.so\"\n"
                            "[[schema]]\nname = \"id\"\ntype = \"INTEGER\"\n"
                            "[source]\nkind = \"generate\"\nrows = 1\n");
    auto r = runBuhost({"check", dir / "proc.toml"}, dir);
    EXPECT_EQ(r.exitCode, 12);
    EXPECT_NE(r.err.find("log directory /proc is not writable"), std::string::npos) << r.err;
    EXPECT_EQ(r.err.find("warning"), std::string::npos) << r.err;
}

}  // namespace
