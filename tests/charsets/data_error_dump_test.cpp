// The data error dump: which lines reach the private log, for the record,
// the delimiter settings and the file's block.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "charset_fixture.h"
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
        TextDelimiter.Length = 0;
        bQuotedData = 0;
    }
    void TearDown() override {
        if (file_ != nullptr) {
            pmfp = 0;
            pmMMFreePool();
        }
        FileRecordCount = 0;
        Format_C[0] = '\0';
        TextDelimiter.Length = 0;
        EscapeTextCharacter.Length = 0;
        bParallelReadSlave = 0;
        StatsTraceLevel = 0;
        CharsetTest::TearDown();
    }

    FileInfo* openFile(const char* name) {
        pmMMNewPool();
        uint32_t token = 0;
        file_ = static_cast<FileInfo*>(pmGetMem(sizeof(FileInfo), &token, 1));
        file_->MMToken = token;
        std::strcpy(file_->FName, name);
        file_->OpenMode = pmOpenWrite;
        file_->BufferSize = 65536;
        file_->BufferPosition = 300;
        file_->BufferEnd = 65536;
        file_->RecCount = 41;
        file_->EORLength = 1;
        file_->EOR[0] = '\n';
        pmfp = token;
        return file_;
    }

    FileInfo* file_ = nullptr;
};

TEST_F(DataErrorDump, RecordLineForEachKindOfColumn) {
    DumpFileInfo(-1);
    EXPECT_TRUE(host.traced("Record number: 42"));
    DumpFileInfo(-2);
    EXPECT_TRUE(host.traced("Record number: 42 indicator bytes."));
    DumpFileInfo(4);
    EXPECT_TRUE(host.traced("Record number: 42, column 5."));
}

TEST_F(DataErrorDump, WithoutFileRecord) {
    DumpFileInfo(-1);
    EXPECT_TRUE(host.traced("*** DATA ERROR >*"));
    EXPECT_TRUE(host.traced("Data description at error:"));
    EXPECT_TRUE(host.traced("File name: <UNKNOWN>"));
    EXPECT_TRUE(host.traced("Native I/O"));
    EXPECT_TRUE(host.traced("Data Format: 'BINARY'"));
    EXPECT_TRUE(host.traced("Error file information missing."));
    EXPECT_TRUE(host.traced("*** < DATA ERROR*"));
    EXPECT_FALSE(host.traced("Character set:"));
    EXPECT_FALSE(host.traced("Delimiter ="));
}

TEST_F(DataErrorDump, IdentificationOfTheLayer) {
    InitBlock init{1, "charsets_test", PM_INTERFACE_VERSION};
    ASSERT_EQ(pmInit(&init), 0u);
    DumpFileInfo(-1);
    EXPECT_TRUE(host.traced("PMHEXDMP................................ 17.10.00.01"));
    EXPECT_TRUE(host.traced("PMUNXDSK"));
    EXPECT_EQ(pmShutDown(2), 0u);
}

TEST_F(DataErrorDump, DelimiterSettingsWhenDelimited) {
    std::strcpy(Format_C, "DELIMITED");
    ASSERT_EQ(pmSetCharSet("UTF8"), 0);
    TextDelimiter.Length = 1;
    std::strcpy(TextDelimiter.Bytes, "|");
    EscapeTextCharacter.Length = 2;
    std::strcpy(EscapeTextCharacter.Bytes, "\\\\");
    bQuotedData = 2;
    DumpFileInfo(-1);
    EXPECT_TRUE(host.traced("Character set: UTF8"));
    EXPECT_TRUE(host.traced("Delimiter = 'x'7C'' (length 1)"));
    EXPECT_TRUE(host.traced("EscapeTextCharacter = 'x'5C5C'' (length 2)"));
    EXPECT_TRUE(host.traced("Quoted data: Optional"));
    EXPECT_TRUE(host.traced("OpenQuoteMark = 'x''' (length 0)"));
    EXPECT_TRUE(host.traced("EscapeRecDelim = 'x''' (length 0)"));
}

TEST_F(DataErrorDump, FileRecordAndBlockState) {
    openFile("/nonexistent/dir/out.dat");
    DumpFileInfo(-1);
    EXPECT_TRUE(host.traced("File name: /nonexistent/dir/out.dat"));
    EXPECT_TRUE(host.traced("Access Mode: 'Write'"));
    EXPECT_TRUE(host.traced("Buffer Size: 65536"));
    EXPECT_TRUE(host.traced("Buffer Position: 300 (x'0000012C')"));
    EXPECT_TRUE(host.traced("Buffer End: 65536 (x'00010000')"));
    EXPECT_TRUE(host.traced("Record Count: 41"));
    EXPECT_TRUE(host.traced("EOR bytes[1]: x'0A'"));
    EXPECT_FALSE(host.traced("Error file information missing."));
}

TEST_F(DataErrorDump, NativeFileIsNonPipe) {
    openFile(BU_SOURCE_DIR "/CMakeLists.txt")->OpenMode = 9;
    DumpFileInfo(-1);
    EXPECT_TRUE(host.traced("Native I/O (non-PIPE)"));
    EXPECT_TRUE(host.traced("Access Mode: 'INVALID'"));
}

TEST_F(DataErrorDump, NothingWithoutPrivateLogOrBelowStatsLevel) {
    host.traceLines.clear();
    Private_loghandle = nullptr;
    DumpFileInfo(-1);
    Private_loghandle = &host.privateLog_;
    StatsTraceLevel = 3;
    DumpFileInfo(-1);
    EXPECT_TRUE(host.traceLines.empty());
}

TEST_F(DataErrorDump, ParallelReadSlaveOnlyPointsToInstanceOne) {
    bParallelReadSlave = 1;
    DumpFileInfo(-1);
    EXPECT_TRUE(host.traced("Refer to private log for instance 1 for further diagnostics"));
    EXPECT_FALSE(host.traced("DATA ERROR"));
}

}  // namespace
