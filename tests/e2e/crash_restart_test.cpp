// Jobs killed with SIGKILL and restarted, end to end through buhost: for
// every record format, two instances (and one), rows one at a time and in
// buffers, through the disk module, the test Access Module and the
// compressing module, the files a job leaves after a chain of kills and
// restarts are the bytes of an uninterrupted run. Each run of the chain is
// killed at one kind of point: before the first checkpoint (the restart has
// none to go back to), right after a checkpoint, and between two.
#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <vector>

#include "test_jobs.h"

namespace {

using testsupport::Job;
using testsupport::JobResult;
using testsupport::staged;

#ifdef BU_CRASH_SLOW
#define BU_CRASH_JOBS BigJobs
constexpr int kRowsPerInstance = 400;
constexpr int kCheckpointRows = 37;
// Kills in rows of each run: before the first checkpoint, right after the
// second, between two, and right after one again.
const std::vector<int> kKills = {20, 74, 50, 111};
const std::vector<int> kInstances = {1, 2};
#else
#define BU_CRASH_JOBS Jobs
constexpr int kRowsPerInstance = 23;
constexpr int kCheckpointRows = 5;
// Before the first checkpoint, right after the one at row 10, and at row 17
// of the stream, between those at 15 and 20.
const std::vector<int> kKills = {3, 10, 7};
// Each of two instances is killed and restarted as a single one would be.
const std::vector<int> kInstances = {2};
#endif

struct Module {
    const char* name;
    std::string attributes;
    bool compressed;
};

struct Combination {
    const char* format;
    int instances;
    bool buffers;
    Module module;
};

std::string nameOf(const Combination& c) {
    return std::string(c.format) + "_" + std::to_string(c.instances) +
           (c.buffers ? "_buffers_" : "_rows_") + c.module.name;
}

void PrintTo(const Combination& c, std::ostream* out) {
    *out << nameOf(c);
}

const Module kDisk{"disk", "", false};
const Module kTestModule{"testmodule",
                         "AccessModuleName = " + staged("lib64/axsmods/libtestaxsmod.so") +
                             "\nAccessModuleInitStr = \"block=64\"\n",
                         false};
const Module kZstd{"zstd", "AccessModuleName = " + staged("lib64/axsmods/libzstdaxsm.so") + "\n",
                   true};

const char* const kFormats[] = {"TEXT",       "DELIMITED", "BINARY",     "FORMATTED",
                                "FORMATTED2", "BINARY4",   "FORMATTED4", "UNFORMATTED"};

Job matrixJob(const Combination& c, const std::string& name) {
    Job job;
    job.name = name;
    job.instances = c.instances;
    job.jobLines = "checkpoint_rows = " + std::to_string(kCheckpointRows) + "\n" +
                   (c.buffers ? "buffer_mode = true\n" : "");
    job.attributes = "OUTMODname = " + staged("lib64/outmods/libpassthru.so") +
                     "\nFileName = \"out-{instance}.dat\"\nFormat = \"" + c.format + "\"\n" +
                     c.module.attributes;
    // Text records take character columns only; the others get columns of
    // varying length, so records and blocks end anywhere.
    job.schema = std::string(c.format) == "TEXT"
                     ? "[[schema]]\nname = \"a\"\ntype = \"CHAR\"\nlength = 6\n"
                       "[[schema]]\nname = \"b\"\ntype = \"CHAR\"\nlength = 3\n"
                     : "[[schema]]\nname = \"id\"\ntype = \"INTEGER\"\n"
                       "[[schema]]\nname = \"v\"\ntype = \"VARCHAR\"\nlength = 12\n"
                       "nullable = true\n"
                       "[[schema]]\nname = \"c\"\ntype = \"CHAR\"\nlength = 4\n";
    job.source = "kind = \"generate\"\nrows = " + std::to_string(kRowsPerInstance * c.instances) +
                 "\nseed = 11\nnull_rate = 0.25\n";
    return job;
}

// The bytes a reader of the file gets: a compressed file decompressed.
std::string contents(const JobResult& r, int instance, bool compressed) {
    const std::string name = "out-" + std::to_string(instance) + ".dat";
    if (!compressed) return r.file(name);
    int status = 0;
    std::string out =
        testsupport::runCommand("zstd -d -q -c '" + r.dir + "/" + name + "' 2>/dev/null", &status);
    EXPECT_EQ(status, 0) << name;
    return out;
}

class CrashMatrix : public ::testing::TestWithParam<Combination> {};

TEST_P(CrashMatrix, KilledAndRestartedRunsLeaveTheUninterruptedBytes) {
    const Combination& c = GetParam();
    const std::string name = "crash-" + nameOf(c);
    const Job clean = matrixJob(c, name + "-clean");
    const JobResult uninterrupted = testsupport::runJob(clean);
    ASSERT_EQ(uninterrupted.exitCode, 0) << uninterrupted.output;

    const Job job = matrixJob(c, name);
    JobResult r;
    for (size_t i = 0; i < kKills.size(); ++i) {
        const std::string kill = "--crash-after-rows " + std::to_string(kKills[i]);
        r = i == 0 ? testsupport::runJob(job, kill)
                   : testsupport::rerunJob(job, "--restart " + kill);
        ASSERT_EQ(r.exitCode, 12) << kill << "\n" << r.output << r.publicLog;
        ASSERT_NE(r.output.find("killed by signal 9"), std::string::npos) << r.output;
    }
    r = testsupport::rerunJob(job, "--restart");
    ASSERT_EQ(r.exitCode, 0) << r.output << r.publicLog;
    for (int k = 1; k <= c.instances; ++k) {
        SCOPED_TRACE(k);
        const std::string expected = contents(uninterrupted, k, c.module.compressed);
        EXPECT_FALSE(expected.empty());
        EXPECT_EQ(contents(r, k, c.module.compressed), expected);
    }
}

#ifndef BU_CRASH_SLOW
// A file that lost bytes behind its checkpoint can't be gone back to: the
// restart stops with the access layer's reason and leaves the file alone.
TEST(Restart, AFileShorterThanItsCheckpointIsRefused) {
    const Job job = matrixJob({"BINARY", 1, false, kDisk}, "crash-short-file");
    JobResult r = testsupport::runJob(job, "--crash-after-rows 12");
    ASSERT_EQ(r.exitCode, 12);
    const std::string kept = r.file("out-1.dat").substr(0, 5);
    testsupport::writeFile(r.dir + "/out-1.dat", kept);
    r = testsupport::rerunJob(job, "--restart");
    EXPECT_EQ(r.exitCode, 12);
    const auto refused = r.messages(19434);
    ASSERT_FALSE(refused.empty()) << r.publicLog;
    EXPECT_NE(refused.back().find("pmRepos failed with access layer status 34: pmUnxDskSetPos: "
                                  "file '" +
                                  r.dir + "/out-1.dat' holds 5 bytes, fewer than"),
              std::string::npos)
        << refused.back();
    EXPECT_TRUE(r.hasMessage(19308));
    EXPECT_NE(r.output.find("PX_Restart returned 48"), std::string::npos) << r.output;
    EXPECT_EQ(r.file("out-1.dat"), kept);
}
#endif

std::vector<Combination> combinations() {
    std::vector<Combination> all;
    for (int instances : kInstances) {
        for (bool buffers : {false, true}) {
            for (const char* format : kFormats) all.push_back({format, instances, buffers, kDisk});
#ifndef BU_CRASH_SLOW
            // A module moves blocks whatever the records: two formats do.
            for (const char* format : {"TEXT", "BINARY4"}) {
                all.push_back({format, instances, buffers, kTestModule});
            }
            all.push_back({"DELIMITED", instances, buffers, kZstd});
#endif
        }
    }
    return all;
}

INSTANTIATE_TEST_SUITE_P(BU_CRASH_JOBS, CrashMatrix, ::testing::ValuesIn(combinations()),
                         [](const ::testing::TestParamInfo<Combination>& info) {
                             return nameOf(info.param);
                         });

}  // namespace
