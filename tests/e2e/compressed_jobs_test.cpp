// Jobs through the compressing Access Module, end to end through buhost:
// each runs once through the default disk module and once through the zstd
// module, and every instance's .zst file must decompress to the plain file's
// bytes. Jobs that end early are among them: whatever way a job ends, both
// terminate phases close the module, so the last frame is whole.
// A restart that cuts off the frame a kill left half written is the module's
// own test; kills and restarts of whole jobs are the crash matrix's.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "test_jobs.h"

namespace {

using testsupport::Job;
using testsupport::JobResult;
using testsupport::staged;

struct Case {
    const char* name;
    const char* format;
    int instances;
    const char* initString;
    std::string jobLines;
    std::string tables;  // [system] or [faults] of the host
    int exitCode;
    const char* journalMode = nullptr;  // the journal OUTMOD's instead of the pass-through
};

Job compressedJob(const Case& c, bool compressed) {
    Job job;
    job.name = std::string("zstd-") + c.name + (compressed ? "-zst" : "-plain");
    job.instances = c.instances;
    job.jobLines = c.jobLines;
    job.attributes =
        "OUTMODname = " +
        (c.journalMode ? "\"" BU_JOURNAL_OUTMOD "\"" : staged("lib64/outmods/libpassthru.so")) +
        "\nFileName = \"out-{instance}.dat\"\nFormat = \"" + c.format + "\"\n";
    if (compressed) {
        job.attributes += "AccessModuleName = " + staged("lib64/axsmods/libzstdaxsm.so") +
                          "\nAccessModuleInitStr = \"" + c.initString + "\"\n";
    }
    job.schema =
        "[[schema]]\nname = \"id\"\ntype = \"INTEGER\"\n"
        "[[schema]]\nname = \"note\"\ntype = \"VARCHAR\"\nlength = 30\nnullable = true\n"
        "[[schema]]\nname = \"amount\"\ntype = \"DECIMAL\"\nprecision = 10\nscale = 2\n";
    job.source = "kind = \"generate\"\nrows = 120\nseed = 5\nnull_rate = 0.2\n";
    job.tables = c.tables;
    if (c.journalMode) job.journalMode = c.journalMode;
    return job;
}

// The file decompressed; a frame cut short makes `zstd -d` fail.
std::string decompressed(const JobResult& r, const std::string& name) {
    int status = 0;
    std::string out =
        testsupport::runCommand("zstd -d -q -c '" + r.dir + "/" + name + "'", &status);
    // The command's complaint comes last, behind what it could decompress.
    EXPECT_EQ(status, 0) << name << ": "
                         << out.substr(out.size() - std::min<size_t>(out.size(), 200));
    return out;
}

TEST(CompressedJobs, DecompressToThePlainJobsBytes) {
    const Case cases[] = {
        // Checkpoints end frames: several frames per file, two workers.
        {"delimited", "DELIMITED", 2, "level=19 threads=2", "checkpoint_rows = 7\n", "", 0},
        {"binary-buffers", "BINARY", 2, "level=1", "buffer_mode = true\ncheckpoint_rows = 9\n", "",
         0},
        // The rows stop at a bad row: the records before it, in whole frames.
        {"rows-stop", "DELIMITED", 1, "", "checkpoint_rows = 4\n",
         "[faults]\nrow = 30\ncolumn_count_delta = 1\n", 12},
        // A job the host calls failed keeps its restart information; the
        // file still closes whole.
        {"execute-failed", "BINARY", 2, "", "", "[system]\nSYSTEM_ExecutePassed = \"N\"\n", 0},
        // The OUTMOD refuses to start after the file is open: no records, but
        // one empty frame, since a file of no bytes is no stream.
        {"start-fails", "BINARY", 1, "", "", "", 12, "fail-init"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const JobResult plain = testsupport::runJob(compressedJob(c, false));
        ASSERT_EQ(plain.exitCode, c.exitCode) << plain.output << plain.publicLog;
        const JobResult zst = testsupport::runJob(compressedJob(c, true));
        ASSERT_EQ(zst.exitCode, c.exitCode) << zst.output << zst.publicLog;
        for (int k = 1; k <= c.instances; ++k) {
            const std::string name = "out-" + std::to_string(k) + ".dat";
            const std::string expected = plain.file(name);
            // Only the job whose OUTMOD never starts has no records.
            EXPECT_EQ(expected.empty(), c.journalMode != nullptr) << name;
            const std::string got = decompressed(zst, name);
            EXPECT_TRUE(got == expected) << name << ": " << got.size() << " bytes decompressed, "
                                         << expected.size() << " written by the plain job";
            EXPECT_NE(zst.file(name), expected) << name << " was not compressed";
        }
    }
}

}  // namespace
