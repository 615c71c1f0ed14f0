// WrRecErrFile's limit counts the rows every instance rejected, through the
// host's shared variable; dcCheckContinue tells the parser to skip a row
// until then and to stop after.
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "delimited_export.h"
#include "layer_fixture.h"
#include "record_error_file.h"
#include "record_error_settings.h"

namespace {

using bu::test::TempFile;

class RecordErrors : public bu::test::LayerTest {
  protected:
    void SetUp() override {
        LayerTest::SetUp();
        openLogs();
        attachDisk();
        ErrorsPmHandle = DC_pmHandle;
        SG_ContinueOnRowError = 1;
    }
};

TEST_F(RecordErrors, TheLimitCountsTheRowsOfEveryInstance) {
    TempFile file;
    openOnDisk(file, &SG_pmFpErrors, pmFmtText);
    TotalInstances = 2;
    SG_ErrorRowLimit = 3;
    char record[] = "a|b";
    pmBufferOrig = {3, record};
    // The others rejected one row: this instance's first two stay below.
    host.sharedVariables["GlblRecordErrorCount"] = {{1, 0, 0, 0}};
    int32_t skip = 0, keep = 1;
    ASSERT_EQ(WrRecErrFile("bad"), 0);
    EXPECT_EQ(dcCheckContinue(&skip, &keep), 0);
    EXPECT_EQ(skip, 1);
    EXPECT_EQ(keep, 0);
    EXPECT_EQ(CurrentExitCode, 4);
    EXPECT_EQ(FileRecordCount, 1u);
    ASSERT_EQ(WrRecErrFile("bad"), 0);
    EXPECT_EQ(SG_ContinueOnRowError, 2);  // 2 here, 3 in all
    EXPECT_EQ(SG_ErrorRowCount, 2u);
    EXPECT_EQ(host.sharedVariables["GlblRecordErrorCount"][0][0], 3);
    EXPECT_EQ(dcCheckContinue(&skip, &keep), PXSTC_FatalError);
    EXPECT_EQ(CurrentExitCode, 12);
    pmBufferOrig = {};
    ASSERT_EQ(pmClose(SG_pmFpErrors), 0u);
    SG_pmFpErrors = 0;
    EXPECT_EQ(file.bytes(), "a|b\na|b\n");  // both rows kept: the limit stops what comes after
}

// At the merge an instance whose process id can't be read is named by the
// service in place of the leader, and its file is reported as not opened.
TEST_F(RecordErrors, AnUnreadableProcessIdAtTheMerge) {
    TotalInstances = 2;
    pmFp temp = 0;
    EXPECT_EQ(OpenRowErrorFile(2, pmOpenRead, &temp), PXSTC_FatalError);
    const auto* m = host.message(19100);
    ASSERT_NE(m, nullptr);
    EXPECT_EQ(std::pair(m->msgClass, m->severity), std::pair(3, 6));
    EXPECT_EQ(m->text(0), "PX_ReadGlobalVar");
    EXPECT_EQ(host.arguments(19100), "'PX_ReadGlobalVar' 5");
    EXPECT_EQ(host.numbers(), (std::vector<int32_t>{19100, 19404, 19304}));
}

// An instance that rejected nothing left an empty file: the merge copies
// nothing from it, removes it, and goes on to the next instance.
TEST_F(RecordErrors, AnEmptyTemporaryFileIsMergedAndRemoved) {
    char logs[] = "/tmp/bu_record_error_logs_XXXXXX";
    ASSERT_NE(mkdtemp(logs), nullptr);
    std::snprintf(LogDirectory, sizeof LogDirectory, "%s", logs);
    TempFile named;
    openOnDisk(named, &SG_pmFpErrors, pmFmtText);
    pmRecord own{3, const_cast<char*>("own"), 0, 0};
    ASSERT_EQ(pmWrite(SG_pmFpErrors, &own), 0u);
    TotalInstances = 3;
    const int32_t pid = 4242;
    std::vector<uint8_t> pidBytes(4);
    std::memcpy(pidBytes.data(), &pid, 4);
    host.sharedVariables["DCRecordErrorCountPid"] = {pidBytes, pidBytes};
    std::string temps[2];
    for (int k = 2; k <= 3; ++k) {
        temps[k - 2] =
            std::string(logs) + "/QLN_DCOP_RE_TMP_tester_P4242_I" + std::to_string(k) + ".txt";
        std::FILE* f = std::fopen(temps[k - 2].c_str(), "wb");
        if (k == 3) std::fputs("x\n", f);
        std::fclose(f);
    }
    bu::dc::mergeErrorFiles();
    EXPECT_EQ(host.numbers(), std::vector<int32_t>{19229});  // the total alone, no failure
    EXPECT_EQ(CurrentExitCode, 0);
    for (const std::string& t : temps) EXPECT_NE(::access(t.c_str(), F_OK), 0) << t;
    ::rmdir(logs);
    EXPECT_EQ(named.bytes(), "own\nx\n");
}

}  // namespace
