// Jobs run end to end through buhost: what the OUTMOD sees and the logs the
// host writes for the operator. The operator's refusals are its unit tests';
// those only a misbehaving host provokes are host_fault_jobs_test.cpp's.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "test_jobs.h"

namespace {

using testsupport::contains;
using testsupport::Job;
using testsupport::JobResult;
using testsupport::runJob;

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
    job.schema = testsupport::charAndIntegerSchema();
    job.source = generated(rows);
    return job;
}

// Start with empty lengths, each record of 9 bytes (the indicator byte
// stripped) or 10 with it (both columns NULL: 0xC0, high bit first), and the
// end seeing what the last record left.
TEST(JobLifecycle, OutmodSeesStartEachRowAndEnd) {
    JobResult r = runJob(journalJob("lifecycle", 3));
    ASSERT_EQ(r.exitCode, 0) << r.output;
    ASSERT_EQ(r.journals.size(), 1u);
    EXPECT_EQ(r.journals[0],
              (std::vector<std::string>{"1 0 0", "3 9 0", "3 9 0", "3 9 0", "2 0 0"}));
    ASSERT_EQ(r.greetings().size(), 1u) << r.publicLog;
    EXPECT_EQ(r.greetings()[0], "[1] I BulkUnload OUTMOD Adapter, version 17.20.00.07");
    EXPECT_TRUE(contains(r.output, "\"max_row_size_kb\":1024")) << r.output;

    Job job = journalJob("indicators", 2);
    job.attributes += "IndicatorMode = \"Y\"\n";
    job.schema =
        "[[schema]]\nname = \"code\"\ntype = \"CHAR\"\nlength = 5\nnullable = true\n"
        "[[schema]]\nname = \"n\"\ntype = \"INTEGER\"\nnullable = true\n";
    job.source = generated(2, "1.0");
    job.journalMode = "first-byte";
    r = runJob(job);
    ASSERT_EQ(r.exitCode, 0) << r.output;
    ASSERT_EQ(r.journals.size(), 1u);
    EXPECT_EQ(r.journals[0],
              (std::vector<std::string>{"1 0 0", "3 10 0 c0", "3 10 0 c0", "2 0 0"}));
}

// The private log as the host writes it: its name, one per instance, and
// what the trace level lets through; only instance 1 greets.
TEST(JobLogs, PrivateLogFollowsItsNameAndTheTraceLevel) {
    JobResult r = runJob(journalJob("stats-only", 1));
    ASSERT_EQ(r.exitCode, 0) << r.output;
    ASSERT_EQ(r.privateLogs.size(), 1u);
    EXPECT_EQ(r.privateLogs.begin()->first.rfind("buoutop-", 0), 0u);
    EXPECT_TRUE(contains(r.allPrivate(), "HALVEX QUILLON 64-BIT"));
    EXPECT_FALSE(contains(r.allPrivate(), "OUTMOD returned, req=3"));

    Job job = journalJob("trace-all", 3);
    job.instances = 2;
    job.attributes =
        outmod(BU_JOURNAL_OUTMOD) + "PrivateLogName = \"mine\"\nTraceLevel = \"ALL\"\n";
    r = runJob(job);
    ASSERT_EQ(r.exitCode, 0) << r.output;
    EXPECT_EQ(r.privateLogs.size(), 2u);
    EXPECT_EQ(r.privateLogs.count("mine-1.log") + r.privateLogs.count("mine-1"), 1u);
    EXPECT_EQ(r.greetings().size(), 1u) << r.publicLog;
    EXPECT_TRUE(contains(r.allPrivate(), "OUTMOD returned, req=3, OutLen=0, InLen=0"));
    EXPECT_TRUE(contains(r.allPrivate(), "Sent max row size of 1024 to infrastructure"));
}

}  // namespace
