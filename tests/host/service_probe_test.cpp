// The services as the operator meets them: the test operator calls each
// through its handle position, with good, null and foreign arguments, and
// writes what came back; these tests read that report and the logs.
#include <gtest/gtest.h>

#include "test_jobs.h"

namespace {

using testsupport::contains;

// Every service with good, null, foreign and out-of-range arguments: the
// attributes with their widths, the schema and column handles, global
// variables, checkpoints, logs and the console. The report is compared
// whole with golden/service_probe.txt; trace lines go verbatim to the
// private log, public log lines are rendered from every tag.
TEST(ServiceProbe, EachCallAnswersAsTheGoldenReportSays) {
    testsupport::Job job;
    job.name = "host-probe";
    job.module = "tests/lib64/libbutestop.so";
    job.jobLines = "user_id = \"tester\"\njob_id = \"job-77\"\ncheckpoint_rows = 1000\n";
    job.attributes =
        "FileName = \"out.{instance}\"\nTestMode = \"probe\"\nText = \"abc\"\nNumber = 7\n"
        "Multi = [\"a\", \"b\"]\n"
        "TestProbeNames = \"Text,Number,Multi,Missing,SYSTEM_LATENCYON,"
        "SYSTEM_InstanceNumber,SYSTEM_MaxInstances,SYSTEM_OperatorType,SYSTEM_RestartMode,"
        "SYSTEM_BUFFERMODE,SYSTEM_JobID,SYSTEM_CHECKPOINT,SYSTEM_ExecutePassed\"\n";
    job.schema =
        "[[schema]]\nname = \"id\"\ntype = \"INTEGER\"\n"
        "[[schema]]\nname = \"v\"\ntype = \"VARCHAR\"\nlength = 12\nnullable = true\n"
        "input_format = \"YYYY-MM-DD\"\noutput_format = \"DD.MM.YYYY\"\n"
        "[[schema]]\nname = \"d\"\ntype = \"DECIMAL\"\nprecision = 12\nscale = 2\n";
    job.source = "kind = \"generate\"\nrows = 20\n";
    const testsupport::JobResult r = testsupport::runJob(job, "");
    EXPECT_EQ(r.exitCode, 0) << r.err;
    EXPECT_EQ(r.file("out.1"), testsupport::readFile(std::string(BU_SOURCE_DIR) +
                                                     "/tests/host/golden/service_probe.txt"));
    EXPECT_TRUE(contains(r.err, "buhost: instance 1: console\n")) << r.err;

    auto lines = testsupport::lines(r.file("logs/probe-private.log"));
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0], "head    the line");
    EXPECT_TRUE(contains(lines[1], "<argument list broken>")) << lines[1];
    for (const char* expected : {
             "[1] I Test Operator, version 1.0",
             "[1] E T[1]: QLN19201 required attribute 'OUTMODname' is missing",
             "[1] E T[1]: QLN19102 record 7: LOB Field length is wrong: expected -3, received "
             "1099511627776",
             "[1] E T[1]: QLN19501 OUTMOD could not be loaded: dlopen: (null)",
             "[1] E message 18999: T[1]: QLN18999, 5",
         })
        EXPECT_TRUE(contains(r.publicLog, std::string(expected) + "\n")) << expected;
}

}  // namespace
