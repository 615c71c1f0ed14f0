// The services as the operator meets them: the test operator calls each
// through its handle position, with good, null and foreign arguments, and
// writes what came back; these tests read that report and the logs.
#include <gtest/gtest.h>

#include <map>

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
        for (const auto& line : hosttest::lines(hosttest::readFile(*dir_ / "out.1"))) {
            auto rc = line.find(" rc=");
            if (rc != std::string::npos) (*report_)[line.substr(0, rc)] = line.substr(rc + 4);
        }
    }
    static void TearDownTestSuite() {
        delete run_;
        delete dir_;
        report_->clear();
    }

    // "<rc>[ <details>]" of one probe line.
    static std::string probe(const std::string& what) {
        auto it = report_->find(what);
        return it == report_->end() ? "<no line>" : it->second;
    }

    static TempDir* dir_;
    static hosttest::RunResult* run_;
    static std::map<std::string, std::string>* report_;
};

TempDir* ServiceProbe::dir_ = nullptr;
hosttest::RunResult* ServiceProbe::run_ = nullptr;
std::map<std::string, std::string>* ServiceProbe::report_ = new std::map<std::string, std::string>;

TEST_F(ServiceProbe, TheJobRanCleanly) {
    EXPECT_EQ(run_->exitCode, 0) << run_->err;
    EXPECT_GT(report_->size(), 40u);
}

TEST_F(ServiceProbe, AttributesComeWithTheirWidthsAndStatuses) {
    EXPECT_EQ(probe("attr Text"), "0 len=3 hex=616263 zero-behind=1");
    EXPECT_EQ(probe("attr Number"), "0 len=4 hex=07000000 zero-behind=1");
    EXPECT_EQ(probe("attr Multi"), "13");
    EXPECT_EQ(probe("attr Missing"), "5");
    EXPECT_EQ(probe("attr SYSTEM_LATENCYON"), "0 len=1 hex=00 zero-behind=1");
    EXPECT_EQ(probe("attr SYSTEM_InstanceNumber"), "0 len=4 hex=01000000 zero-behind=1");
    EXPECT_EQ(probe("attr SYSTEM_MaxInstances"), "0 len=4 hex=01000000 zero-behind=1");
    EXPECT_EQ(probe("attr SYSTEM_OperatorType"), "0 len=4 hex=02000000 zero-behind=1");
    EXPECT_EQ(probe("attr SYSTEM_RestartMode"), "0 len=4 hex=00000000 zero-behind=1");
    EXPECT_EQ(probe("attr SYSTEM_BUFFERMODE"), "0 len=1 hex=4e zero-behind=1");
    EXPECT_EQ(probe("attr SYSTEM_JobID"), "0 len=6 hex=6a6f622d3737 zero-behind=1");
    EXPECT_EQ(probe("attr SYSTEM_CHECKPOINT"), "0 len=4 hex=e8030000 zero-behind=1");
    EXPECT_EQ(probe("attr SYSTEM_ExecutePassed"), "0 len=1 hex=59 zero-behind=1");
}

TEST_F(ServiceProbe, BadHandlesAndNullPointersGetAStatusNotACrash) {
    EXPECT_EQ(probe("getattr-null-handle"), "1");
    EXPECT_EQ(probe("getattr-foreign-handle"), "1");
    EXPECT_EQ(probe("getattr-null-name"), "21");
    EXPECT_EQ(probe("getattr-null-out"), "21");
    EXPECT_EQ(probe("setattr-exitcode-width4"), "2");
    EXPECT_EQ(probe("setattr-null-value"), "21");
    EXPECT_EQ(probe("console-null"), "21");
    EXPECT_EQ(probe("console-negative"), "2");
    EXPECT_EQ(probe("userid"), "0 value=tester");
    EXPECT_EQ(probe("userid-null-out"), "21");
    EXPECT_EQ(probe("getrow-null-out"), "21");
    EXPECT_EQ(probe("getrow-foreign"), "1");
    EXPECT_EQ(probe("getrow-null-handle"), "1");
    EXPECT_EQ(probe("putbuffer-one-2"), "2");
    EXPECT_EQ(probe("column-null-out"), "21");
    EXPECT_EQ(probe("column-foreign"), "1");
}

TEST_F(ServiceProbe, TheSchemaIsOneHandleWithAColumnHandlePerColumn) {
    EXPECT_EQ(probe("schemalist-kind-7"), "2");
    EXPECT_EQ(probe("schemalist-null-out"), "21");
    EXPECT_EQ(probe("schemalist"), "0 count=1");
    EXPECT_EQ(probe("schema-kind"), "0 kind=2");
    EXPECT_EQ(probe("columnlist"), "0 count=3");
    EXPECT_EQ(probe("column 1"), "0 name=id type=1 len=4 off=1 prec=0 scale=0 ind=0 meta=0");
    EXPECT_EQ(probe("column 2"), "0 name=v type=7 len=12 off=7 prec=0 scale=0 ind=1 meta=0");
    EXPECT_EQ(probe("column 3"), "0 name=d type=4 len=8 off=19 prec=12 scale=2 ind=0 meta=0");
    EXPECT_EQ(probe("formats 1"), "0 in='' out=''");
    EXPECT_EQ(probe("formats 2"), "0 in='YYYY-MM-DD' out='DD.MM.YYYY'");
}

TEST_F(ServiceProbe, GlobalVariablesCheckNamesIndicesAndSizes) {
    EXPECT_EQ(probe("global-create"), "0");
    EXPECT_EQ(probe("global-create-again"), "26");
    EXPECT_EQ(probe("global-create-size0"), "2");
    EXPECT_EQ(probe("global-create-null-name"), "21");
    EXPECT_EQ(probe("global-write-2"), "0");
    EXPECT_EQ(probe("global-write-too-long"), "22");
    EXPECT_EQ(probe("global-write-index-3"), "2");
    EXPECT_EQ(probe("global-read-2"), "0 value=abcdefg");
    EXPECT_EQ(probe("global-read-index-0"), "2");
    EXPECT_EQ(probe("global-read-missing"), "5");
    EXPECT_EQ(probe("global-delete"), "0");
    EXPECT_EQ(probe("global-read-deleted"), "5");
}

TEST_F(ServiceProbe, CheckpointReadWithoutACheckpointIs21) {
    EXPECT_EQ(probe("ckpt-read-none"), "21");
    EXPECT_EQ(probe("ckpt-write-null"), "21");
}

TEST_F(ServiceProbe, LogHandlesAreCheckedAndClosedOnesAreStale) {
    EXPECT_EQ(probe("loginit-reserved-1"), "2");
    EXPECT_EQ(probe("loginit-slash"), "49");
    EXPECT_EQ(probe("loginit-null-out"), "21");
    EXPECT_EQ(probe("loginit-private"), "0 kind=3");
    EXPECT_EQ(probe("logwrite-trace"), "0");
    EXPECT_EQ(probe("logwrite-foreign"), "1");
    EXPECT_EQ(probe("logwrite-bad-tag"), "2");
    EXPECT_EQ(probe("logclose"), "0");
    EXPECT_EQ(probe("logwrite-after-close"), "1");
    EXPECT_EQ(probe("logclose-again"), "1");
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

TEST_F(ServiceProbe, ConsoleWritesReachStandardErrorWithTheirLength) {
    EXPECT_EQ(probe("console-7-bytes"), "0");
    EXPECT_NE(run_->err.find("buhost: instance 1: console\n"), std::string::npos) << run_->err;
}

}  // namespace
