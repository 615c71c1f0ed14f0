// Records through the default disk module: every length-prefixed format and
// the unformatted one, block straddles, empty and missing files, modes, and
// named pipes with and without a time-out.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <thread>

#include "access_fixture.h"
#include "record_io.h"

namespace {

class DiskIoTest : public AccessTest {
  protected:
    void SetUp() override {
        AccessTest::SetUp();
        initLayer();
        h_ = attached();
    }
    uint32_t open(int16_t mode, uint32_t format, const std::string& name, pmFp* fp,
                  uint64_t blockSize = 0) {
        return AccessTest::open(h_, mode, format, name, fp, blockSize);
    }
    pmHandle h_ = 0;
};

// An empty file opens with 29 and reads end-of-file; a missing one is 4 with
// the system's reason when read, and made without a warning when written.
TEST_F(DiskIoTest, EmptyAndMissingFiles) {
    writeFile("empty", "");
    pmFp fp = 0;
    ASSERT_EQ(open(1, 2, "empty", &fp), 29u);
    ASSERT_NE(fp, 0u);
    pmRecord r{};
    EXPECT_EQ(pmRead(fp, &r), 9u);
    EXPECT_EQ(pmClose(fp), 0u);

    ASSERT_EQ(open(1, 2, "absent", &fp), 4u);
    EXPECT_EQ(fp, 0u);
    EXPECT_EQ(errText(),
              "pmUnxDskOpen: File: '" + path("absent") + "' (No such file or directory)");

    trace_.clear();
    ASSERT_EQ(open(2, 2, "new", &fp), 0u);
    EXPECT_FALSE(trace_.contains("'stat' call failed"));
    pmClose(fp);
    EXPECT_TRUE(std::filesystem::exists(path("new")));
}

TEST_F(DiskIoTest, ModesGuardReadsAndWrites) {
    writeFile("m", onDisk("x"));
    pmFp out = 0, in = 0, both = 0;
    ASSERT_EQ(open(2, 2, "w", &out), 0u);
    ASSERT_EQ(open(1, 2, "m", &in), 0u);
    pmRecord r{};
    EXPECT_EQ(pmRead(out, &r), 5u);
    EXPECT_EQ(writeRecord(in, "x"), 6u);
    EXPECT_EQ(pmFlush(in), 6u);
    pmRecord noBytes{3, nullptr, 0, 0};  // a length without bytes behind it
    EXPECT_EQ(pmWrite(out, &noBytes), 2u);
    EXPECT_EQ(static_cast<FileInfo*>(pmGetMemA(out))->RecCount, 0u);
    ASSERT_EQ(open(3, 2, "m", &both), 0u);
    EXPECT_EQ(writeRecord(both, "yz"), 0u);  // appended at the end
    EXPECT_EQ(pmClose(both), 0u);
    EXPECT_EQ(readFile("m"), onDisk("x") + onDisk("yz"));
    pmClose(out);
    pmClose(in);
}

TEST_F(DiskIoTest, FlushWithNothingPendingIsBypassed) {
    initLayer(3);
    pmFp out = 0;
    ASSERT_EQ(open(2, 3, "e", &out), 0u);
    EXPECT_EQ(pmFlush(out), 0u);
    EXPECT_TRUE(trace_.contains("!WARNING! Write of empty buffer bypassed"));
    ASSERT_EQ(writeRecord(out, "abc"), 0u);
    auto* file = static_cast<FileInfo*>(pmGetMemA(out));
    EXPECT_EQ(file->BufferEnd, 6u);
    EXPECT_EQ(pmFlush(out), 0u);
    EXPECT_EQ(file->BufferEnd, 0u);  // handed to the stream
    pmClose(out);
    EXPECT_EQ(readFile("e"), onDisk("abc", 3));
}

TEST_F(DiskIoTest, FailingBlockWriteIsReported) {
    if (!std::filesystem::exists("/dev/full")) GTEST_SKIP() << "no /dev/full";
    pmFp out = 0;
    // Blocks larger than the stream's own buffer go to the device at once.
    ASSERT_EQ(pmOpen(2, 0, 2, nullptr, 8192, 0, "/dev/full", h_, nullptr, &out), 0u);
    std::string rec(5000, 'r');
    EXPECT_EQ(writeRecord(out, rec), 0u);  // pending in the block
    uint32_t rc = writeRecord(out, rec);   // the block goes out and fails
    EXPECT_EQ(rc, 34u);
    EXPECT_EQ(errText(), "pmunxWBuf: fwrite byte count error (No space left on device)");
    pmClose(out);
}

class PipeTest : public DiskIoTest {
  protected:
    void SetUp() override {
        DiskIoTest::SetUp();
        fifo_ = path("fifo");
        ASSERT_EQ(mkfifo(fifo_.c_str(), 0600), 0);
    }
    std::string fifo_;
};

// Feeds the pipe from another thread, as a writer process would.
std::thread feeder(const std::string& fifo, std::string bytes) {
    return std::thread([fifo, bytes] {
        int fd = ::open(fifo.c_str(), O_WRONLY);
        if (fd < 0) return;
        size_t done = 0;
        while (done < bytes.size()) {
            ssize_t n = ::write(fd, bytes.data() + done, bytes.size() - done);
            if (n <= 0) break;
            done += static_cast<size_t>(n);
        }
        ::close(fd);
    });
}

std::string binaryRecords(const std::vector<std::string>& records) {
    std::string out;
    for (const auto& r : records) out += onDisk(r);
    return out;
}

// Records straddling the pipe's reads arrive whole, with the time-out off
// (the warning says the pipe was seen) and on.
TEST_F(PipeTest, ReadsFromAWriterWithAndWithoutTimeOut) {
    for (int32_t timeOut : {0, 30}) {
        SCOPED_TRACE(timeOut);
        FIFO_TimeOutSeconds = timeOut;
        auto records = sampleRecords({10, 3000, 1, 700, 2000, 4});
        std::thread writer = feeder(fifo_, binaryRecords(records));
        pmFp in = 0;
        ASSERT_EQ(open(1, 2, "fifo", &in, 4096), 0u);
        EXPECT_TRUE(trace_.contains("!WARNING! FIFO pipe detected"));
        uint32_t last = 0;
        EXPECT_EQ(readAll(in, &last), records);
        EXPECT_EQ(last, 9u);
        pmClose(in);
        writer.join();
    }
}

TEST_F(PipeTest, SilentPipeTimesOutWith55AndMessage19468) {
    FIFO_TimeOutSeconds = 1;
    JobOpName = "EXPORT_OP";
    ThisInstance = 3;
    pmFp in = 0;
    ASSERT_EQ(open(1, 2, "fifo", &in), 0u);
    pmRecord r{};
    EXPECT_EQ(pmRead(in, &r), 55u);
    ASSERT_EQ(publicLog_.count(19468), 1);
    EXPECT_EQ(publicLog_.messages()[0].args[0], "EXPORT_OP[3]: QLN19468");
    EXPECT_TRUE(trace_.contains("Named pipe timeout limit exceed, aborting job"));
    pmClose(in);
    JobOpName = "";
    ThisInstance = 1;
}

// A pipe has no position unless checkpoints are off, and can't be shared by
// the readers of a multi-instance read.
TEST_F(PipeTest, NoPositionAndNoMultiInstanceRead) {
    FIFO_TimeOutSeconds = 1;
    pmFp in = 0;
    ASSERT_EQ(open(1, 2, "fifo", &in), 0u);
    pmData pos{};
    EXPECT_EQ(pmGetPos(in, 0, &pos), 56u);
    bTakeAMcheckpoint = 0;
    pos = {99, &pos};
    EXPECT_EQ(pmGetPos(in, 0, &pos), 0u);
    EXPECT_EQ(pos.Length, 0u);
    EXPECT_TRUE(trace_.contains("Zero checkpoint interval.  Ignoring pipe position error."));
    pmData any{32, &pos};
    EXPECT_EQ(pmRepos(in, &any), 56u);  // a restart has no such exemption
    pmClose(in);
    bMultiInstanceRead = 1;
    EXPECT_EQ(open(1, 2, "fifo", &in), 34u);
    EXPECT_TRUE(trace_.contains("!ERROR! Multi-instance read feature not supported."));
    bMultiInstanceRead = 0;
}

// The multi-reader master: the caller puts the first of three shared blocks
// in place after the open, and each refill moves on to the next block.
TEST_F(DiskIoTest, SharedBlocksCycleAndCarryTheLeftover) {
    auto records = sampleRecords({100, 90, 120, 60, 110, 30, 125, 5});
    pmFp out = 0;
    ASSERT_EQ(open(2, 2, "shared", &out, 128), 0u);
    for (const auto& r : records) writeRecord(out, r);
    pmClose(out);
    std::vector<std::vector<uint8_t>> blocks(3, std::vector<uint8_t>(2 * 128 + 8));
    pmSharedControl control{0, 0};
    pSMmaster = &control;
    for (int i = 0; i < 3; ++i) pDB[i] = blocks[i].data();
    bAltPreadBufferReady = 0;
    pmFp in = 0;
    ASSERT_EQ(pmOpen(1, 1, 2, nullptr, 128, 0, path("shared").c_str(), h_, nullptr, &in), 0u);
    auto* file = static_cast<FileInfo*>(pmGetMemA(in));
    EXPECT_EQ(PreadFp, file);
    EXPECT_EQ(file->Buffer, reinterpret_cast<uint8_t*>(uintptr_t{1}));
    control.SHmemIndex = 1;
    file->Buffer = pDB[0];
    std::vector<int> indices;
    pmRecord r{};
    for (const auto& expected : records) {
        ASSERT_EQ(pmRead(in, &r), 0u);
        EXPECT_EQ(std::string(static_cast<char*>(r.Data), r.Length), expected);
        if (indices.empty() || indices.back() != control.SHmemIndex) {
            indices.push_back(control.SHmemIndex);
        }
    }
    EXPECT_EQ(indices, (std::vector<int>{1, 2, 3, 1, 2, 3}));
    EXPECT_EQ(ReadyIndex, 2);
    EXPECT_EQ(bAltPreadBufferReady, 1);
    EXPECT_EQ(pmClose(in), 0u);  // the shared blocks aren't the layer's to free
    pSMmaster = nullptr;
    for (auto& b : pDB) b = nullptr;
    PreadFp = nullptr;
}

int formatCalls = 0;
uint32_t unterminatedLastRecord(FileInfo*, pmRecord* record) {
    ++formatCalls;
    record->Data = const_cast<char*>("tail");
    record->Length = 4;
    return pmrcNoEOR;
}

// A format that meets the end of the file inside a record (text records do):
// accepted as the last record only when the job says so.
TEST_F(DiskIoTest, EndOfFileInsideARecordCountsOnlyWhenAccepted) {
    writeFile("t", "tail");
    for (int accept : {0, 1}) {
        SCOPED_TRACE(accept);
        bAcceptEOFasEOR = accept;
        formatCalls = 0;
        pmFp in = 0;
        ASSERT_EQ(open(1, 2, "t", &in), 0u);
        static_cast<FileInfo*>(pmGetMemA(in))->FmtRead = unterminatedLastRecord;
        pmRecord r{};
        EXPECT_EQ(pmRead(in, &r), 35u);
        EXPECT_EQ(r.RecCount, accept ? 1u : 0u);
        EXPECT_EQ(pmRead(in, &r), accept ? 9u : 35u);
        EXPECT_EQ(formatCalls, accept ? 1 : 2);
        pmClose(in);
    }
    bAcceptEOFasEOR = 0;
}

}  // namespace
