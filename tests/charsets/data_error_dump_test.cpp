// The data error dump: which lines reach the private log, for the record,
// the delimiter settings and the file's block.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
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

TEST_F(DataErrorDump, RecordLineForEachKindOfColumn) {
    DumpFileInfo(-1);
    EXPECT_TRUE(host.traced("Record number: 42"));
    DumpFileInfo(-2);
    EXPECT_TRUE(host.traced("Record number: 42 indicator bytes."));
    DumpFileInfo(4);
    EXPECT_TRUE(host.traced("Record number: 42, column 5."));
}

TEST_F(DataErrorDump, WithoutFileRecordOrDelimiter) {
    DumpFileInfo(-1);
    expectTracedInOrder({"*** DATA ERROR >*", "Data description at error:", "File name: <UNKNOWN>",
                         "Native I/O", "Record number: 42", "Data Format: 'BINARY'",
                         "Error file information missing.", "*** < DATA ERROR*"});
    EXPECT_FALSE(host.traced("Character set:"));
}

TEST_F(DataErrorDump, DelimiterSettingsAndLayerIdentification) {
    InitBlock init{1, "charsets_test", PM_INTERFACE_VERSION};
    ASSERT_EQ(pmInit(&init), 0u);
    ASSERT_EQ(pmSetCharSet("UTF8"), 0);
    TextDelimiter.Length = 1;
    std::strcpy(TextDelimiter.Bytes, "|");
    EscapeTextCharacter.Length = 2;
    std::strcpy(EscapeTextCharacter.Bytes, "\\\\");
    bQuotedData = 2;
    DumpFileInfo(-1);
    expectTracedInOrder({"PMHEXDMP................................ 17.10.00.01",
                         "Data description at error:", "Character set: UTF8",
                         "Delimiter = 'x'7C'' (length 1)",
                         "EscapeTextCharacter = 'x'5C5C'' (length 2)", "Quoted data: Optional",
                         "OpenQuoteMark = 'x''' (length 0)", "EscapeRecDelim = 'x''' (length 0)"});
    EXPECT_EQ(pmShutDown(2), 0u);
}

TEST_F(DataErrorDump, FileRecordAndBlockState) {
    openFile(BU_SOURCE_DIR "/CMakeLists.txt", pmOpenWrite);
    DumpFileInfo(-1);
    expectTracedInOrder({"File name: " BU_SOURCE_DIR "/CMakeLists.txt", "Native I/O (non-PIPE)",
                         "Access Mode: 'Write'", "Buffer Size: 65536",
                         "Buffer Position: 300 (x'0000012C')", "Buffer End: 65536 (x'00010000')",
                         "Record Count: 41", "EOR bytes[1]: x'0A'", "*** < DATA ERROR"});
}

// The kind of I/O: a pipe is told apart by the file's name; a file of an
// Access Module names the module, whose identification can fail.
TEST_F(DataErrorDump, PipeAndAccessModuleFiles) {
    const std::string fifo = ::testing::TempDir() + "charsets_dump_fifo";
    ::unlink(fifo.c_str());
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    openFile(fifo.c_str(), pmOpenRead);
    DumpFileInfo(-1);
    expectTracedInOrder({"Native I/O (PIPE)", "Access Mode: 'Read'"});
    ::unlink(fifo.c_str());

    Paramod module{};
    module.MMToken = 999;
    module.pmIPCHandle = [](void*, void*) {};
    static_cast<FileInfo*>(pmGetMemA(pmfp))->PPtr = &module;
    DumpFileInfo(-1);
    expectTracedInOrder({"pmGetID failed, rc=", "Access Module I/O"});
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
