// Refusals of the operator that only a misbehaving host can provoke, run
// through buhost's fault injection: a second start, a method before the
// start, attributes the host supplies changed or left out, and rows that
// disagree with the schema. Also the quick start, run from another folder.
#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <vector>

#include "job_runner.h"

namespace {

using bu::e2e::Job;
using bu::e2e::JobResult;
using bu::e2e::runJob;
using Journal = std::vector<std::string>;

bool contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

Job journalJob(const std::string& name, int rows, const std::string& tables) {
    Job job;
    job.name = "fault-" + name;
    job.attributes = std::string("OUTMODname = \"") + BU_JOURNAL_OUTMOD + "\"\n";
    job.schema = bu::e2e::charAndIntegerSchema();
    job.source = "kind = \"generate\"\nrows = " + std::to_string(rows) + "\nnull_rate = 0.0\n";
    job.tables = tables;
    return job;
}

// The single line of `number` in the public log.
std::string onlyMessage(const JobResult& r, int number) {
    auto found = r.messages(number);
    EXPECT_EQ(found.size(), 1u) << "message " << number << " in:\n" << r.publicLog;
    return found.empty() ? std::string() : found.front();
}

// The operator raised its exit code to 12 and said so once.
void expectExitCodeTwelveTold(const JobResult& r) {
    EXPECT_EQ(r.exitCode, 12) << r.output;
    EXPECT_TRUE(contains(onlyMessage(r, 19015), "exit code raised to 12")) << r.publicLog;
}

TEST(HostFaultRefusals, SecondInitiateIsRefusedAndTheJobStillEnds) {
    JobResult r = runJob(journalJob("initiate-twice", 3, "[faults]\ninitiate_twice = true\n"));
    EXPECT_TRUE(contains(onlyMessage(r, 19116), "the operator is already in use"));
    expectExitCodeTwelveTold(r);
    EXPECT_TRUE(contains(r.output, "second PX_Initiate returned 48")) << r.output;
    // The first start stands: no row is read, but the OUTMOD is told the end.
    ASSERT_EQ(r.journals.size(), 1u);
    EXPECT_EQ(r.journals[0], (Journal{"1 0 0", "2 0 0"}));
}

// Before PX_Initiate the operator has no log: the refusal shows as the
// method's status alone, and the start that follows runs as usual.
TEST(HostFaultRefusals, MethodsBeforeInitiateAreRefused) {
    for (const char* method : {"PX_Execute", "PX_Checkpoint", "PX_Restart"}) {
        JobResult r = runJob(
            journalJob(std::string("before-") + method, 2,
                       std::string("[faults]\nmethod_before_initiate = \"") + method + "\"\n"));
        EXPECT_EQ(r.exitCode, 12) << method << "\n" << r.output;
        EXPECT_TRUE(contains(r.output, std::string(method) + " before PX_Initiate returned 48"))
            << r.output;
        ASSERT_EQ(r.journals.size(), 1u) << method;
        EXPECT_EQ(r.journals[0].size(), 4u) << method;  // start, two rows, end
    }
}

TEST(HostFaultRefusals, ProducerInstanceIsRefused) {
    JobResult r = runJob(journalJob("producer", 2, "[system]\nSYSTEM_OperatorType = 1\n"));
    EXPECT_TRUE(contains(onlyMessage(r, 19504), "only as a consumer")) << r.publicLog;
    expectExitCodeTwelveTold(r);
    EXPECT_TRUE(r.journals.empty());  // the OUTMOD was never loaded
    // PX_Terminate after the failed start is refused with 19115, whose
    // method name stands where a leader would; the host says first that it
    // is ending a start that failed.
    EXPECT_TRUE(contains(r.publicLog,
                         "[1] I buhost: terminating after a failed start\n"
                         "[1] E PX_Terminate was called before the operator was initiated\n"))
        << r.publicLog;
}

// Attribute errors after the public log is open: message, name and widths;
// before it, only the console can tell.
TEST(HostFaultRefusals, SystemAttributeErrors) {
    struct Case {
        const char* name;
        const char* system;
        int message;  // 0: told on the console
        const char* text;
    };
    const Case cases[] = {
        {"no-latency", "omit = [\"SYSTEM_LATENCYON\"]", 19201,
         "required attribute 'SYSTEM_LATENCYON' is missing"},
        {"wide-latency", "SYSTEM_LATENCYON = 0", 19202,
         "attribute 'SYSTEM_LATENCYON' has length 4, expected 1"},
        {"short-restart-mode", "SYSTEM_RestartMode = \"0\"", 19202,
         "attribute 'SYSTEM_RestartMode' has length 1, expected 4"},
        {"short-step", "SYSTEM_JobStepNumber = \"1\"", 19185,
         "status 48 while reading attribute 'SYSTEM_JobStepNumber'"},
        {"no-instance", "omit = [\"SYSTEM_InstanceNumber\"]", 0,
         "buhost: instance 1: FATAL_ERROR: DC_Initiate can't find required attribute "
         "SYSTEM_InstanceNumber"},
        {"short-instances", "SYSTEM_MaxInstances = \"1\"", 0,
         "FATAL_ERROR:  SYSTEM_MaxInstances attribute length error"},
    };
    for (const Case& c : cases) {
        JobResult r = runJob(journalJob(c.name, 1, std::string("[system]\n") + c.system + "\n"));
        EXPECT_EQ(r.exitCode, 12) << c.name << "\n" << r.output;
        if (c.message != 0) {
            EXPECT_TRUE(contains(onlyMessage(r, c.message), c.text)) << c.name;
            EXPECT_TRUE(contains(r.output, "PX_Initiate returned 48")) << c.name << r.output;
        } else {
            EXPECT_TRUE(contains(r.output, c.text)) << c.name << "\n" << r.output;
            EXPECT_TRUE(r.messages(19202).empty()) << c.name << "\n" << r.publicLog;
        }
    }
}

// An answer a careless host may give, set in the job file, reaches the
// operator: the attribute's length error, exit code 12, and the job ends. The
// answers that once crashed the start are replayed by the hostile lifecycle's
// corpus, and each kind of answer is the attribute readers' unit test.
TEST(HostFaultRefusals, UnreadableAttributeAnswerIsALengthError) {
    JobResult r = runJob(
        journalJob("answer", 1, "[faults.answer]\nSYSTEM_OperatorName = \"negative_length\"\n"));
    EXPECT_EQ(r.exitCode, 12) << r.output;
    EXPECT_TRUE(contains(onlyMessage(r, 19202), "attribute 'SYSTEM_OperatorName'")) << r.publicLog;
    EXPECT_TRUE(contains(r.output, "PX_Initiate returned 48")) << r.output;
}

// Rows that disagree with the schema, as the host renders the messages. The
// count in 19109 is the schema's twice; 19110 carries the schema's length
// where the trace has what arrived, and returns 29 without raising the
// operator's exit code. At trace level ALL the operator reads the row's
// arrays up to the count it got, so a raised count must find entries there.
TEST(HostFaultRefusals, RowsThatDisagreeWithTheSchema) {
    const std::string count = "column count 2 of the row differs from the schema's 2 (record 1)";
    struct Case {
        const char* name;
        int rows;
        std::string faults;
        int message;  // 0: the fault lies behind the last row and changes nothing
        std::string text;
        const char* traced;
        const char* returned;
        size_t journalLines;  // start, the rows before the bad one, end
    };
    const Case cases[] = {
        {"count-up", 4, "row = 3\ncolumn_count_delta = 1", 19109, count, "", "48", 4},
        {"count-down", 4, "row = 3\ncolumn_count_delta = -1", 19109, count, "", "48", 4},
        {"overlong", 2, "overlong_column = 1\noverlong_bytes = 3", 19110,
         "column 1 'code' is longer than the schema allows (5, row gives 5) in record 1",
         "schema defined column length 5, received 8", "29", 2},
        {"overlong-varchar", 3, "row = 2\noverlong_column = 1", 19110, "column 1 'note'", "", "29",
         3},
        {"late", 2, "row = 3\noverlong_column = 2", 0, "", "", "", 4},
    };
    for (const Case& c : cases) {
        Job job = journalJob(c.name, c.rows, "[faults]\n" + c.faults + "\n");
        job.attributes += "TraceLevel = \"ALL\"\nPrivateLogName = \"faults\"\n";
        if (c.name == std::string("overlong-varchar")) {
            job.schema =
                "[[schema]]\nname = \"note\"\ntype = \"VARCHAR\"\nlength = 6\n"
                "[[schema]]\nname = \"n\"\ntype = \"INTEGER\"\n";
        }
        JobResult r = runJob(job);
        ASSERT_EQ(r.journals.size(), 1u) << c.name;
        EXPECT_EQ(r.journals[0].size(), c.journalLines) << c.name;
        if (c.message == 0) {
            EXPECT_EQ(r.exitCode, 0) << c.name << "\n" << r.output;
            continue;
        }
        EXPECT_EQ(r.exitCode, 12) << c.name << "\n" << r.output;
        EXPECT_TRUE(contains(onlyMessage(r, c.message), c.text)) << c.name;
        EXPECT_TRUE(contains(r.allPrivate(), c.traced)) << c.name;
        EXPECT_TRUE(contains(r.output, std::string("PX_Execute returned ") + c.returned))
            << c.name << "\n"
            << r.output;
        EXPECT_EQ(r.messages(19015).size(), c.message == 19109 ? 1u : 0u) << c.name;
    }
}

TEST(HostFaultRefusals, EachInstanceSpoilsItsOwnRow) {
    Job job = journalJob("two-instances", 4, "[faults]\nrow = 2\ncolumn_count_delta = 1\n");
    job.instances = 2;
    JobResult r = runJob(job);
    EXPECT_EQ(r.exitCode, 12) << r.output;
    EXPECT_EQ(r.messages(19109).size(), 2u) << r.publicLog;
    ASSERT_EQ(r.journals.size(), 2u);
    for (const auto& journal : r.journals) EXPECT_EQ(journal.size(), 3u);
}

// The quick start runs from any folder, writes its files into the stage and
// shows its summary and this run's public log.
TEST(QuickStart, RunsFromAnotherFolderAndShowsTheLog) {
    const std::string job = std::string(BU_SOURCE_DIR) + "/examples/quickstart.toml";
    int status = -1;
    std::string out = bu::e2e::runCommand(
        "cd / && '" + bu::e2e::stagePath("bin/buhost") + "' run '" + job + "' --show-log", &status);
    EXPECT_EQ(status, 0) << out;
    EXPECT_TRUE(contains(out, "job 'quickstart': 10 rows")) << out;
    std::ifstream first(bu::e2e::stagePath("out/quickstart-1.txt"));
    std::string line;
    ASSERT_TRUE(std::getline(first, line));
    EXPECT_EQ(line, "  1 Ada Lovelace               1234.50 2024-01-15");
    std::ifstream second(bu::e2e::stagePath("out/quickstart-2.txt"));
    ASSERT_TRUE(std::getline(second, line));
    EXPECT_EQ(line, "  2 Brown & Sons                -12.00 2024-01-16");
    const std::string log = bu::e2e::stagePath("logs/quickstart-public.log");
    EXPECT_TRUE(contains(out, "--- " + log + " (this run)")) << out;
    // Only this run's lines: one greeting, whatever earlier runs left.
    size_t greetings = 0;
    const std::string greeting = "BulkUnload OUTMOD Adapter, version";
    for (size_t at = out.find(greeting); at != std::string::npos; at = out.find(greeting, at + 1))
        ++greetings;
    EXPECT_EQ(greetings, 1u) << out;
}

}  // namespace
