// The data error dump: which lines reach the private log, for the record,
// the delimiter settings and the file's block.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <fstream>
#include <sstream>
#include <string>

#include "charset_fixture.h"
#include "data_error_dump.h"
#include "file_settings.h"
#include "pmdcomt.h"
#include "text_attr.h"

namespace {

class DataErrorDump : public bu::test::CharsetTest {
  protected:
    void SetUp() override {
        CharsetTest::SetUp();
        FileRecordCount = 41;
        std::strcpy(Format_C, "BINARY");
    }
    void TearDown() override {
        if (pmfp != 0) {
            pmfp = 0;
            pmMMFreePool();
        }
        FileRecordCount = 0;
        Format_C[0] = '\0';
        TextDelimiter.Length = EscapeTextCharacter.Length = 0;
        bQuotedData = bParallelReadSlave = StatsTraceLevel = 0;
        CharsetTest::TearDown();
    }

    void openFile(const char* name, int16_t mode) {
        pmMMNewPool();
        auto* file = static_cast<FileInfo*>(pmGetMem(sizeof(FileInfo), &pmfp, 1));
        file->MMToken = pmfp;
        std::strcpy(file->FName, name);
        file->OpenMode = mode;
        file->BufferSize = 65536;
        file->BufferPosition = 300;
        file->BufferEnd = 65536;
        file->RecCount = 41;
        file->EORLength = 1;
        file->EOR[0] = '\n';
    }
};

// The dumps of golden/data_error_dump.txt, one after another: without a
// file, the record line for the row, its indicator bytes and a column; a
// file being written with its block state; a pipe being read; an Access
// Module's file whose identification fails; last, with the access layer up,
// its identification and the delimiter settings.
TEST_F(DataErrorDump, LinesAsTheGoldenDumpsShow) {
    std::string dumps;
    const auto dump = [&](const char* what, int32_t column) {
        host.traceLines.clear();
        DumpFileInfo(column);
        dumps += std::string("== ") + what + "\n";
        for (const std::string& line : host.traceLines) dumps += line + "\n";
    };
    dump("row", -1);
    dump("indicator bytes", -2);
    dump("column 5", 4);

    openFile("/dev/null", pmOpenWrite);
    dump("written file", -1);
    const std::string fifo = ::testing::TempDir() + "charsets_dump_fifo";
    ::unlink(fifo.c_str());
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    std::strcpy(static_cast<FileInfo*>(pmGetMemA(pmfp))->FName, fifo.c_str());
    static_cast<FileInfo*>(pmGetMemA(pmfp))->OpenMode = pmOpenRead;
    dump("pipe", -1);
    ::unlink(fifo.c_str());
    Paramod module{};
    module.MMToken = 999;
    module.pmIPCHandle = [](void*, void*) {};
    static_cast<FileInfo*>(pmGetMemA(pmfp))->PPtr = &module;
    dump("module", -1);

    pmfp = 0;
    pmMMFreePool();

    InitBlock init{1, "charsets_test", PM_INTERFACE_VERSION};
    ASSERT_EQ(pmInit(&init), 0u);
    ASSERT_EQ(pmSetCharSet("UTF8"), 0);
    TextDelimiter.Length = 1;
    std::strcpy(TextDelimiter.Bytes, "|");
    EscapeTextCharacter.Length = 2;
    std::strcpy(EscapeTextCharacter.Bytes, "\\\\");
    bQuotedData = 2;
    dump("delimited", -1);
    EXPECT_EQ(pmShutDown(2), 0u);

    // The pipe's name is this run's own.
    for (size_t at; (at = dumps.find(fifo)) != std::string::npos;)
        dumps.replace(at, fifo.size(), "FIFO");
    std::ifstream golden(BU_SOURCE_DIR "/tests/charsets/golden/data_error_dump.txt");
    std::stringstream expected;
    expected << golden.rdbuf();
    EXPECT_EQ(dumps, expected.str());
}

TEST_F(DataErrorDump, QuietWithoutPrivateLogOrBelowStatsLevelAndForSlaves) {
    host.traceLines.clear();
    Private_loghandle = nullptr;
    DumpFileInfo(-1);
    Private_loghandle = &host.privateLog_;
    StatsTraceLevel = 3;
    DumpFileInfo(-1);
    EXPECT_TRUE(host.traceLines.empty());
    StatsTraceLevel = 0;
    bParallelReadSlave = 1;
    DumpFileInfo(-1);
    EXPECT_TRUE(host.traced("Refer to private log for instance 1 for further diagnostics"));
    EXPECT_FALSE(host.traced("DATA ERROR"));
}

}  // namespace
