// The compressing Access Module, driven through the access layer as the
// operator drives it; what it writes is checked with the zstd command.
#include <gmock/gmock.h>
#include <signal.h>
#include <sys/resource.h>

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <optional>
#include <random>

#include "access_fixture.h"
#include "record_io.h"

namespace {

using ::testing::HasSubstr;
constexpr uint32_t kBinary = 2;

std::string zstdModulePath() {
    const char* stage = std::getenv("BU_STAGE_DIR");
    return std::string(stage ? stage : BU_STAGE_DIR) + "/lib64/axsmods/libzstdaxsm.so";
}

// Rows as an export makes them: delimited text that compresses, of varying
// lengths.
std::vector<std::string> rows(size_t count, size_t from = 0) {
    std::vector<std::string> out;
    for (size_t i = from; i < from + count; ++i) {
        char row[128];
        int n = std::snprintf(row, sizeof row, "%zu|customer %zu|%zu.%02zu|", i, i * 7919 % 1000,
                              i * 31 % 100000, i % 100);
        out.push_back(std::string(row, static_cast<size_t>(n)) + std::string(i % 40, 'x'));
    }
    return out;
}

// What the zstd command makes of a file; nothing when it refuses it.
std::optional<std::string> unzstd(const std::string& file) {
    FILE* pipe = popen(("zstd -d -q -c '" + file + "' 2>/dev/null").c_str(), "r");
    std::string out;
    char buf[65536];
    for (size_t n; (n = std::fread(buf, 1, sizeof buf, pipe)) > 0;) out.append(buf, n);
    if (pclose(pipe) != 0) return std::nullopt;
    return out;
}

// A soft limit on file sizes for this process, as a full disk would stop
// writes: the write that crosses it is cut short, the next fails with EFBIG.
class FileSizeLimit {
  public:
    explicit FileSizeLimit(rlim_t bytes) {
        getrlimit(RLIMIT_FSIZE, &old_);
        rlimit limit{bytes, old_.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
        struct sigaction ignore {};
        ignore.sa_handler = SIG_IGN;
        sigaction(SIGXFSZ, &ignore, &oldAction_);
    }
    ~FileSizeLimit() {
        setrlimit(RLIMIT_FSIZE, &old_);
        sigaction(SIGXFSZ, &oldAction_, nullptr);
    }

  private:
    rlimit old_{};
    struct sigaction oldAction_ {};
};

class ZstdModuleTest : public AccessTest {
  protected:
    void SetUp() override {
        AccessTest::SetUp();
        initLayer();
    }
    pmHandle attachZstd(const std::string& init = "") { return attached(zstdModulePath(), init); }
    uint32_t open(pmHandle h, int16_t mode, const std::string& name, pmFp* fp) {
        return AccessTest::open(h, mode, kBinary, name, fp);
    }
    void writeRecords(pmFp fp, const std::vector<std::string>& records) {
        for (const auto& r : records) ASSERT_EQ(writeRecord(fp, r), 0u) << errText();
    }
    // The bytes the default disk module writes: what a compressed file of
    // the same records must decompress to.
    std::string plain(const std::vector<std::string>& records) {
        pmHandle disk = attached();
        writeFileOf(disk, kBinary, "plain", records);
        pmDetach(disk, 1);
        return readFile("plain");
    }
    std::vector<std::string> readBack(pmHandle h, const std::string& name, uint32_t* last) {
        pmFp in = 0;
        EXPECT_EQ(open(h, pmOpenRead, name, &in), 0u) << errText();
        auto records = readAll(in, last);
        pmClose(in);
        return records;
    }
    uint64_t sizeOf(const std::string& name) { return std::filesystem::file_size(path(name)); }
};

// The module's bytes behind the layer's 13-byte head: frame offset, skip.
constexpr size_t kFrameOffsetAt = 13, kSkipAt = 21;

uint64_t field(const std::vector<uint8_t>& position, size_t at) {
    uint64_t v = 0;
    EXPECT_GE(position.size(), at + sizeof v);
    if (position.size() >= at + sizeof v) std::memcpy(&v, position.data() + at, sizeof v);
    return v;
}

std::vector<uint8_t> withField(std::vector<uint8_t> position, size_t at, uint64_t v) {
    position.resize(std::max(position.size(), at + sizeof v));
    std::memcpy(position.data() + at, &v, sizeof v);
    return position;
}

// Whole jobs through the module are held against the disk module end to
// end; here the level asked for is the one used, and a frame of many blocks
// reads back.
TEST_F(ZstdModuleTest, AHigherLevelGivesASmallerFileOfTheSameRecords) {
    auto records = rows(30000);
    std::map<std::string, uint64_t> sizes;
    for (std::string init : {"level=1", "level=19"}) {
        pmHandle h = attachZstd(init);
        writeFileOf(h, kBinary, "data.zst", records);
        uint32_t last = 0;
        EXPECT_EQ(readBack(h, "data.zst", &last), records) << init;
        sizes[init] = sizeOf("data.zst");
        pmDetach(h, 1);
    }
    EXPECT_LT(sizes["level=19"], sizes["level=1"]);
}

// A kill leaves the frame begun after the last checkpoint cut off; the
// restart cuts the file at the checkpoint and writes new frames behind it.
TEST_F(ZstdModuleTest, RestartAfterACrashGivesTheUninterruptedOutput) {
    auto records = rows(8000);
    std::string expected = plain(records);
    auto lost = rows(6000, 100000);
    const std::pair<size_t, const char*> cases[] = {
        {0, ""}, {1, "fsync=yes"}, {5000, "threads=2"}, {records.size(), "threads=2 fsync=yes"}};
    for (const auto& [done, init] : cases) {
        SCOPED_TRACE(init);
        pmHandle h = attachZstd(init);
        pmFp out = 0;
        ASSERT_EQ(open(h, pmOpenWrite, "job.zst", &out), 0u);
        writeRecords(out, {records.begin(), records.begin() + done / 2});
        takePosition(out);  // an earlier checkpoint, superseded
        writeRecords(out, {records.begin() + done / 2, records.begin() + done});
        auto checkpoint = takePosition(out);
        writeRecords(out, lost);
        ASSERT_EQ(pmFlush(out), 0u);
        std::string crashed = readFile("job.zst");
        // Compressing in the caller's thread has put part of the lost frame on
        // disk; workers may still hold all of it.
        if (std::string(init).find("threads") == std::string::npos) {
            ASSERT_GT(crashed.size(), field(checkpoint, kFrameOffsetAt));
        }
        pmCloseR(out);
        writeFile("job.zst", crashed);

        ASSERT_EQ(open(h, pmOpenUpdate, "job.zst", &out), 0u);
        ASSERT_EQ(restorePosition(out, checkpoint), 0u) << errText();
        EXPECT_EQ(static_cast<FileInfo*>(pmGetMemA(out))->RecCount, done);
        writeRecords(out, {records.begin() + done, records.end()});
        ASSERT_EQ(pmClose(out), 0u);
        EXPECT_EQ(unzstd(path("job.zst")), expected);
        pmDetach(h, 1);
    }
}

TEST_F(ZstdModuleTest, AppendAddsFramesButNotBehindACutOffFrame) {
    pmHandle h = attachZstd();
    auto first = rows(3000), second = rows(3000, 3000);
    writeFileOf(h, kBinary, "log.zst", first);
    writeFileOf(h, kBinary, "log.zst", second, pmOpenUpdate);
    auto both = first;
    both.insert(both.end(), second.begin(), second.end());
    EXPECT_EQ(unzstd(path("log.zst")), plain(both));

    std::filesystem::resize_file(path("log.zst"), sizeOf("log.zst") - 5);
    uint64_t cut = sizeOf("log.zst");
    pmFp out = 0;
    ASSERT_EQ(open(h, pmOpenUpdate, "log.zst", &out), 0u);
    writeRecord(out, "more");
    EXPECT_EQ(pmFlush(out), 34u);
    EXPECT_THAT(errText(), HasSubstr("cannot append: the frame at byte"));
    EXPECT_THAT(errText(), HasSubstr("is cut off by the end of the file"));
    EXPECT_EQ(pmClose(out), 34u);
    EXPECT_EQ(sizeOf("log.zst"), cut);
}

TEST_F(ZstdModuleTest, ReadRestartsAtCheckpointsAcrossBlocksAndFrames) {
    pmHandle h = attachZstd();
    auto records = rows(12000);
    pmFp out = 0;
    ASSERT_EQ(open(h, pmOpenWrite, "in.zst", &out), 0u);
    for (size_t i = 0; i < records.size(); i += 2500) {
        writeRecords(out,
                     {records.begin() + i, records.begin() + std::min(i + 2500, records.size())});
        takePosition(out);  // a frame per 2500 records
    }
    ASSERT_EQ(pmClose(out), 0u);
    for (size_t skip : {0, 1, 2499, 2500, 2501, 7777, 11999, 12000}) {
        SCOPED_TRACE(skip);
        pmFp in = 0;
        ASSERT_EQ(open(h, pmOpenRead, "in.zst", &in), 0u);
        pmRecord r{};
        for (size_t i = 0; i < skip; ++i) ASSERT_EQ(pmRead(in, &r), 0u);
        auto checkpoint = takePosition(in);
        pmCloseR(in);
        ASSERT_EQ(open(h, pmOpenRead, "in.zst", &in), 0u);
        ASSERT_EQ(restorePosition(in, checkpoint), 0u) << errText();
        uint32_t last = 0;
        EXPECT_EQ(readAll(in, &last),
                  std::vector<std::string>(records.begin() + skip, records.end()));
        EXPECT_EQ(last, 9u);
        pmClose(in);
    }
}

TEST_F(ZstdModuleTest, InitStringFaultsAreRefusedWithTheWordNamed) {
    const std::pair<const char*, const char*> cases[] = {
        {"level=0", "level=0 is not a number from 1 to 19"},
        {"level=20", "level=20 is not a number from 1 to 19"},
        {"level=3x", "level=3x is not a number"},
        {"threads=-1", "threads=-1 is not a number from 0 to"},
        {"fsync=maybe", "fsync=maybe is neither yes nor no"},
        {"level=3 lvl=3", "unknown key 'lvl' (the keys are level, threads and fsync)"},
        {"level", "'level' is not of the form key=value"},
    };
    for (const auto& [init, text] : cases) {
        SCOPED_TRACE(init);
        pmHandle h = 0;
        EXPECT_EQ(attach(zstdModulePath(), init, &h), 34u);
        EXPECT_THAT(errText(), HasSubstr(std::string("zstdaxsm: initialisation string: ") + text));
    }
    pmHandle h = 0;
    EXPECT_EQ(attach(zstdModulePath(), " LEVEL=19\tthreads=0  FSYNC=Yes ", &h), 0u);
}

TEST_F(ZstdModuleTest, OpenFailuresAndEmptyFiles) {
    pmHandle h = attachZstd();
    pmFp fp = 0;
    std::filesystem::create_directories(path("adir"));
    EXPECT_EQ(open(h, pmOpenWrite, "adir", &fp), 34u);
    EXPECT_THAT(errText(),
                HasSubstr("cannot open '" + path("adir") + "' for writing: Is a directory"));
    EXPECT_EQ(open(h, pmOpenRead, "missing.zst", &fp), 4u);
    writeFile("empty.zst", "");
    ASSERT_EQ(open(h, pmOpenRead, "empty.zst", &fp), 29u);
    pmRecord r{};
    EXPECT_EQ(pmRead(fp, &r), 9u);
    // An export of nothing: a file of no bytes wouldn't be a valid stream.
    writeFileOf(h, kBinary, "none.zst", {});
    EXPECT_EQ(unzstd(path("none.zst")), "");
    uint32_t last = 0;
    EXPECT_TRUE(readBack(h, "none.zst", &last).empty());
    EXPECT_EQ(last, 9u);
}

TEST_F(ZstdModuleTest, AFullFileSystemFailsTheWriteAndTheClose) {
    pmHandle h = attachZstd("level=1");
    std::mt19937 random(7);
    std::vector<std::string> noise(2000, std::string(200, '\0'));
    for (auto& r : noise) {
        for (char& c : r) c = static_cast<char>(random());
    }
    uint32_t rc = 0, closeRc = 0;
    std::string text;
    {
        FileSizeLimit limit(100000);
        pmFp out = 0;
        ASSERT_EQ(open(h, pmOpenWrite, "full.zst", &out), 0u);
        for (size_t i = 0; i < noise.size() && rc == 0; ++i) rc = writeRecord(out, noise[i]);
        text = errText();
        closeRc = pmClose(out);
    }
    EXPECT_EQ(rc, 34u);
    EXPECT_THAT(text, HasSubstr("writing '" + path("full.zst") + "' at byte"));
    EXPECT_THAT(text, HasSubstr("File too large"));
    EXPECT_EQ(closeRc, 34u);
    EXPECT_EQ(sizeOf("full.zst"), 100000u);
    EXPECT_EQ(unzstd(path("full.zst")), std::nullopt);
}

TEST_F(ZstdModuleTest, RestartPositionsOffAFrameEndAreRefused) {
    pmHandle h = attachZstd();
    pmFp out = 0;
    ASSERT_EQ(open(h, pmOpenWrite, "two.zst", &out), 0u);
    writeRecords(out, rows(3000));
    auto first = takePosition(out);
    writeRecords(out, rows(3000, 3000));
    auto second = takePosition(out);
    ASSERT_EQ(pmClose(out), 0u);
    uint64_t size = sizeOf("two.zst");
    uint64_t frameEnd = field(first, kFrameOffsetAt);
    ASSERT_EQ(field(second, kFrameOffsetAt), size);
    struct Case {
        int16_t mode;
        std::vector<uint8_t> position;
        uint32_t rc;
        std::string text;
    } cases[] = {
        {pmOpenUpdate, withField(second, kFrameOffsetAt, size + 1), 34,
         "cannot restart: byte " + std::to_string(size + 1) + " lies behind the end"},
        {pmOpenUpdate, withField(first, kFrameOffsetAt, frameEnd - 1), 34,
         "is not the end of a frame: the frame at byte 0 ends at byte " + std::to_string(frameEnd)},
        {pmOpenUpdate, withField(first, kSkipAt, 5), 34, "restarts where a frame ends"},
        {pmOpenUpdate, std::vector<uint8_t>(first.begin(), first.end() - 1), 23, ""},
        {pmOpenRead, withField(first, kFrameOffsetAt, frameEnd + 1), 34,
         "the frame at byte " + std::to_string(frameEnd) + " ends at byte " + std::to_string(size)},
        {pmOpenRead, withField(first, kSkipAt, 1 << 30), 34, "holds fewer than 1073741824 bytes"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        pmFp fp = 0;
        ASSERT_EQ(open(h, c.mode, "two.zst", &fp), 0u);
        EXPECT_EQ(restorePosition(fp, c.position), c.rc);
        if (c.rc == 34) {
            EXPECT_THAT(errText(), HasSubstr(c.text));
        }
        pmClose(fp);
        EXPECT_EQ(sizeOf("two.zst"), size);
    }
}

TEST_F(ZstdModuleTest, DamagedFilesFailTheReadInsteadOfEndingIt) {
    pmHandle h = attachZstd();
    writeFileOf(h, kBinary, "good.zst", rows(20000));
    std::string good = readFile("good.zst");
    std::string flipped = good, cut = good.substr(0, good.size() - 6);
    flipped[good.size() / 2] = static_cast<char>(flipped[good.size() / 2] ^ 0x55);
    const std::pair<std::string, std::string> cases[] = {
        {flipped, "is damaged in the frame at byte 0"},
        {cut, "ends inside the frame at byte 0: the file is cut short"},
        {"id|name\n1|x\n", "is damaged in the frame at byte 0: Unknown frame descriptor"},
    };
    for (const auto& [bytes, text] : cases) {
        SCOPED_TRACE(text);
        writeFile("bad.zst", bytes);
        uint32_t last = 0;
        readBack(h, "bad.zst", &last);
        EXPECT_EQ(last, 34u);
        EXPECT_THAT(errText(), HasSubstr(text));
    }
}

}  // namespace
