// Jobs that write a file, end to end through buhost: the bytes of each
// record format against the golden files of tests/golden/file-output, the
// same bytes through the test Access Module, and the refusals at write,
// which leave no part of a record in the file.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "test_jobs.h"

namespace {

using testsupport::hex;
using testsupport::Job;
using testsupport::JobResult;
using testsupport::staged;

std::string goldenBytes(const std::string& name) {
    return testsupport::goldenBytes("file-output", name);
}

const std::string kTestModule = "AccessModuleName = " + staged("lib64/axsmods/libtestaxsmod.so");

// A job over the golden rows: the pass-through OUTMOD (unless the
// attributes name another) writing "out.dat".
Job fileJob(const std::string& name, const std::string& attributes, bool utf16 = false) {
    Job job;
    job.name = "file-" + name;
    job.attributes = (attributes.find("OUTMODname") == std::string::npos
                          ? "OUTMODname = " + staged("lib64/outmods/libpassthru.so") + "\n"
                          : "") +
                     "FileName = \"out.dat\"\n" + attributes + "\n";
    job.schema = utf16 ? "[[schema]]\nname = \"u16\"\ntype = \"CHAR\"\nlength = 6\n"
                       : "[[schema]]\nname = \"code\"\ntype = \"CHAR\"\nlength = 3\n"
                         "[[schema]]\nname = \"word\"\ntype = \"CHAR\"\nlength = 4\n";
    job.source = std::string("kind = \"sqlite\"\ndatabase = \"") + BU_FILE_OUTPUT_DB +
                 "\"\nquery = \"SELECT " + (utf16 ? "u16" : "code, word") +
                 " FROM t ORDER BY rowid\"\n";
    return job;
}

TEST(FileOutput, EveryFormatWritesItsGoldenBytes) {
    struct Case {
        const char* golden;
        std::string attributes;
        const char* charset;
    };
    const Case cases[] = {
        {"text", "Format = \"TEXT\"", "ASCII"},
        {"text-utf8-bom", "Format = \"text\"\nWriteBOM = \"Y\"", "UTF8"},
        {"text-utf16-bom", "Format = \"TEXT\"\nWriteBOM = \"YES\"", "UTF16"},
        {"binary", "Format = \"BINARY\"", "ASCII"},
        {"formatted-upper",
         "Format = \"FORMATTED\"\nOUTMODname = " + staged("lib64/outmods/libupcase.so"), "ASCII"},
        {"formatted2", "Format = \"FORMATTED2\"", "ASCII"},
        {"binary4", "Format = \"BINARY4\"", "ASCII"},
        {"formatted4", "Format = \"FORMATTED4\"", "ASCII"},
        {"unformatted", "Format = \"UNFORMATTED\"", "ASCII"},
        // Blocks of 16 bytes: the module gets several writes, the file the
        // same bytes.
        {"binary", "Format = \"BINARY\"\n" + kTestModule + "\nAccessModuleInitStr = \"block=16\"",
         "ASCII"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.attributes);
        const std::string charset = c.charset;
        Job job = fileJob(c.golden, c.attributes, charset == "UTF16");
        job.jobLines = "charset = \"" + charset + "\"\n";
        JobResult r = testsupport::runJob(job);
        ASSERT_EQ(r.exitCode, 0) << r.output << r.publicLog;
        const std::string expected = goldenBytes(c.golden);
        const std::string written = r.file("out.dat");
        EXPECT_EQ(written, expected)
            << "written:  " << hex(written) << "\nexpected: " << hex(expected);
    }
}

// A write the file can't take ends the job with 12 and its messages; the
// file keeps whole records only.
TEST(FileOutput, RefusedWritesLeaveOnlyWholeRecords) {
    const std::string binary = goldenBytes("binary");
    const std::string firstRecord = binary.substr(0, 9);
    struct Case {
        const char* name;
        std::string attributes;
        std::vector<int> messages;  // ascending: those the public log has
        std::string detail;         // a text the public log has
        std::string file;
        std::string traced = "";    // a line the private log has
        std::string jobLines = "";  // lines of [job]
    };
    const Case cases[] = {
        // The first block goes out; the second, holding the second record,
        // is refused; the third record is never stored.
        {"module-refuses-a-block",
         "Format = \"BINARY\"\n" + kTestModule +
             "\nAccessModuleInitStr = \"block=16 fail=5:2:34 errtext=tape_full\"",
         {19306, 19434},
         "pmWrite failed with access layer status 34: tape full",
         firstRecord,
         "    !ERROR! pmWrite rc=34\n"},
        // Rows of a buffer go to the file from the data connector, which
        // traces the refusal as plain lines.
        {"module-refuses-a-block-of-buffered-rows",
         "Format = \"BINARY\"\n" + kTestModule +
             "\nAccessModuleInitStr = \"block=16 fail=5:2:34 errtext=tape_full\"",
         {19306, 19434},
         "pmWrite failed with access layer status 34: tape full",
         firstRecord,
         "    pmWrite rc=34\n",
         "buffer_mode = true\n"},
        // A record and its line feed need 8 bytes; the module's blocks hold 7.
        {"record-longer-than-a-block",
         "Format = \"TEXT\"\n" + kTestModule + "\nAccessModuleInitStr = \"block=7\"",
         {19306, 19417, 19471},
         "record of 8 bytes does not fit a buffer of 7 bytes",
         ""},
        // A module that says it reported the failure itself: nothing more.
        {"module-reported-it",
         "Format = \"BINARY\"\n" + kTestModule +
             "\nAccessModuleInitStr = \"block=16 fail=5:1:999999\"",
         {},
         "QLN19015",
         ""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Job job = fileJob(c.name, c.attributes);
        job.jobLines = c.jobLines;
        JobResult r = testsupport::runJob(job);
        EXPECT_EQ(r.exitCode, 12) << r.output;
        std::vector<int> seen;
        for (int number : {19306, 19417, 19434, 19471}) {
            if (r.hasMessage(number)) seen.push_back(number);
        }
        EXPECT_EQ(seen, c.messages) << r.publicLog;
        EXPECT_NE(r.publicLog.find(c.detail), std::string::npos) << r.publicLog;
        EXPECT_EQ(r.file("out.dat"), c.file) << hex(r.file("out.dat"));
        EXPECT_NE(r.allPrivate().find(c.traced), std::string::npos) << r.allPrivate();
    }
}

// The end of a job through an Access Module: a job that succeeded lets the
// module drop its restart information before the file closes, one that
// failed doesn't; a close the module refuses is a warning with the
// operator's name in front, and the job's result stands.
TEST(FileOutput, TheEndThroughAnAccessModule) {
    const std::string told = "Sending to access module: attribute 'PRESERVE_RESTART_INFO'='NO'";
    Job passed = fileJob("end-passed", "Format = \"BINARY\"\nTraceLevel = \"MILESTONES\"\n" +
                                           kTestModule + "\nAccessModuleInitStr = \"fail=3:1:34\"");
    JobResult r = testsupport::runJob(passed);
    EXPECT_EQ(r.exitCode, 0) << r.output;
    EXPECT_NE(r.allPrivate().find(told), std::string::npos);
    EXPECT_EQ(r.file("out.dat"), goldenBytes("binary"));
    EXPECT_NE(r.publicLog.find("[1] W buoutop pmClose failed with access layer status 34"),
              std::string::npos)
        << r.publicLog;
    EXPECT_NE(r.publicLog.find("[1] W buoutop closing the file failed"), std::string::npos)
        << r.publicLog;
    EXPECT_NE(r.allPrivate().find("    !WARNING! close of 'Data File' file failed - rc 34"),
              std::string::npos)
        << r.allPrivate();

    Job failed =
        fileJob("end-failed", "Format = \"BINARY\"\nTraceLevel = \"MILESTONES\"\n" + kTestModule);
    failed.tables = "[system]\nSYSTEM_ExecutePassed = \"N\"\n";
    r = testsupport::runJob(failed);
    EXPECT_EQ(r.exitCode, 0) << r.output;
    EXPECT_EQ(r.allPrivate().find(told), std::string::npos);
}

}  // namespace
