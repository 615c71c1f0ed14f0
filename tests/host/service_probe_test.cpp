// The services as the operator meets them: the test operator calls each
// through its handle position, with good, null and foreign arguments, and
// writes what came back; these tests read that report and the logs.
#include <gtest/gtest.h>

#include "jobs_support.h"

namespace {

using hosttest::JobText;
using hosttest::TempDir;

class ServiceProbe : public ::testing::Test {
  protected:
    static void SetUpTestSuite() {
        dir_ = new TempDir();
        JobText t;
        t.job = "user_id = \"tester\"\njob_id = \"job-77\"\n";
        t.attributes =
            "TestMode = \"probe\"\nText = \"abc\"\nNumber = 7\nMulti = [\"a\", \"b\"]\n"
            "TestProbeNames = \"Text,Number,Multi,Missing,SYSTEM_LATENCYON,"
            "SYSTEM_InstanceNumber,SYSTEM_MaxInstances,SYSTEM_OperatorType,SYSTEM_RestartMode,"
            "SYSTEM_BUFFERMODE,SYSTEM_JobID,SYSTEM_CHECKPOINT,SYSTEM_ExecutePassed\"\n";
        t.job += "checkpoint_rows = 1000\n";
        t.schema =
            "[[schema]]\nname = \"id\"\ntype = \"INTEGER\"\n"
            "[[schema]]\nname = \"v\"\ntype = \"VARCHAR\"\nlength = 12\nnullable = true\n"
            "input_format = \"YYYY-MM-DD\"\noutput_format = \"DD.MM.YYYY\"\n"
            "[[schema]]\nname = \"d\"\ntype = \"DECIMAL\"\nprecision = 12\nscale = 2\n";
        std::string job = hosttest::writeJob(*dir_, t);
        run_ = new hosttest::RunResult(hosttest::runBuhost({"run", job}, *dir_));
    }
    static void TearDownTestSuite() {
        delete run_;
        delete dir_;
    }

    static TempDir* dir_;
    static hosttest::RunResult* run_;
};

TempDir* ServiceProbe::dir_ = nullptr;
hosttest::RunResult* ServiceProbe::run_ = nullptr;

// Every service with good, null, foreign and out-of-range arguments: the
// attributes with their widths, the schema and column handles, global
// variables, checkpoints, logs and the console. The report is compared
// whole with golden/service_probe.txt.
TEST_F(ServiceProbe, EachCallAnswersAsTheGoldenReportSays) {
    EXPECT_EQ(run_->exitCode, 0) << run_->err;
    EXPECT_EQ(
        hosttest::readFile(*dir_ / "out.1"),
        hosttest::readFile(std::string(BU_SOURCE_DIR) + "/tests/host/golden/service_probe.txt"));
    EXPECT_NE(run_->err.find("buhost: instance 1: console\n"), std::string::npos) << run_->err;
}

TEST_F(ServiceProbe, TraceLinesGoVerbatimToThePrivateLog) {
    auto lines = hosttest::lines(hosttest::readFile(*dir_ / "logs/probe-private.log"));
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0], "head    the line");
    EXPECT_NE(lines[1].find("<argument list broken>"), std::string::npos) << lines[1];
}

TEST_F(ServiceProbe, PublicLogLinesAreRenderedFromEveryTag) {
    auto text = hosttest::readFile(*dir_ / "logs/t-public.log");
    for (const char* expected : {
             "[1] I Test Operator, version 1.0",
             "[1] E T[1]: QLN19201 required attribute 'OUTMODname' is missing",
             "[1] E T[1]: QLN19102 record 7: LOB Field length is wrong: expected -3, received "
             "1099511627776",
             "[1] E T[1]: QLN19501 OUTMOD could not be loaded: dlopen: (null)",
             "[1] E message 18999: T[1]: QLN18999, 5",
         })
        EXPECT_NE(text.find(std::string(expected) + "\n"), std::string::npos) << expected << "\n"
                                                                              << text;
}

}  // namespace
