// Positions taken at checkpoints and restored after closing and reopening
// the file, through the disk module and through the test Access Module.
#include <cstring>
#include <vector>

#include "access_fixture.h"
#include "record_io.h"

namespace {

class PositionTest : public AccessTest {
  protected:
    // The disk module, or the test module with this init.
    void attachModule(const std::string& init, bool testModule) {
        initLayer();
        h_ = testModule ? attached(testModulePath(), init) : attached();
    }
    uint32_t open(int16_t mode, pmFp* fp) { return AccessTest::open(h_, mode, 3, "data", fp, 256); }
    void writeRecords(const std::vector<std::string>& records) {
        writeFileOf(h_, 3, "data", records, pmOpenWrite, 256);
    }
    // Reads `skip` records (all: up to the end of the file), checkpoints,
    // reopens, restores, and reads on.
    void checkRestartAfter(size_t skip, const std::vector<std::string>& records) {
        SCOPED_TRACE(skip);
        pmFp in = 0;
        ASSERT_EQ(open(1, &in), 0u);
        pmRecord r{};
        for (size_t i = 0; i < skip; ++i) ASSERT_EQ(pmRead(in, &r), 0u);
        if (skip == records.size()) {
            ASSERT_EQ(pmRead(in, &r), 9u);
        }
        auto position = takePosition(in);
        ASSERT_FALSE(position.empty());
        ASSERT_EQ(pmCloseR(in), 0u);
        ASSERT_EQ(open(1, &in), 0u);
        ASSERT_EQ(restorePosition(in, position), 0u);
        uint32_t last = 0;
        auto rest = readAll(in, &last);
        EXPECT_EQ(last, 9u);
        EXPECT_EQ(rest, std::vector<std::string>(records.begin() + skip, records.end()));
        EXPECT_EQ(static_cast<FileInfo*>(pmGetMemA(in))->RecCount, records.size());
        pmClose(in);
    }
    pmHandle h_ = 0;
};

const std::vector<std::string> kRecords =
    sampleRecords({30, 200, 5, 240, 100, 1, 77, 250, 12, 60, 3});

// Through the disk module (no init) and the test module with block headers
// of several sizes and short blocks: the refills step over the headers.
TEST_F(PositionTest, RestoresAtEveryRecord) {
    for (const char* init :
         {"", "block=256", "block=256 hdr=1", "block=256 hdr=8", "block=300 hdr=64",
          "block=300 hdr=3 short=50", "block=256 hdr=5 short=9", "block=256 short=1"}) {
        SCOPED_TRACE(init);
        attachModule(init, *init != '\0');
        writeRecords(kRecords);
        for (size_t skip = 0; skip <= kRecords.size(); ++skip) checkRestartAfter(skip, kRecords);
        pmShutDown(2);
    }
}

// The disk module's position is 32 bytes with the record count at byte 20,
// each open file's its own; any other length is refused with 23.
TEST_F(PositionTest, DiskPositionsBelongToTheirFileAndHaveTheirLength) {
    attachModule("", false);
    writeRecords(kRecords);
    pmFp first = 0, second = 0;
    ASSERT_EQ(open(1, &first), 0u);
    ASSERT_EQ(open(1, &second), 0u);
    pmRecord r{};
    ASSERT_EQ(pmRead(first, &r), 0u);
    for (int i = 0; i < 3; ++i) ASSERT_EQ(pmRead(second, &r), 0u);
    // The first file's bytes are read only after the second's are taken.
    pmData firstPos{}, secondPos{};
    ASSERT_EQ(pmGetPos(first, 0, &firstPos), 0u);
    ASSERT_EQ(pmGetPos(second, 0, &secondPos), 0u);
    ASSERT_EQ(firstPos.Length, 32u);
    uint32_t recCount = 0;
    std::memcpy(&recCount, static_cast<uint8_t*>(firstPos.Data) + 20, 4);
    EXPECT_EQ(recCount, 1u);
    std::memcpy(&recCount, static_cast<uint8_t*>(secondPos.Data) + 20, 4);
    EXPECT_EQ(recCount, 3u);
    auto* bytes = static_cast<uint8_t*>(firstPos.Data);
    std::vector<uint8_t> position(bytes, bytes + firstPos.Length - 1);
    EXPECT_EQ(restorePosition(first, position), 23u);
    pmClose(first);
    pmClose(second);
}

TEST_F(PositionTest, UserDoneOnAModuleNotesEndOfFileWithoutAskingIt) {
    attachModule("block=256", true);
    writeRecords(kRecords);
    pmFp in = 0;
    ASSERT_EQ(open(1, &in), 0u);
    pmRecord r{};
    pmRead(in, &r);
    uint32_t rc = 0;
    auto position = takePosition(in, 1, &rc);
    ASSERT_EQ(rc, 0u);
    ASSERT_EQ(position.size(), 13u);
    uint64_t blkOffset = 1;
    std::memcpy(&blkOffset, position.data(), 8);
    EXPECT_EQ(blkOffset, 0u);
    EXPECT_EQ(position[12], 1);
    EXPECT_EQ(moduleCalls(h_, 6), 0u);
    EXPECT_EQ(pmRead(in, &r), 9u);
    takePosition(in, 2, &rc);
    EXPECT_EQ(rc, 2u);
    pmClose(in);
}

TEST_F(PositionTest, WithoutModuleCheckpointsOnlyTheCountComesBack) {
    attachModule("block=256", true);
    writeRecords(kRecords);
    bTakeAMcheckpoint = 0;  // copied into the file at open
    pmFp in = 0;
    ASSERT_EQ(open(1, &in), 0u);
    pmRecord r{};
    for (int i = 0; i < 4; ++i) pmRead(in, &r);
    auto position = takePosition(in);
    EXPECT_EQ(position.size(), 13u);
    EXPECT_TRUE(trace_.contains("Bypassing call to AM for checkpoint"));
    pmClose(in);
    ASSERT_EQ(open(1, &in), 0u);
    ASSERT_EQ(restorePosition(in, position), 0u);
    EXPECT_TRUE(trace_.contains("Bypassing call to AM for reposition"));
    auto* file = static_cast<FileInfo*>(pmGetMemA(in));
    EXPECT_EQ(file->RecCount, 4u);
    // The file stays where it was: the next record is the first.
    ASSERT_EQ(pmRead(in, &r), 0u);
    EXPECT_EQ(std::string(static_cast<char*>(r.Data), r.Length), kRecords[0]);
    pmClose(in);
}

TEST_F(PositionTest, ModuleWithoutPositionsFailsTheCheckpoint) {
    attachModule("block=256 nopos", true);
    writeRecords(kRecords);
    pmFp in = 0;
    ASSERT_EQ(open(1, &in), 0u);
    uint32_t rc = 0;
    takePosition(in, 0, &rc);
    EXPECT_EQ(rc, 24u);
    EXPECT_TRUE(trace_.contains("NOT returning position for file="));
    pmClose(in);
}

// A file being written goes back to its checkpoint: what the interrupted run
// wrote behind it is cut off, even where the new run writes less, which a
// rerun of the same rows can't show. Through the disk module the bytes are
// on disk by the time the position is handed out.
TEST_F(PositionTest, WriteFileRestartsBehindTheLastCheckpoint) {
    for (bool testModule : {false, true}) {
        SCOPED_TRACE(testModule);
        attachModule("block=256", testModule);
        auto first = sampleRecords({40, 41, 42});
        std::string kept;
        for (const auto& r : first) kept += onDisk(r, 3);
        pmFp out = 0;
        ASSERT_EQ(open(2, &out), 0u);
        for (const auto& r : first) writeRecord(out, r);
        auto position = takePosition(out);
        EXPECT_EQ(readFile("data"), kept);
        writeRecord(out, std::string(60, 'L'));  // written, then the run dies
        pmCloseR(out);
        ASSERT_EQ(open(3, &out), 0u);
        ASSERT_EQ(restorePosition(out, position), 0u);
        EXPECT_EQ(static_cast<FileInfo*>(pmGetMemA(out))->RecCount, 3u);
        writeRecord(out, std::string(43, 'N'));
        pmClose(out);
        EXPECT_EQ(readFile("data"), kept + onDisk(std::string(43, 'N'), 3));
        pmShutDown(2);
    }
}

// A checkpoint is data from outside: an offset past the block the file has
// at the restart is refused, and never used to read.
// The restored block holds 256 bytes: an offset at its end is good, one
// byte behind it can't be the same data.
TEST_F(PositionTest, OffsetBehindTheRestoredBlockIsRefused) {
    for (bool testModule : {false, true}) {
        SCOPED_TRACE(testModule);
        attachModule("block=256", testModule);
        writeRecords(kRecords);
        pmFp in = 0;
        ASSERT_EQ(open(1, &in), 0u);
        pmRecord r{};
        pmRead(in, &r);
        auto position = takePosition(in);
        ASSERT_FALSE(position.empty());
        pmClose(in);
        for (uint32_t offset : {256u, 257u}) {
            // BlkOffset of a module's position, BufferOffset of the disk module's.
            std::memcpy(position.data() + (testModule ? 0 : 16), &offset, 4);
            ASSERT_EQ(open(1, &in), 0u);
            EXPECT_EQ(restorePosition(in, position), offset == 256 ? 0u : 43u) << offset;
            pmClose(in);
        }
        pmShutDown(2);
    }
}

}  // namespace
