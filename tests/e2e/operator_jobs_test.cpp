// Jobs run end to end through buhost: what the OUTMOD sees, the logs the host
// writes for the operator, and the refusals a job can provoke as the host
// renders them, with the job's exit code.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "job_runner.h"

namespace {

using bu::e2e::Job;
using bu::e2e::JobResult;
using bu::e2e::runJob;

std::string outmod(const std::string& path) {
    return "OUTMODname = \"" + path + "\"\n";
}
std::string generated(int rows, const char* nullRate = "0.0") {
    return "kind = \"generate\"\nrows = " + std::to_string(rows) +
           "\nseed = 7\nnull_rate = " + nullRate + "\n";
}

Job journalJob(const std::string& name, int rows) {
    Job job;
    job.name = name;
    job.attributes = outmod(BU_JOURNAL_OUTMOD);
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
    // Both columns NULL in every row: the byte in front is 0xC0, high bit first.
    Job job = journalJob("indicators", 2);
    job.attributes += "IndicatorMode = \"Y\"\n";
    job.schema =
        "[[schema]]\nname = \"code\"\ntype = \"CHAR\"\nlength = 5\nnullable = true\n"
        "[[schema]]\nname = \"n\"\ntype = \"INTEGER\"\nnullable = true\n";
    job.source = generated(2, "1.0");
    job.journalMode = "first-byte";
    JobResult r = runJob(job);
    ASSERT_EQ(r.exitCode, 0) << r.output;
    ASSERT_EQ(r.journals.size(), 1u);
    EXPECT_EQ(r.journals[0],
              (std::vector<std::string>{"1 0 0", "3 10 0 c0", "3 10 0 c0", "2 0 0"}));
}

TEST(JobLifecycle, EveryRowReachesExactlyOneInstance) {
    Job job = journalJob("count-two", 7);
    job.instances = 2;
    job.attributes = outmod(bu::e2e::stagePath("lib64/outmods/libcountrecs.so"));
    JobResult r = runJob(job);
    ASSERT_EQ(r.exitCode, 0) << r.output;
    EXPECT_TRUE(contains(r.output, "countrecs: 4 records, 36 bytes")) << r.output;
    EXPECT_TRUE(contains(r.output, "countrecs: 3 records, 27 bytes")) << r.output;
    EXPECT_EQ(r.greetings().size(), 1u);  // instance 1 alone greets
    EXPECT_EQ(r.privateLogs.size(), 2u);
}

// The private log as the host writes it: its name, and what the trace
// level lets through.
TEST(JobLogs, PrivateLogFollowsItsNameAndTheTraceLevel) {
    JobResult r = runJob(journalJob("stats-only", 1));
    ASSERT_EQ(r.exitCode, 0) << r.output;
    ASSERT_EQ(r.privateLogs.size(), 1u);
    EXPECT_EQ(r.privateLogs.begin()->first.rfind("buoutop-", 0), 0u);
    EXPECT_TRUE(contains(r.allPrivate(), "HALVEX QUILLON 64-BIT"));
    EXPECT_FALSE(contains(r.allPrivate(), "OUTMOD returned, req=3"));

    Job job = journalJob("trace-all", 1);
    job.attributes =
        outmod(BU_JOURNAL_OUTMOD) + "PrivateLogName = \"mine\"\nTraceLevel = \"ALL\"\n";
    r = runJob(job);
    ASSERT_EQ(r.exitCode, 0) << r.output;
    EXPECT_EQ(r.privateLogs.count("mine-1.log") + r.privateLogs.count("mine-1"), 1u);
    EXPECT_TRUE(contains(r.allPrivate(), "OUTMOD returned, req=3, OutLen=0, InLen=0"));
    EXPECT_TRUE(contains(r.allPrivate(), "Sent max row size of 1024 to infrastructure"));
}

// A refusal as the host renders it: its message on the public log, one 19015
// telling the exit code, however many refusals follow, and the job ending
// with 12. A refusal at the start, one on the row path, and the host's answer
// to a multi-valued attribute; the operator's unit tests have the others.
TEST(JobRefusals, MessageAndExitCodeTwelve) {
    struct Case {
        const char* name;
        std::string attributes;
        const char* mode;
        int message;
        const char* shown;
    };
    const Case cases[] = {
        {"no-outmod", "", "swallow", 19201, "OUTMODname"},
        {"outlen-over", outmod(BU_JOURNAL_OUTMOD), "outlen=64005", 19505, "64005"},
        {"multi", outmod(BU_JOURNAL_OUTMOD) + "TraceLevel = [\"ALL\", \"NONE\"]\n", "swallow",
         19205, ""},
    };
    for (const Case& c : cases) {
        Job job = journalJob(c.name, 2);
        job.attributes = c.attributes;
        job.journalMode = c.mode;
        JobResult r = runJob(job);
        EXPECT_EQ(r.exitCode, 12) << c.name << "\n" << r.output;
        const auto lines = r.messages(c.message);
        ASSERT_FALSE(lines.empty()) << c.name << "\n" << r.publicLog;
        EXPECT_TRUE(contains(lines.front(), c.shown)) << c.name << ": " << lines.front();
        const auto exitLines = r.messages(19015);
        ASSERT_EQ(exitLines.size(), 1u) << c.name << "\n" << r.publicLog;
        EXPECT_TRUE(contains(exitLines.front(), "12")) << exitLines.front();
    }
}

}  // namespace
