// DC_Checkpoint and DC_Restart: the record the host keeps, a restart that
// brings back the counters and both files, and records a restart refuses;
// the record error file's limit and merge.
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <tuple>
#include <vector>

#include "checkpoint_restart.h"
#include "dc_records.h"
#include "delimited_export.h"
#include "layer_fixture.h"
#include "record_error_file.h"
#include "record_error_settings.h"

namespace {

using bu::test::LayerTest;
using bu::test::TempFile;
using Bytes = std::vector<uint8_t>;

class CheckpointRestart : public LayerTest {
  protected:
    void SetUp() override {
        LayerTest::SetUp();
        openLogs(1);
        attachDisk();
    }
    // Both files, as a run opens them (3: as a restart does).
    void open(int16_t mode) {
        openOnDisk(data_, &pmfp, pmFmtBinary, mode);
        ErrorsPmHandle = DC_pmHandle;
        RowErrOpenMode = mode;
        openOnDisk(errors_, &SG_pmFpErrors, pmFmtText, mode);
    }
    void write(pmFp file, const std::string& record) {
        pmRecord r{static_cast<uint32_t>(record.size()), const_cast<char*>(record.data()), 0, 0};
        ASSERT_EQ(pmWrite(file, &r), 0u);
    }
    // The run dies: its files are dropped as they stand.
    void crash() {
        pmCloseR(pmfp);
        pmCloseR(SG_pmFpErrors);
    }
    TempFile data_;
    TempFile errors_;
};

TEST_F(CheckpointRestart, ARestartGoesBackToTheCheckpointInBothFiles) {
    open(pmOpenWrite);
    write(pmfp, "one");
    write(pmfp, "two");
    write(SG_pmFpErrors, "bad row");
    FileRecordCount = 2;
    SG_ErrorRowCount = 1;
    RecordInstanceTarget = 7;
    ASSERT_EQ(DC_Checkpoint(host.handle()), 0);
    const Bytes record = host.writtenRecord;
    ASSERT_EQ(record.size(), 20u + 32u + 32u + 4u);
    dcPosSummary_t head{};
    std::memcpy(&head, record.data(), sizeof head);
    EXPECT_EQ(std::tuple(head.ErrRowCount, head.FileRecCount, head.DatPosLen, head.ErrPosLen,
                         head.RecordInstanceTarget),
              std::tuple(1u, 2u, 32u, 32u, 7));
    // The file holds everything up to the checkpoint before the host is told.
    EXPECT_EQ(data_.bytes(), std::string("\x03\x00one\x03\x00two", 10));
    EXPECT_EQ(errors_.bytes(), "bad row\n");
    write(pmfp, "lost in the crash");
    write(SG_pmFpErrors, "lost too");
    crash();

    FileRecordCount = SG_ErrorRowCount = 0;
    RecordInstanceTarget = 0;
    open(pmOpenUpdate);
    host.hasStoredRecord = true;
    host.storedRecord = record;
    ASSERT_EQ(DC_Restart(host.handle()), 0);
    EXPECT_EQ(FileRecordCount, 2u);
    EXPECT_EQ(SG_ErrorRowCount, 1u);
    EXPECT_EQ(RecordInstanceTarget, 7);
    write(pmfp, "3");
    write(SG_pmFpErrors, "next");
    ASSERT_EQ(pmClose(pmfp), 0u);
    ASSERT_EQ(pmClose(SG_pmFpErrors), 0u);
    EXPECT_EQ(data_.bytes(), std::string("\x03\x00one\x03\x00two\x01\x00"
                                         "3",
                                         13));
    EXPECT_EQ(errors_.bytes(), "bad row\nnext\n");
}

// Records a restart can't go back to: nothing is read beyond what the host
// holds, and a record that names positions it lacks is refused before any
// file moves. Counters come back as soon as the record is whole.
TEST_F(CheckpointRestart, RecordsThatCannotBeGoneBackTo) {
    auto record = [](uint32_t datLen, uint32_t errLen, size_t size) {
        Bytes bytes(size, 0);
        const dcPosSummary_t head{4, 9, datLen, errLen, 0};
        std::memcpy(bytes.data(), &head, std::min(size, sizeof head));
        return bytes;
    };
    struct Case {
        const char* name;
        bool stored;
        int32_t readStatus;
        Bytes bytes;
        int32_t result;
        int32_t message;  // 0: none
        uint32_t recordCount;
        int16_t exitCode;
    };
    const Case cases[] = {
        {"no record", false, 0, {}, PXSTC_NullPointer, 0, 0, 0},
        {"the host fails", true, PXSTC_SystemError, {}, PXSTC_FatalError, 0, 0, 12},
        {"shorter than its head", true, 0, record(0, 0, 12), PXSTC_FatalError, 19423, 0, 12},
        {"positions beyond its end", true, 0, record(32, 8, 20 + 32 + 4), PXSTC_FatalError, 19423,
         0, 12},
        {"a position of another module", true, 0, record(8, 0, 20 + 8 + 4), PXSTC_FatalError, 19423,
         9, 12},
    };
    const auto hostsReader = host.op_.PX_ReadCheckpointRecord;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        TearDown();
        SetUp();
        host.publicMessages.clear();
        openOnDisk(data_, &pmfp, pmFmtBinary, pmOpenUpdate);
        host.hasStoredRecord = c.stored;
        host.storedRecord = c.bytes;
        if (c.readStatus != 0) {
            host.op_.PX_ReadCheckpointRecord = [](OperatorHandle*, void**, int32_t*) -> int32_t {
                return PXSTC_SystemError;
            };
        }
        EXPECT_EQ(DC_Restart(host.handle()), c.result);
        EXPECT_EQ(FileRecordCount, c.recordCount);
        EXPECT_EQ(CurrentExitCode, c.exitCode);
        const std::vector<int32_t> messages = {c.message, 19308};
        EXPECT_EQ(host.numbers(), c.message != 0 ? messages : std::vector<int32_t>{});
        EXPECT_EQ(data_.bytes(), "");
        host.op_.PX_ReadCheckpointRecord = hostsReader;
    }
}

// WrRecErrFile's limit counts the rows every instance rejected, through the
// host's shared variable; dcCheckContinue tells the parser to skip a row
// until then and to stop after. The merge of the instances' files.
class RecordErrors : public LayerTest {
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
