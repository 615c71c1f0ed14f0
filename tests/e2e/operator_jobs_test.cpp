// Jobs without a file, run end to end through buhost: the lifecycle the
// OUTMOD sees, the logs and trace levels, the exit code, and each refusal
// that a job can provoke, with its message and exit code.
#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>

#include "job_runner.h"

namespace {

using bu::e2e::Job;
using bu::e2e::JobResult;
using bu::e2e::runJob;

std::string outmod(const std::string& path) {
    return "OUTMODname = \"" + path + "\"\n";
}
std::string journalOutmod() {
    return outmod(BU_JOURNAL_OUTMOD);
}
std::string generated(int rows) {
    return "kind = \"generate\"\nrows = " + std::to_string(rows) + "\nseed = 7\nnull_rate = 0.0\n";
}

Job journalJob(const std::string& name, int rows) {
    Job job;
    job.name = name;
    job.attributes = journalOutmod();
    job.schema = bu::e2e::charAndIntegerSchema();
    job.source = generated(rows);
    return job;
}

bool contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

TEST(JobLifecycle, OutmodSeesStartEachRowAndEnd) {
    JobResult r = runJob(journalJob("lifecycle", 3));
    ASSERT_EQ(r.exitCode, 0) << r.output;
    ASSERT_EQ(r.journals.size(), 1u);
    // Start with empty lengths, each record of 9 bytes (indicator stripped),
    // and the end seeing what the last record left.
    EXPECT_EQ(r.journals[0],
              (std::vector<std::string>{"1 0 0", "3 9 0", "3 9 0", "3 9 0", "2 0 0"}));
    ASSERT_EQ(r.greetings().size(), 1u) << r.publicLog;
    EXPECT_EQ(r.greetings()[0], "[1] I BulkUnload OUTMOD Adapter, version 17.20.00.07");
    EXPECT_TRUE(contains(r.output, "\"max_row_size_kb\":1024")) << r.output;
}

TEST(JobLifecycle, IndicatorModeKeepsTheIndicatorByte) {
    Job job = journalJob("indicators", 2);
    job.attributes += "IndicatorMode = \"Y\"\n";
    JobResult r = runJob(job);
    ASSERT_EQ(r.exitCode, 0) << r.output;
    ASSERT_EQ(r.journals.size(), 1u);
    EXPECT_EQ(r.journals[0][1], "3 10 0");
}

TEST(JobLifecycle, EveryRowReachesExactlyOneInstance) {
    Job job;
    job.name = "count-two";
    job.instances = 2;
    job.attributes = outmod(bu::e2e::stagePath("lib64/outmods/libcountrecs.so"));
    job.schema = bu::e2e::charAndIntegerSchema();
    job.source = generated(7);
    JobResult r = runJob(job);
    ASSERT_EQ(r.exitCode, 0) << r.output;
    EXPECT_TRUE(contains(r.output, "countrecs: 4 records, 36 bytes")) << r.output;
    EXPECT_TRUE(contains(r.output, "countrecs: 3 records, 27 bytes")) << r.output;
    EXPECT_EQ(r.greetings().size(), 1u);  // instance 1 alone greets
    EXPECT_EQ(r.privateLogs.size(), 2u);
}

TEST(JobLogs, DefaultPrivateLogHoldsStatisticsOnly) {
    JobResult r = runJob(journalJob("stats-only", 1));
    ASSERT_EQ(r.exitCode, 0) << r.output;
    EXPECT_TRUE(r.hasMessage(19206));
    ASSERT_EQ(r.privateLogs.size(), 1u);
    const std::string& name = r.privateLogs.begin()->first;
    EXPECT_EQ(name.rfind("buoutop-", 0), 0u) << name;
    EXPECT_TRUE(contains(r.allPrivate(), "HALVEX QUILLON 64-BIT"));
    EXPECT_TRUE(contains(r.allPrivate(), "Closing logs"));
}

TEST(JobLogs, EmptyPrivateLogNameMeansNone) {
    Job job = journalJob("no-private", 1);
    job.attributes += "PrivateLogName = \"\"\nTraceLevel = \"ALL\"\n";
    JobResult r = runJob(job);
    ASSERT_EQ(r.exitCode, 0) << r.output;
    EXPECT_TRUE(r.privateLogs.empty());
    // 19009 has the short leader, without its number.
    EXPECT_TRUE(contains(r.publicLog, "buoutop[1]: instance 1 runs without a private log"))
        << r.publicLog;
}

TEST(JobLogs, TraceLevelDecidesWhatThePrivateLogShows) {
    Job job = journalJob("trace-all", 1);
    job.attributes += "PrivateLogName = \"mine\"\nTraceLevel = \"ALL\"\n";
    JobResult r = runJob(job);
    ASSERT_EQ(r.exitCode, 0) << r.output;
    ASSERT_EQ(r.privateLogs.count("mine-1.log") + r.privateLogs.count("mine-1"), 1u)
        << r.privateLogs.begin()->first;
    std::string log = r.allPrivate();
    EXPECT_TRUE(contains(log, "OUTMOD returned, req=3, OutLen=0, InLen=0"));
    EXPECT_TRUE(contains(log, "Data from PX_GetRow: SH="));
    EXPECT_TRUE(contains(log, "Sent max row size of 1024 to infrastructure"));

    job.name = "trace-milestones";
    job.attributes = journalOutmod() + "PrivateLogName = \"mine\"\nTraceLevel = \"MILESTONES\"\n";
    r = runJob(job);
    ASSERT_EQ(r.exitCode, 0) << r.output;
    log = r.allPrivate();
    EXPECT_TRUE(contains(log, "loading OUTMOD="));
    EXPECT_FALSE(contains(log, "OUTMOD returned, req=3"));
}

// A refusal: the job ends with exit code 12 and the message is on the
// public log, after which 19015 tells the exit code.
void expectRefused(const JobResult& r, int message) {
    EXPECT_EQ(r.exitCode, 12) << r.output;
    EXPECT_TRUE(r.hasMessage(message)) << r.publicLog;
    auto exitLines = r.messages(19015);
    ASSERT_FALSE(exitLines.empty()) << r.publicLog;
    EXPECT_TRUE(contains(exitLines.front(), "12")) << exitLines.front();
}

TEST(JobRefusals, MissingOutmodName) {
    Job job = journalJob("no-outmod", 1);
    job.attributes = "";
    JobResult r = runJob(job);
    expectRefused(r, 19201);
    EXPECT_TRUE(contains(r.messages(19201).front(), "OUTMODname"));
}

TEST(JobRefusals, UnloadableOutmod) {
    Job job = journalJob("bad-outmod", 1);
    job.attributes = outmod("/nonexistent/libnothing.so");
    expectRefused(runJob(job), 19501);
}

TEST(JobRefusals, OutmodWithoutEntryPoint) {
    Job job = journalJob("no-entry", 1);
    job.attributes = outmod(bu::e2e::stagePath("lib64/libbuoutop.so"));
    expectRefused(runJob(job), 19502);
}

TEST(JobRefusals, OutmodFailingEachCall) {
    for (const char* mode : {"fail-init", "fail-row", "fail-end"}) {
        Job job = journalJob(std::string("outmod-") + mode, 2);
        job.journalMode = mode;
        JobResult r = runJob(job);
        expectRefused(r, 19503);
    }
}

TEST(JobRefusals, RecordToWriteWithoutFileName) {
    Job job = journalJob("pass-no-file", 1);
    job.journalMode = "pass";
    expectRefused(runJob(job), 19506);
}

TEST(JobRefusals, OversizeOutLen) {
    Job job = journalJob("outlen-over", 1);
    job.journalMode = "outlen=64005";
    JobResult r = runJob(job);
    expectRefused(r, 19505);
    EXPECT_TRUE(contains(r.messages(19505).front(), "64005")) << r.publicLog;
}

TEST(JobRefusals, NegativeOutLenWritesNothing) {
    Job job = journalJob("outlen-negative", 2);
    job.journalMode = "outlen=-5";
    JobResult r = runJob(job);
    EXPECT_EQ(r.exitCode, 0) << r.output;
}

// A rows file of one VARCHAR column: each row is its indicator byte, the
// 2-byte length and the text.
std::string rowsFileOfWidths(const std::string& name, const std::vector<uint32_t>& widths) {
    auto path = std::filesystem::path(BU_BINARY_DIR) / "e2e-rows" / (name + ".rows");
    std::filesystem::create_directories(path.parent_path());
    std::ofstream out(path, std::ios::binary);
    for (uint32_t w : widths) {
        uint32_t length = 1 + 2 + w;
        const char header[4] = {char(length & 0xff), char((length >> 8) & 0xff),
                                char((length >> 16) & 0xff), char(length >> 24)};
        out.write(header, 4);
        const char prefix[3] = {0, char(w & 0xff), char(w >> 8)};
        out.write(prefix, 3);
        out << std::string(w, 'w');
    }
    return path.string();
}

TEST(JobRefusals, RowLongerThanTheOutmodBuffer) {
    Job job = journalJob("wide-rows", 0);
    job.schema = "[[schema]]\nname = \"wide\"\ntype = \"VARCHAR\"\nlength = 65000\n";
    job.source = "kind = \"rows\"\nfile = \"" + rowsFileOfWidths("wide", {64002, 64010}) + "\"\n";
    JobResult r = runJob(job);
    expectRefused(r, 19505);
    EXPECT_TRUE(contains(r.messages(19505).front(), "64012")) << r.publicLog;
    ASSERT_EQ(r.journals.size(), 1u);
    // The row that fits reached the OUTMOD whole; the long one never did.
    EXPECT_EQ(r.journals[0], (std::vector<std::string>{"1 0 0", "3 64004 0", "2 0 0"}));
}

TEST(JobRefusals, UnknownTraceLevel) {
    Job job = journalJob("bad-trace", 1);
    job.attributes += "TraceLevel = \"LOUD\"\n";
    expectRefused(runJob(job), 19205);
}

TEST(JobRefusals, TimeOutOnAConsumer) {
    Job job = journalJob("timeout", 1);
    job.attributes += "TimeOut = 30\n";
    JobResult r = runJob(job);
    expectRefused(r, 19230);
    EXPECT_TRUE(contains(r.messages(19230).front(), "TimeOut"));
}

TEST(JobRefusals, WrongWidthOfANumber) {
    Job job = journalJob("width", 1);
    job.attributes += "MaxDumpBytes = \"12\"\n";
    expectRefused(runJob(job), 19202);
}

TEST(JobRefusals, MultiValuedAttribute) {
    Job job = journalJob("multi", 1);
    job.attributes += "TraceLevel = [\"ALL\", \"NONE\"]\n";
    expectRefused(runJob(job), 19205);
}

TEST(JobRefusals, ExitCodeOnlyRises) {
    // Two refusals in a row of one job: the first raises to 12, later ones
    // neither lower it nor repeat 19015.
    Job job = journalJob("rises", 2);
    job.journalMode = "fail-row";
    JobResult r = runJob(job);
    EXPECT_EQ(r.exitCode, 12);
    EXPECT_EQ(r.messages(19015).size(), 1u) << r.publicLog;
}

}  // namespace
