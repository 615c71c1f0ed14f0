// Refusals of the operator that only a misbehaving host can provoke, run
// through buhost's fault injection: a second start, a method before the
// start, attributes the host supplies changed or left out, and rows that
// disagree with the schema. Also the quick start, run from another folder.
#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <vector>

#include "test_jobs.h"

namespace {

using testsupport::contains;
using testsupport::Job;
using testsupport::JobResult;
using testsupport::runJob;
using Journal = std::vector<std::string>;

Job journalJob(const std::string& name, int rows, const std::string& tables) {
    Job job;
    job.name = "fault-" + name;
    job.attributes = std::string("OUTMODname = \"") + BU_JOURNAL_OUTMOD + "\"\n";
    job.schema = testsupport::charAndIntegerSchema();
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

// Refusals of the start. A refused second start leaves the first standing:
// no row is read, but the OUTMOD is told the end. Before PX_Initiate the
// operator has no log: a method then shows as its status alone, and the
// start that follows runs as usual. Attribute errors after the public log is
// open give their message, name and widths; before it, only the console can
// tell. After a failed start the host says it is ending it, and PX_Terminate
// is refused with 19115, whose method name stands where a leader would.
TEST(HostFaultRefusals, StartsAHostSpoils) {
    const std::string failedStart =
        "[1] I buhost: terminating after a failed start\n"
        "[1] E PX_Terminate was called before the operator was initiated\n";
    struct Case {
        const char* name;
        std::string tables;
        int message;  // 0: none on the public log
        const char* text;
        const char* output;
        size_t journalLines;  // 0: the OUTMOD was never loaded
        std::string logged = {};
    };
    const Case cases[] = {
        {"initiate-twice", "[faults]\ninitiate_twice = true", 19116,
         "the operator is already in use", "second PX_Initiate returned 48", 2},
        {"before-execute", "[faults]\nmethod_before_initiate = \"PX_Execute\"", 0, "",
         "PX_Execute before PX_Initiate returned 48", 4},
        {"producer", "[system]\nSYSTEM_OperatorType = 1", 19504, "only as a consumer",
         "PX_Initiate returned 48", 0, failedStart},
        {"no-latency", "[system]\nomit = [\"SYSTEM_LATENCYON\"]", 19201,
         "required attribute 'SYSTEM_LATENCYON' is missing", "PX_Initiate returned 48", 0},
        {"short-step", "[system]\nSYSTEM_JobStepNumber = \"1\"", 19185,
         "status 48 while reading attribute 'SYSTEM_JobStepNumber'", "PX_Initiate returned 48", 0},
        // An answer a careless host may give reaches the operator as the
        // attribute's length error; each kind is the attribute readers' unit
        // test, and those that once crashed the start the hostile lifecycle's.
        {"answer", "[faults.answer]\nSYSTEM_OperatorName = \"negative_length\"", 19202,
         "attribute 'SYSTEM_OperatorName'", "PX_Initiate returned 48", 0},
        {"no-instance", "[system]\nomit = [\"SYSTEM_InstanceNumber\"]", 0, "",
         "buhost: instance 1: FATAL_ERROR: DC_Initiate can't find required attribute "
         "SYSTEM_InstanceNumber",
         0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        JobResult r = runJob(journalJob(c.name, 2, c.tables + "\n"));
        EXPECT_EQ(r.exitCode, 12) << r.output;
        EXPECT_TRUE(contains(r.output, c.output)) << r.output;
        if (c.message != 0) {
            EXPECT_TRUE(contains(onlyMessage(r, c.message), c.text)) << r.publicLog;
            EXPECT_TRUE(contains(onlyMessage(r, 19015), "exit code raised to 12"));
        } else {
            EXPECT_TRUE(r.messages(19202).empty()) << r.publicLog;
        }
        size_t journalLines = 0;
        for (const Journal& journal : r.journals) journalLines += journal.size();
        EXPECT_EQ(journalLines, c.journalLines);
        EXPECT_TRUE(contains(r.publicLog, c.logged)) << r.publicLog;
    }
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
        {"overlong", 2, "overlong_column = 1\noverlong_bytes = 3", 19110,
         "column 1 'code' is longer than the schema allows (5, row gives 5) in record 1",
         "schema defined column length 5, received 8", "29", 2},
        {"late", 2, "row = 3\noverlong_column = 2", 0, "", "", "", 4},
    };
    for (const Case& c : cases) {
        Job job = journalJob(c.name, c.rows, "[faults]\n" + c.faults + "\n");
        job.attributes += "TraceLevel = \"ALL\"\nPrivateLogName = \"faults\"\n";
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

// The quick start runs from any folder, writes its files into the stage and
// shows its summary and this run's public log.
TEST(QuickStart, RunsFromAnotherFolderAndShowsTheLog) {
    const std::string job = std::string(BU_SOURCE_DIR) + "/examples/quickstart.toml";
    int status = -1;
    std::string out = testsupport::runCommand(
        "cd / && '" + testsupport::stagePath("bin/buhost") + "' run '" + job + "' --show-log",
        &status);
    EXPECT_EQ(status, 0) << out;
    EXPECT_TRUE(contains(out, "job 'quickstart': 10 rows")) << out;
    std::ifstream first(testsupport::stagePath("out/quickstart-1.txt"));
    std::string line;
    ASSERT_TRUE(std::getline(first, line));
    EXPECT_EQ(line, "  1 Ada Lovelace               1234.50 2024-01-15");
    std::ifstream second(testsupport::stagePath("out/quickstart-2.txt"));
    ASSERT_TRUE(std::getline(second, line));
    EXPECT_EQ(line, "  2 Brown & Sons                -12.00 2024-01-16");
    const std::string log = testsupport::stagePath("logs/quickstart-public.log");
    EXPECT_TRUE(contains(out, "--- " + log + " (this run)")) << out;
    // Only this run's lines: one greeting, whatever earlier runs left.
    size_t greetings = 0;
    const std::string greeting = "BulkUnload OUTMOD Adapter, version";
    for (size_t at = out.find(greeting); at != std::string::npos; at = out.find(greeting, at + 1))
        ++greetings;
    EXPECT_EQ(greetings, 1u) << out;
}

}  // namespace
