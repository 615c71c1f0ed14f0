// A producer's file read: what an end of file means to dcRead's callers,
// UNFORMATTED rows read by their own prefixes across blocks and refused when
// cut off or too long, the checks of a record's bytes, and lists of files.
#include <deque>
#include <string>

#include "file_list.h"
#include "layer_fixture.h"
#include "producer_reads.h"

namespace bu::test {
namespace {

constexpr int32_t kInteger = 1;
constexpr int32_t kVarchar = 7;
constexpr int32_t kNumber = 63;

std::string le16(uint16_t v) {
    return {static_cast<char>(v & 0xFF), static_cast<char>(v >> 8)};
}

class ProducerFile : public LayerTest {
  protected:
    void SetUp() override {
        LayerTest::SetUp();
        openLogs(2);
        attachDisk();
    }
    std::string file(const std::string& bytes) { return files_.emplace_back(bytes).path(); }
    // Opens the file as the data file is opened for a reading instance.
    void open(int32_t format, const std::string& bytes, uint64_t blockSize) {
        FileFormat = format;
        DC_OpenMode = pmOpenRead;
        Reading = 1;
        BufferSize = blockSize;
        ASSERT_EQ(DC_DataConOpen(host.handle(), file(bytes).c_str()), 0);
    }
    std::string record() const {
        return {static_cast<const char*>(pmBuffer.Data), pmBuffer.Length};
    }

    std::deque<TempFile> files_;
};

TEST_F(ProducerFile, TheEndOfTheFileMeansWhatTheModeSays) {
    struct Case {
        int32_t mode;
        int32_t atEnd;
        bool reported;
    };
    for (const Case& c : {Case{dcReadEndOfData, PXSTC_EndOfData, false},
                          Case{dcReadEndIsFatal, PXSTC_FatalError, true},
                          Case{dcReadEndIsGood, 0, false}, Case{7, 0, false}}) {
        SCOPED_TRACE(c.mode);
        host.publicMessages.clear();
        open(FMT_BINARY, le16(2) + "ab", 64);
        ASSERT_EQ(dcRead("reader", c.mode), 0);
        EXPECT_EQ(record(), "ab");
        EXPECT_EQ(pmBufferRecCount, 1u);
        EXPECT_EQ(dcRead("reader", c.mode), c.atEnd);
        EXPECT_EQ(host.hasMessage(19409), c.reported);
        EXPECT_EQ(host.hasMessage(19305), c.reported);
        pmClose(pmfp);
    }
    EXPECT_EQ(CurrentExitCode, 12);
}

class UnformattedRows : public ProducerFile {
  protected:
    void SetUp() override {
        ProducerFile::SetUp();
        host.columns = {{"id", kInteger, 4}, {"name", kVarchar, 5}, {"n", kNumber, 20}};
        ASSERT_EQ(DC_EstablishSchema(host.handle()), 0);
        ASSERT_EQ(SG_VARtypesFlag, 1);
    }
    // The rows read, and the status that ended them.
    std::vector<std::string> readRows(const std::string& bytes, uint32_t* last) {
        open(FMT_UNFORMATTED, bytes, 24);  // rows straddle blocks
        std::vector<std::string> rows;
        pmRecord r{};
        while ((*last = pmRead(pmfp, &r)) == 0) {
            rows.emplace_back(static_cast<const char*>(r.Data), r.Length);
        }
        return rows;
    }
};

// A row: a 4-byte integer, a VARCHAR behind its 2-byte length, a NUMBER
// behind its 1-byte length.
std::string row(char id, const std::string& name, const std::string& number) {
    return std::string(4, id) + le16(static_cast<uint16_t>(name.size())) + name +
           static_cast<char>(number.size()) + number;
}

TEST_F(UnformattedRows, EachRowEndsWhereItsPrefixesSayAcrossBlocks) {
    const std::vector<std::string> rows = {row('1', "abcde", "123456789"), row('2', "", ""),
                                           row('3', "x", "7")};
    uint32_t last = 0;
    EXPECT_EQ(readRows(rows[0] + rows[1] + rows[2], &last), rows);
    EXPECT_EQ(last, 9u);
    EXPECT_TRUE(host.publicMessages.empty());
}

TEST_F(UnformattedRows, ARowCutOffOrTooLongIsRefused) {
    uint32_t last = 0;
    const std::string good = row('1', "ab", "1");
    EXPECT_EQ(readRows(good + row('2', "abc", "12").substr(0, 8), &last).size(), 1u);
    EXPECT_EQ(last, 16u);
    EXPECT_EQ(host.message(19102)->integer(1), 2);  // the record
    EXPECT_EQ(host.message(19102)->text(2), "Data");

    EXPECT_EQ(readRows(good + row('2', "abcdef", ""), &last).size(), 1u);
    EXPECT_EQ(last, 16u);
    EXPECT_EQ(host.arguments(19112), "2 2 'name' 5 6");  // record, column from 1, name, lengths
}

TEST_F(ProducerFile, ChecksOfARecordsBytes) {
    const uint64_t fits = 0xFFFF;
    const uint64_t tooLong = 0x10000;
    EXPECT_EQ(dcGetLOBLen(&fits, 0, "reader", 0), 0);
    EXPECT_EQ(dcGetLOBLen(&tooLong, 0, "reader", 0), PXSTC_FatalError);
    EXPECT_EQ(host.numbers(), std::vector<int32_t>{19151});

    char bytes[] = "abc";
    pmBuffer = {3, bytes};
    EXPECT_EQ(dcCheckBytes(3, "Row", "reader", -1), 0);
    EXPECT_EQ(dcCheckBytes(4, "Row", "reader", -1), PXSTC_FatalError);
    EXPECT_EQ(host.message(19102)->text(2), "Row");
    EXPECT_EQ(CurrentExitCode, 12);
}

// Blank lines count for nothing; a name of 4097 bytes is counted, then
// refused and passed over without raising the exit code.
TEST_F(ProducerFile, AListHandsOutItsNamesInOrder) {
    const std::string longest(PM_MAX_FILE_NAME, 'n');
    int32_t count = -1;
    ASSERT_EQ(DC_FListCount(file("a\n\n" + longest + "\n" + longest + "x\n\nb\n").c_str(), &count),
              0);
    EXPECT_EQ(count, 4);
    char name[PM_MAX_FILE_NAME + 1];
    ASSERT_EQ(DC_GetNextFListfile(name), 0);
    EXPECT_STREQ(name, "a");
    ASSERT_EQ(DC_GetNextFListfile(name), 0);
    EXPECT_EQ(name, longest);
    EXPECT_EQ(DC_GetNextFListfile(name), PXSTC_LengthError);
    EXPECT_TRUE(host.hasMessage(19155));
    ASSERT_EQ(DC_GetNextFListfile(name), 0);
    EXPECT_STREQ(name, "b");
    EXPECT_EQ(FileListRecord, 3);
    EXPECT_EQ(DC_GetNextFListfile(name), PXSTC_EndOfData);
    EXPECT_STREQ(name, "");
    EXPECT_EQ(DC_CloseFList(), 0);
    EXPECT_EQ(CurrentExitCode, 0);

    ASSERT_EQ(DC_FListCount(file("").c_str(), &count), 0);
    EXPECT_EQ(count, 0);
}

}  // namespace
}  // namespace bu::test
