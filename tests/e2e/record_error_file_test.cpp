// Record error files through whole jobs: the journal OUTMOD rejects every
// second record of each instance as a parser would, handing it to
// WrRecErrFile. The named file holds the header and instance 1's records,
// then those of instances 2, 3, ... in that order; the rejected records are
// exactly those an uninterrupted run writes and this one doesn't.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "test_jobs.h"

namespace {

using testsupport::Job;
using testsupport::JobResult;
using testsupport::lines;

Job errorFileJob(const std::string& name, int instances, const std::string& attributes) {
    Job job;
    job.name = name;
    job.instances = instances;
    job.attributes = std::string("OUTMODname = \"") + BU_JOURNAL_OUTMOD +
                     "\"\nFileName = \"out-{instance}.txt\"\nFormat = \"TEXT\"\n" + attributes;
    job.schema =
        "[[schema]]\nname = \"a\"\ntype = \"CHAR\"\nlength = 5\n"
        "[[schema]]\nname = \"b\"\ntype = \"CHAR\"\nlength = 3\n";
    job.source = "kind = \"generate\"\nrows = 13\nseed = 5\n";
    return job;
}

std::string header(const std::string& verbosity) {
    return "# RecordErrorFileName options:\n# RecordErrorFileName: 'errors.txt'\n"
           "# RecordErrorVerbosity option: " +
           verbosity +
           "\n# AcceptExcessColumns option: NO\n# AcceptMissingColumns option: NO\n"
           "# TruncateColumnData option: NO\n";
}

bool tempFilesLeft(const JobResult& r) {
    for (const auto& entry : std::filesystem::directory_iterator(r.dir + "/logs")) {
        if (entry.path().filename().string().rfind("QLN_DCOP_RE_TMP_", 0) == 0) return true;
    }
    return false;
}

TEST(RecordErrorFile, InstancesAreMergedInOrderAtTheEnd) {
    struct Case {
        int instances;
        const char* verbosity;  // as given
        const char* shown;      // in the header; none for OFF
        int level;
    };
    const Case cases[] = {
        {1, "High", "HIGH", 3},
        {2, "M", "MED", 2},
        {3, "low", "LOW", 1},
        {2, "OFF", "", 0},
    };
    for (const Case& c : cases) {
        const std::string name = "errors-" + std::to_string(c.instances) + "-" + c.shown;
        SCOPED_TRACE(name);
        Job clean = errorFileJob(name + "-clean", c.instances, "");
        clean.journalMode = "pass";
        const JobResult uninterrupted = testsupport::runJob(clean);
        ASSERT_EQ(uninterrupted.exitCode, 0) << uninterrupted.output;

        Job job = errorFileJob(name, c.instances,
                               std::string("RecordErrorFileName = \"errors.txt\"\n"
                                           "RecordErrorFilePrefix = \"# \"\n"
                                           "RecordErrorVerbosity = \"") +
                                   c.verbosity + "\"\n");
        job.journalMode = "reject=2";
        const JobResult r = testsupport::runJob(job);
        EXPECT_EQ(r.exitCode, 4) << r.output << r.publicLog;  // rows were skipped

        std::string expected = c.level > 0 ? header(c.shown) : "";
        int rejected = 0;
        for (int k = 1; k <= c.instances; ++k) {
            const std::string file = "out-" + std::to_string(k) + ".txt";
            const std::string tag = "# [" + std::to_string(k) + "]";
            std::string kept;
            int number = 0;
            const auto records = lines(uninterrupted.file(file));
            for (size_t i = 0; i < records.size(); ++i) {
                if (i % 2 == 0) {
                    kept += records[i] + "\n";
                    continue;
                }
                ++rejected;
                if (c.level >= 1)
                    expected += tag + " WARNING Below record: rejected by the test (8 bytes)\n";
                if (c.level >= 2) {
                    expected += tag + " File path: '" + r.dir + "/" + file + "'\n";
                    expected += tag + "Record number: " + std::to_string(++number) + "\n";
                }
                expected += records[i] + "\n";
            }
            EXPECT_EQ(r.file(file), kept) << file;
        }
        EXPECT_EQ(r.file("errors.txt"), expected);
        EXPECT_FALSE(tempFilesLeft(r));
        const auto summary = r.messages(19229);
        ASSERT_EQ(summary.size(), 1u);
        EXPECT_NE(summary[0].find(std::to_string(rejected) + " rows were written to the record "
                                                             "error file 'errors.txt'"),
                  std::string::npos)
            << summary[0];
    }
}

// The job stops once the limit is reached, and what was rejected until then
// stays in the file.
TEST(RecordErrorFile, TheLimitStopsTheJob) {
    Job one =
        errorFileJob("errors-limit-1", 1, "RecordErrorFileName = \"errors.txt\"\nErrorLimit = 2\n");
    one.journalMode = "reject=1";
    JobResult r = testsupport::runJob(one);
    EXPECT_EQ(r.exitCode, 12) << r.output;
    EXPECT_TRUE(r.hasMessage(19503));  // the OUTMOD gives up when told to stop
    EXPECT_EQ(lines(r.file("errors.txt")).size(), 2u);
    EXPECT_EQ(r.file("out-1.txt"), "");
    ASSERT_TRUE(r.hasMessage(19138));
    EXPECT_NE(r.messages(19138)[0].find(", 2 errors"), std::string::npos) << r.publicLog;
}

// A restarted instance 1 goes back to its checkpoint in the named file: the
// header and the rows rejected behind the checkpoint are not there twice.
TEST(RecordErrorFile, ARestartGoesBackInTheNamedFile) {
    const std::string attributes =
        "RecordErrorFileName = \"errors.txt\"\nRecordErrorFilePrefix = \"# \"\n"
        "RecordErrorVerbosity = \"HIGH\"\n";
    Job clean = errorFileJob("errors-restart-clean", 1, attributes);
    clean.journalMode = "reject=2";
    const JobResult uninterrupted = testsupport::runJob(clean);
    ASSERT_EQ(uninterrupted.exitCode, 4) << uninterrupted.output;

    Job job = errorFileJob("errors-restart", 1, attributes);
    job.journalMode = "reject=2";
    job.jobLines = "checkpoint_rows = 4\n";
    JobResult r = testsupport::runJob(job, "--crash-after-rows 7");
    ASSERT_EQ(r.exitCode, 12) << r.output;
    r = testsupport::rerunJob(job, "--restart");
    ASSERT_EQ(r.exitCode, 4) << r.output << r.publicLog;
    std::string expected = uninterrupted.file("errors.txt");
    for (size_t at; (at = expected.find(uninterrupted.dir)) != std::string::npos;)
        expected.replace(at, uninterrupted.dir.size(), r.dir);
    EXPECT_EQ(r.file("errors.txt"), expected);
    EXPECT_EQ(r.file("out-1.txt"), uninterrupted.file("out-1.txt"));
}

TEST(RecordErrorFile, AFileThatCannotBeCreatedStopsTheStart) {
    Job job = errorFileJob("errors-nowhere", 1, "RecordErrorFileName = \"nowhere/errors.txt\"\n");
    const JobResult r = testsupport::runJob(job);
    EXPECT_EQ(r.exitCode, 12);
    EXPECT_TRUE(r.hasMessage(19404)) << r.publicLog;
    EXPECT_TRUE(r.hasMessage(19304));
}

}  // namespace
