// DC_Checkpoint and DC_Restart: the record the host keeps, a restart that
// brings back the counters and both files, and records a restart refuses.
#include <cstring>
#include <string>
#include <tuple>
#include <vector>

#include "checkpoint_restart.h"
#include "dc_records.h"
#include "layer_fixture.h"
#include "record_error_file.h"

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

}  // namespace
