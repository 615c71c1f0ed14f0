// Length-prefixed, unformatted and text records on a block fed from memory:
// ends of file between and inside records, the byte-order flip of the
// prefixes, refused lengths, the writers' block limits, and where the text
// writer puts its end-of-record and byte-order marks.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "access_fixture.h"
#include "block_feed.h"
#include "charsets.h"
#include "file_settings.h"
#include "log_capture.h"
#include "pm_layer.h"
#include "record_io.h"
#include "text_attr.h"

namespace {

using namespace std::string_literals;

// A file whose blocks come from a string, `chunk` bytes per read, and whose
// written blocks are collected.
class MemoryFile {
  public:
    MemoryFile(uint32_t format, uint64_t blockSize, std::string input = {}, size_t chunk = 0)
        : input_(std::move(input)) {
        current() = this;
        bu::test::blockFeed = {reinterpret_cast<const uint8_t*>(input_.data()), input_.size(), 0,
                               chunk ? chunk : blockSize};
        file_.Format = format;
        file_.BufferSize = blockSize;
        file_.Buffer = static_cast<uint8_t*>(std::calloc(2 * blockSize + 8, 1));
        file_.PPtr = &module_;
        file_.ReadBuf = &bu::test::readFedBlock;
        file_.WriteBuf = &MemoryFile::writeBlock;
        file_.OpenMode = input_.empty() ? pmOpenWrite : pmOpenRead;
        file_.bAtStart = 1;
        file_.ByteOrder = Platform_Endian();
    }
    ~MemoryFile() { std::free(file_.Buffer); }
    FileInfo* file() { return &file_; }
    std::string written() const { return testsupport::unhex(blocks_); }
    // The blocks written out, in hex, '|' between blocks.
    const std::string& blocks() const { return blocks_; }

    uint32_t read(std::string* out) {
        pmRecord r{};
        uint32_t rc = pmrwfmtRvli(&file_, &r);
        if (rc == 0) {
            out->assign(static_cast<char*>(r.Data), r.Length);
        } else {
            EXPECT_EQ(r.Length, 0u);
        }
        return rc;
    }
    uint32_t write(const std::string& bytes, uint32_t flush = 0) {
        pmRecord r{static_cast<uint32_t>(bytes.size()), const_cast<char*>(bytes.data()), 0, 0};
        if (file_.Format == pmFmtUnformatted) return pmrwfmtWnone(&file_, &r, flush);
        if (file_.Format != pmFmtText) return pmrwfmtWvli(&file_, &r, flush);
        uint32_t rc = pmrwfmtWtext(&file_, &r, flush);
        file_.bAtStart = 0;  // as pmWrite does after every record
        return rc;
    }

  private:
    static MemoryFile*& current() {
        static MemoryFile* f = nullptr;
        return f;
    }
    static uint32_t writeBlock(FileInfo* file) {
        MemoryFile* self = current();
        if (file->BufferEnd == 0) return pmrcOK;  // as the disk module skips it
        if (!self->blocks_.empty()) self->blocks_ += '|';
        self->blocks_ += testsupport::hex({reinterpret_cast<char*>(file->Buffer), file->BufferEnd});
        file->BufferEnd = 0;
        return pmrcOK;
    }

    std::string input_;
    std::string blocks_;
    Paramod module_{};
    FileInfo file_{};
};

TEST(VliRecords, WrittenBytesAreTheLayoutOfEachFormat) {
    for (uint32_t format = 2; format <= 7; ++format) {
        SCOPED_TRACE(format);
        MemoryFile f(format, 64);
        ASSERT_EQ(f.write("abc"), 0u);
        ASSERT_EQ(f.write("", 0), 0u);  // an empty record writes nothing
        ASSERT_EQ(f.write("de", 1), 0u);
        EXPECT_EQ(f.written(), onDisk("abc", format) + onDisk("de", format));
    }
}

TEST(VliRecords, EndOfFileBetweenAndInsideRecords) {
    for (uint32_t format = 2; format <= 7; ++format) {
        SCOPED_TRACE(format);
        std::string whole = onDisk("first", format) + onDisk("second", format);
        for (size_t chunk : {size_t{1}, size_t{3}, size_t{64}}) {
            MemoryFile between(format, 64, whole, chunk);
            std::string r;
            ASSERT_EQ(between.read(&r), 0u);
            EXPECT_EQ(r, "first");
            ASSERT_EQ(between.read(&r), 0u);
            EXPECT_EQ(r, "second");
            EXPECT_EQ(between.read(&r), 9u);
        }
        // Cut inside the second record's data.
        MemoryFile inside(format, 64, whole.substr(0, whole.size() - 3));
        std::string r;
        ASSERT_EQ(inside.read(&r), 0u);
        uint32_t expected = format % 2 == 1 ? 16u : 9u;  // short of its terminator
        EXPECT_EQ(inside.read(&r), expected);
        // Cut inside the prefix.
        MemoryFile prefix(format, 64, onDisk("x", format).substr(0, 1));
        EXPECT_EQ(prefix.read(&r), 9u);
    }
}

// A bad terminator's dump starts at the prefix and shows the data length
// plus 2 bytes.
TEST(VliRecords, TerminatorTenOrThirteenIsAcceptedAnythingElseIs16) {
    const std::pair<uint32_t, const char*> cases[] = {{3, "0000  03 00 61 62.63  "},
                                                      {5, "0000  05 00 61 62.63  "},
                                                      {7, "0000  03 00 00 00.61  "}};
    for (const auto& [format, dumped] : cases) {
        SCOPED_TRACE(format);
        std::string r;
        MemoryFile cr(format, 64, onDisk("abc", format, '\r') + onDisk("d", format, '\n'));
        ASSERT_EQ(cr.read(&r), 0u);
        EXPECT_EQ(r, "abc");
        ASSERT_EQ(cr.read(&r), 0u);
        EXPECT_EQ(r, "d");
        MemoryFile bad(format, 64, onDisk("abc", format, 'x'));
        LogCapture trace;
        trceSetFp(trace.handle());
        const int32_t level = TLGlobalPtr->CurrentLevel;
        TLGlobalPtr->CurrentLevel = 2;
        EXPECT_EQ(bad.read(&r), 16u);
        TLGlobalPtr->CurrentLevel = level;
        trceSetFp(nullptr);
        EXPECT_TRUE(trace.contains(dumped));
        EXPECT_TRUE(trace.contains("reclen=3"));
    }
}

TEST(VliRecords, ZeroLengthRecordsAndTheFixedMessage) {
    LogCapture publicLog;
    Public_loghandle = publicLog.handle();
    const char* const jobOpName = JobOpName;
    JobOpName = "EXPORT_OP";
    FileRecordCount = 41;
    std::string r = "unchanged";
    MemoryFile binary(2, 64, "\0\0"s + onDisk("x"));
    EXPECT_EQ(binary.read(&r), 17u);
    ASSERT_EQ(publicLog.count(19473), 1);
    const auto& m = publicLog.messages()[0];
    EXPECT_EQ(m.args, (std::vector<std::string>{"EXPORT_OP[1]: QLN19473", "42", "0", "64"}));
    // A FORMATTED record of length 0 is an empty record of three bytes.
    MemoryFile formatted(3, 64, "\0\0\n"s + onDisk("y", 3));
    ASSERT_EQ(formatted.read(&r), 0u);
    EXPECT_EQ(r, "");
    EXPECT_EQ(formatted.file()->BufferPosition, 3u);
    ASSERT_EQ(formatted.read(&r), 0u);
    EXPECT_EQ(r, "y");
    Public_loghandle = nullptr;
    JobOpName = jobOpName;
    FileRecordCount = 0;
}

// A self-counting prefix below 2 wraps to a length no block holds, 2 counts
// the prefix alone; the byte-order flip swaps only the low two bytes of a
// four-byte prefix, so 0,0,1,0 stays 65536.
TEST(VliRecords, PrefixesAsTheyAreRead) {
    const struct {
        uint32_t format;
        uint64_t block;
        std::string bytes;
        int flip;
        uint32_t rc;
        size_t length;
    } cases[] = {
        {4, 4096, "\x01\0zz"s, 0, 17, 0},
        {5, 64, "\x02\0\n"s, 0, 0, 0},
        {2, 64,
         "\x00\x01"
         "a"s,
         1, 0, 1},
        {6, 64,
         "\x00\x01\x00\x00"
         "b"s,
         1, 0, 1},
        {6, 70000, "\x00\x00\x01\x00"s + std::string(65536, 'h'), 1, 0, 65536},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.format);
        MemoryFile f(c.format, c.block, c.bytes);
        f.file()->bFlipEndian = c.flip;
        std::string r;
        EXPECT_EQ(f.read(&r), c.rc);
        if (c.rc == 0) {
            EXPECT_EQ(r, c.bytes.substr(c.bytes.size() - c.length, c.length));
        }
    }
}

TEST(VliRecords, RecordOfExactlyTheBlockLessOverheadFitsOneMoreIs17) {
    const uint64_t block = 64;
    for (uint32_t format = 2; format <= 7; ++format) {
        SCOPED_TRACE(format);
        uint64_t overhead = (format >= 6 ? 4 : 2) + (format % 2 == 1 ? 1 : 0);
        MemoryFile f(format, block);
        EXPECT_EQ(f.write(std::string(block - overhead + 1, 'o')), 17u);
        EXPECT_EQ(f.write(std::string(block - overhead, 'o')), 0u);
        EXPECT_EQ(f.file()->BufferEnd, block);
        EXPECT_EQ(f.write("x"), 0u);  // the full block goes out first
        EXPECT_EQ(f.written().size(), block);
        MemoryFile rd(format, block, f.written());
        std::string r;
        ASSERT_EQ(rd.read(&r), 0u);
        EXPECT_EQ(r, std::string(block - overhead, 'o'));
    }
}

TEST(VliRecords, NullRecordFlushesOrIsAnInternalError) {
    MemoryFile f(2, 64);
    f.write("abc");
    EXPECT_EQ(pmrwfmtWvli(f.file(), nullptr, 0), 34u);
    EXPECT_EQ(errText(), "Internal logic error in PMRWFMT");
    EXPECT_EQ(pmrwfmtWvli(f.file(), nullptr, 1), 0u);
    EXPECT_EQ(f.written(), onDisk("abc"));
}

// A read takes what is asked, what one refill gives when short, nothing when
// more than a block is asked, and what is left at the end.
TEST(UnformattedRecords, ReadsTakeWhatIsAskedAcrossBlocks) {
    MemoryFile f(8, 8, "0123456789ABC", 5);
    const std::tuple<uint32_t, uint32_t, std::string> reads[] = {
        {6, 0, "01234"}, {6, 0, "56789"}, {9, 17, ""}, {8, 0, "ABC"}, {1, 9, ""}};
    for (const auto& [asked, rc, bytes] : reads) {
        pmRecord r{asked, nullptr, 0, 0};
        EXPECT_EQ(pmrwfmtRnone(f.file(), &r), rc) << bytes;
        EXPECT_EQ(std::string(static_cast<char*>(r.Data), r.Length), bytes);
    }
}

TEST(UnformattedRecords, WritesFillTheBlockAndRefuseMore) {
    MemoryFile f(8, 8);
    EXPECT_EQ(f.write("12345"), 0u);
    EXPECT_EQ(f.write("678"), 0u);
    EXPECT_EQ(f.written(), "");
    EXPECT_EQ(f.write("9"), 0u);
    EXPECT_EQ(f.written(), "12345678");
    EXPECT_EQ(f.write("123456789"), 17u);
    EXPECT_EQ(f.write("", 1), 0u);
    EXPECT_EQ(f.written(), "123456789");
}

// The character set and byte order of a text file, set for one test.
class TextCharset {
  public:
    TextCharset(int32_t charset, int32_t writeBom) {
        SG_UTF_CharsetNum = charset;
        bWriteBOM = writeBom;
    }
    ~TextCharset() {
        SG_UTF_CharsetNum = 0;
        bWriteBOM = 0;
    }
};

struct TextCase {
    const char* what;
    int32_t charset;  // SG_UTF_CharsetNum: 0 single-byte, 2 UTF16, 3 UTF8
    int32_t byteOrder;
    int32_t writeBom;
    uint64_t block;
    std::vector<std::string> records;
    std::vector<uint32_t> results;
    const char* blocks;  // hex of each block written, the final flush's included
};

// Where the marks go at the edges that whole jobs don't reach: the byte
// orders, empty records, and blocks that one record fills.
TEST(TextRecords, MarksAndBlockLimits) {
    // clang-format off
    const TextCase cases[] = {
        {"no mark without Unicode; nothing for an empty record", 0, 2, 1, 64, {"ab", "", "c"},
         {0, 0, 0}, "61620a630a"},
        {"UTF16 big-endian", 2, 1, 1, 64, {"\0a"s}, {0}, "feff0061000a"},
        {"an empty first record ends the start: no mark", 3, 2, 1, 64, {"", "a"}, {0, 0}, "610a"},
        {"record and LF fill the block", 0, 2, 0, 4, {"abc", "d"}, {0, 0}, "6162630a|640a"},
        {"one byte more: dropped", 0, 2, 0, 4, {"ab", "abcd", "e"}, {0, 17, 0}, "61620a|650a"},
        {"a full first block sends the mark alone", 3, 2, 1, 4, {"abc"}, {0}, "efbbbf|6162630a"},
        {"the mark outlives a refused first record", 3, 2, 1, 4, {"abcd", "a"}, {17, 0},
         "efbbbf|610a"},
    };
    // clang-format on
    for (const TextCase& c : cases) {
        SCOPED_TRACE(c.what);
        TextCharset charset(c.charset, c.writeBom);
        MemoryFile f(pmFmtText, c.block);
        f.file()->ByteOrder = c.byteOrder;
        for (size_t i = 0; i < c.records.size(); ++i) {
            EXPECT_EQ(f.write(c.records[i]), c.results[i]) << i;
        }
        EXPECT_EQ(f.write("", 1), 0u);
        EXPECT_EQ(f.blocks(), c.blocks);
    }
}

TEST(TextRecords, AUtf16FileOfNeitherByteOrderCantHaveAMark) {
    TextCharset utf16(2, 1);
    MemoryFile f(pmFmtText, 8);
    f.file()->ByteOrder = 0;
    EXPECT_EQ(f.write("a"), 34u);
    EXPECT_EQ(f.file()->BufferEnd, 0u);
    EXPECT_EQ(errText(), "Internal logic error in PMRWFMT");
}

// Appending (also how a restart reopens a file) must not put a mark in the
// middle of a file: only an empty file on disk gets one.
TEST(TextRecords, AppendingMarksOnlyAnEmptyFile) {
    TextCharset utf8(3, 1);
    char name[] = "/tmp/bu_text_append_XXXXXX";
    int fd = mkstemp(name);
    ASSERT_GE(fd, 0);
    for (bool empty : {true, false}) {
        SCOPED_TRACE(empty);
        if (!empty) {
            ASSERT_EQ(::write(fd, "x\n", 2), 2);
        }
        MemoryFile f(pmFmtText, 64);
        f.file()->OpenMode = pmOpenUpdate;
        std::snprintf(f.file()->FName, sizeof f.file()->FName, "%s", name);
        f.write("a", 1);
        EXPECT_EQ(f.blocks(), empty ? "efbbbf610a" : "610a");
    }
    ::close(fd);
    std::remove(name);
}

// The settings a text reader follows, set for one case and put back.
struct ReadSettings {
    const char* charset = "ASCII";
    bool quoted = false;
    const char* escapeRecord = "";
    bool acceptEof = false;
};

void setMark(TextAttr& attr, const char* bytes) {
    attr.Length = static_cast<int32_t>(std::strlen(bytes));
    std::memcpy(attr.Bytes, bytes, std::strlen(bytes) + 1);
}

class ReaderSettings {
  public:
    explicit ReaderSettings(const ReadSettings& s) {
        EXPECT_EQ(pmSetCharSet(s.charset), 0) << s.charset;
        bQuotedData = s.quoted ? 1 : 0;
        setMark(OpenQuoteMark, "\"");
        setMark(CloseQuoteMark, "\"");
        setMark(TextDelimiter, "|");
        setMark(EscapeRecDelim, s.escapeRecord);
        bAcceptEOFasEOR = s.acceptEof ? 1 : 0;
    }
    ~ReaderSettings() {
        pmSetCharSet("ASCII");
        bQuotedData = bAcceptEOFasEOR = 0;
        for (TextAttr* attr : {&OpenQuoteMark, &CloseQuoteMark, &TextDelimiter, &EscapeRecDelim}) {
            setMark(*attr, "");
        }
    }
};

struct ReadCase {
    const char* what;
    ReadSettings settings;
    std::string input;
    std::vector<std::string> records;
    uint32_t last;  // the code that ends the reads
};

// Records read from blocks of 16 bytes filled 1, 3 and 16 bytes at a time,
// so that every record, mark and quote straddles a refill somewhere.
TEST(TextRecords, ReadAcrossBlocksOfEverySize) {
    const ReadSettings ascii, utf8{"UTF8"}, utf16{"UTF16"}, quoted{"ASCII", true};
    // clang-format off
    const ReadCase cases[] = {
        {"line feeds", ascii, "ab\n\ncdefghijklmnopq\n", {"ab", "", "cdefghijklmnopq"}, 9},
        {"CR LF learnt from the first record: a lone LF is data", ascii, "ab\r\ncd\nef\r\n",
         {"ab", "cd\nef"}, 9},
        {"UTF8 byte-order mark", utf8, "\xEF\xBB\xBF" "ab\n", {"ab"}, 9},
        {"a mark and nothing else", utf8, "\xEF\xBB\xBF", {}, 9},
        {"a mark and an empty line", utf8, "\xEF\xBB\xBF\n", {}, 9},
        {"UTF16: 0A inside a character is no mark", utf16, "\xFF\xFE" "a\0\x0A\x01\n\0b\0\n\0"s,
         {"a\0\x0A\x01"s, "b\0"s}, 9},
        {"UTF16 job, UTF8 file", utf16, "\xEF\xBB\xBF" "a\0\n\0"s, {}, 46},
        {"UTF8 job, UTF16 file", utf8, "\xFF\xFE" "a\0\n\0"s, {}, 46},
        {"UTF16 of the other byte order", utf16, "\xFE\xFF" "\0a\0\n"s, {}, 45},
        {"UTF32", utf16, "\0\0\xFE\xFF" "\0\0\0a\0\0\0\n"s, {}, 46},
        {"a quoted LF in the first record", quoted, "a|\"x\ny\"|b\nc\n", {"a|\"x\ny\"|b", "c"}, 9},
        {"a quoted LF and a doubled quote later", quoted, "a\nb|\"x\"\"\ny\"\nc\n",
         {"a", "b|\"x\"\"\ny\"", "c"}, 9},
        {"a quote inside a column is data", quoted, "a\nb\"c\nd\n", {"a", "b\"c", "d"}, 9},
        {"a quote never closed runs to the end", quoted, "a\n\"b\nc\n", {"a"}, 35},
        {"a last record without its mark, taken where the job accepts it",
         {"ASCII", false, "", true}, "ab\ncd", {"ab", "cd"}, 9},
        {"an escaped mark is data", {"ASCII", false, "\\"}, "a\\\nb\nc\n", {"a\\\nb", "c"}, 9},
        {"an escape that is the mark", {"ASCII", false, "\n"}, "a\nb\n", {}, 47},
        {"a record longer than the block", ascii, "a\n0123456789abcdefgh\n", {"a"}, 17},
    };
    // clang-format on
    for (const ReadCase& c : cases) {
        for (size_t chunk : {1, 3, 16}) {
            SCOPED_TRACE(std::string(c.what) + ", refills of " + std::to_string(chunk));
            ReaderSettings settings(c.settings);
            MemoryFile f(pmFmtText, 16, c.input, chunk);
            std::vector<std::string> records;
            uint32_t rc = 0;
            for (pmRecord r{}; (rc = pmrwfmtRtext(f.file(), &r)) == 0; f.file()->bAtStart = 0) {
                records.emplace_back(static_cast<char*>(r.Data), r.Length);
            }
            EXPECT_EQ(records, c.records);
            EXPECT_EQ(rc, c.last);
        }
    }
}

}  // namespace
