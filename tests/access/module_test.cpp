// Access Modules: loading and the name rules, the blocks the module answers,
// refills with block headers and short blocks, failures the module reports,
// attributes at their limits.
#include <cstring>
#include <filesystem>

#include "access_fixture.h"
#include "record_io.h"

namespace {

class ModuleTest : public AccessTest {
  protected:
    void SetUp() override {
        AccessTest::SetUp();
        initLayer();
    }
    pmHandle attachTest(const std::string& init) { return attached(testModulePath(), init); }
};

// The layer was initialised with the client name "test"; modules are
// deliberately told "Unknown Client" all the same, and the whole init string.
TEST_F(ModuleTest, LoadByPathRunsInitAndLinksTheModulesVersion) {
    pmHandle h = attachTest("block=512 " + std::string(590, ' '));
    EXPECT_TRUE(trace_.contains("Path found in AXSMOD name"));
    EXPECT_TRUE(trace_.contains("Try original lib name=" + testModulePath()));
    EXPECT_FALSE(trace_.contains("Try Install path="));
    EXPECT_TRUE(trace_.contains("TESTAXSM" + std::string(32, '.') + " 01.00.00.00"));
    VersionRecord* chain = nullptr;
    ASSERT_EQ(pmGetID(h, &chain), 0u);
    while (chain->Next != nullptr) chain = chain->Next;
    EXPECT_STREQ(chain->Name, "TESTAXSM");
    auto* mod = static_cast<Paramod*>(pmGetMemA(h));
    EXPECT_EQ(mod->NameLen, testModulePath().size());  // kept as given
    EXPECT_NE(mod->pmIPCHandle, nullptr);
    char value[PM_MAX_ATTR_VALUE];
    pmData out{0, value};
    ASSERT_EQ(pmAGetAttr(h, &out, dataOf("CLIENT_NAME")), 0u);
    EXPECT_EQ(std::string(value, out.Length), "Unknown Client");
    ASSERT_EQ(pmAGetAttr(h, &out, dataOf("INIT_LENGTHS")), 0u);
    EXPECT_EQ(std::string(value, out.Length), "512/600");
}

TEST_F(ModuleTest, SuffixRules) {
    // Copies of the module under other names in a directory with a dot.
    auto dir = dir_ / "a.b";
    std::filesystem::create_directories(dir);
    std::filesystem::copy_file(testModulePath(), dir / "mymod.so");
    std::filesystem::copy_file(testModulePath(), dir / "mymod.sl");
    pmHandle h = 0;
    EXPECT_EQ(attach((dir / "mymod").string(), "", &h), 0u);  // dot before the slash
    EXPECT_TRUE(trace_.contains("Appending access module suffix"));
    trace_.clear();
    EXPECT_EQ(attach((dir / "mymod.so").string(), "", &h), 0u);
    EXPECT_TRUE(trace_.contains("Suffix already exists"));
    EXPECT_FALSE(trace_.contains("Unconventional"));
    trace_.clear();
    EXPECT_EQ(attach((dir / "mymod.sl").string(), "", &h), 0u);
    EXPECT_TRUE(trace_.contains("!WARNING! Unconventional module suffix '.sl'.  Expected '.so'"));
}

TEST_F(ModuleTest, LoadFailuresAreReported) {
    pmHandle h = 5;
    EXPECT_EQ(attach(path("nowhere/mod"), "", &h), 34u);
    EXPECT_EQ(errText().rfind("!ERROR! dlopen failed: ", 0), 0u);
    EXPECT_EQ(attach(BU_NO_ENTRY_MODULE, "", &h), 37u);
    EXPECT_TRUE(trace_.contains("!ERROR! dlsym failed"));
    std::string longName(513, 'm');
    EXPECT_EQ(attach(longName, "", &h), 2u);
    pmData names[2] = {dataOf("name"), {0, nullptr}};
    EXPECT_EQ(pmAttach(names, 3, &h), 32u);
    // A length without bytes behind it is a bad parameter, not a crash.
    pmData noBytes[2] = {{4, nullptr}, {0, nullptr}};
    EXPECT_EQ(pmAttach(noBytes, 1, &h), 2u);
    EXPECT_EQ(SG_Paramod_1st, nullptr);
    // The module's refusal of its init string comes back, and it is unloaded.
    EXPECT_EQ(attach(testModulePath(), "colour=blue", &h), 22u);
    EXPECT_EQ(attach(testModulePath(), "nonsense", &h), 20u);
    EXPECT_EQ(pmShutDown(1), 0u);  // nothing stayed attached
}

TEST_F(ModuleTest, TwoFilesHaveTheirOwnWordsUnderOneInstance) {
    pmHandle h = attachTest("");
    pmFp a = 0, b = 0;
    ASSERT_EQ(open(h, 2, 2, "a", &a), 0u);
    ASSERT_EQ(open(h, 2, 2, "b", &b), 0u);
    auto* fa = static_cast<FileInfo*>(pmGetMemA(a));
    auto* fb = static_cast<FileInfo*>(pmGetMemA(b));
    EXPECT_NE(fa->FIData, fb->FIData);
    EXPECT_EQ(fa->PPtr, fb->PPtr);
    EXPECT_EQ(fa->BufferSize, 4096u);  // the block size the module asked for
    writeRecord(a, "to a");
    writeRecord(b, "to b");
    EXPECT_EQ(pmDetach(h, 1), 8u);
    EXPECT_EQ(pmDetach(h, 2), 0u);
    EXPECT_EQ(readFile("a"), onDisk("to a"));
    EXPECT_EQ(readFile("b"), onDisk("to b"));
}

// At the end of the file a module with block headers delivers nothing; the
// unread rest stays where it is and is handed out, nothing behind it.
TEST_F(ModuleTest, EndOfFileBehindBlockHeadersLeavesTheRestReadable) {
    writeFile("u", "abcdefghijkl");
    pmHandle r = attachTest("block=16 hdr=8");
    pmFp in = 0;
    ASSERT_EQ(open(r, 1, 8, "u", &in), 0u);
    std::vector<std::string> got;
    pmRecord rec{};
    uint32_t rc = 0;
    for (int i = 0; i < 6 && (rec.Length = 5, rc = pmRead(in, &rec)) == 0; ++i) {
        got.emplace_back(static_cast<char*>(rec.Data), rec.Length);
    }
    EXPECT_EQ(got, (std::vector<std::string>{"abcde", "fghij", "kl"}));
    EXPECT_EQ(rc, 9u);
    auto* file = static_cast<FileInfo*>(pmGetMemA(in));
    EXPECT_LE(file->BufferPosition, file->BufferEnd);
}

// A module entry that delivers three bytes for every read.
void threeByteBlocks(void* cmd, void* parm) {
    static_cast<RW_t*>(parm)->Length = 3;
    static_cast<CmdBlock_t*>(cmd)->ReturnCode = 0;
}

TEST_F(ModuleTest, BlockShorterThanItsHeaderIs16) {
    Paramod mod{};
    mod.pmIPCHandle = &threeByteBlocks;
    uint8_t buffer[64] = {}, save[8] = {};
    FileInfo file{};
    file.PPtr = &mod;
    file.BufferSize = 16;
    file.Buffer = buffer;
    file.BlkHeaderLen = 8;
    file.BlkHeaderSave = save;
    EXPECT_EQ(pmReadn2Buf(&file), 16u);
    EXPECT_LE(file.BufferPosition, file.BufferEnd);
}

TEST_F(ModuleTest, BlockLongerThanBufferSizeGives36) {
    pmHandle h = attachTest("block=4096");
    writeFileOf(h, 2, "o", {"abc"});
    pmHandle r = attachTest("block=64 overreport");
    pmFp in = 0;
    ASSERT_EQ(open(r, 1, 2, "o", &in), 0u);
    pmRecord rec{};
    EXPECT_EQ(pmRead(in, &rec), 36u);
    EXPECT_TRUE(trace_.contains("BytesRead (65) exceeds BufferSize (64)"));
}

TEST_F(ModuleTest, EmptyFileAndEndOfFileNeedNoFurtherCalls) {
    writeFile("empty", "");
    pmHandle h = attachTest("");
    pmFp in = 0;
    ASSERT_EQ(open(h, 1, 2, "empty", &in), 29u);
    pmRecord r{};
    EXPECT_EQ(pmRead(in, &r), 9u);
    uint32_t reads = moduleCalls(h, 4);
    EXPECT_EQ(pmRead(in, &r), 9u);
    EXPECT_EQ(moduleCalls(h, 4), reads);
    // A shared open of an empty file still waits for the first shared block.
    pmFp shared = 0;
    ASSERT_EQ(pmOpen(1, 1, 2, nullptr, 8192, 0, path("empty").c_str(), h, nullptr, &shared), 29u);
    auto* file = static_cast<FileInfo*>(pmGetMemA(shared));
    EXPECT_EQ(file->bSharedMemory, 1u);
    EXPECT_EQ(file->Buffer, reinterpret_cast<uint8_t*>(uintptr_t{1}));
    EXPECT_EQ(PreadFp, file);
    file->Buffer = nullptr;
    PreadFp = nullptr;
    EXPECT_EQ(pmClose(shared), 0u);
}

TEST_F(ModuleTest, TimeOutAndOwnTextsAndFailuresPassUp) {
    pmHandle w = attachTest("");
    writeFileOf(w, 2, "t", sampleRecords({3000, 3000}));
    pmHandle h = attachTest("timeout=1");
    pmFp in = 0;
    ASSERT_EQ(open(h, 1, 2, "t", &in), 0u);
    pmRecord r{};
    EXPECT_EQ(pmRead(in, &r), 55u);
    EXPECT_TRUE(trace_.contains("Access Module timed out"));
    pmHandle f = attachTest("fail=4:2:34 errtext=tape_jammed");
    ASSERT_EQ(open(f, 1, 2, "t", &in), 0u);
    EXPECT_EQ(pmRead(in, &r), 0u);
    EXPECT_EQ(pmRead(in, &r), 34u);
    EXPECT_EQ(errText(), "tape jammed");
    pmHandle g = attachTest("fail=2:1:14");
    EXPECT_EQ(open(g, 1, 2, "t", &in), 14u);
    EXPECT_EQ(in, 0u);
    EXPECT_EQ(pmDetach(g, 1), 0u);  // the failed open left nothing linked
    pmHandle s = attachTest("fail=8:1:24");
    EXPECT_EQ(pmDetach(s, 1), 24u);  // an orderly detach reports the refusal
    EXPECT_EQ(pmShutDown(2), 0u);    // a forced one doesn't
}

TEST_F(ModuleTest, DiskFullIsReportedAndAcknowledgedRecordsStay) {
    pmHandle h = attachTest("block=64 diskfull=150");
    pmFp out = 0;
    ASSERT_EQ(open(h, 2, 2, "full", &out), 0u);
    std::string rec(30, 'd');  // 32 bytes on disk each
    uint32_t rc = 0;
    int written = 0;
    while ((rc = writeRecord(out, rec)) == 0 && written < 20) ++written;
    EXPECT_EQ(rc, 34u);
    EXPECT_EQ(errText(), "disk full");
    // Blocks of two records go out when a third arrives: the third block,
    // sent with the seventh record, is the one that doesn't fit.
    EXPECT_EQ(written, 6);
    std::string onDisk = readFile("full");
    EXPECT_EQ(onDisk.size(), 150u);
    // Every block the module accepted is there, whole.
    pmHandle r = attachTest("");
    pmFp in = 0;
    ASSERT_EQ(open(r, 1, 2, "full", &in), 0u);
    pmRecord got{};
    for (int i = 0; i < 4; ++i) {
        ASSERT_EQ(pmRead(in, &got), 0u);
        EXPECT_EQ(std::string(static_cast<char*>(got.Data), got.Length), rec);
    }
}

TEST_F(ModuleTest, AttributesAtTheirLimits) {
    pmHandle h = attachTest("");
    std::string name(255, 'N'), value(1300, 'v');
    pmData n{255, name.data()}, v{1300, value.data()};
    EXPECT_EQ(pmAPutAttr(h, n, v), 0u);
    char out[PM_MAX_ATTR_VALUE];
    pmData got{0, out};
    ASSERT_EQ(pmAGetAttr(h, &got, n), 0u);
    EXPECT_EQ(std::string(out, got.Length), value);
    EXPECT_EQ(pmAPutAttr(h, {256, name.data()}, v), 2u);
    EXPECT_EQ(pmAPutAttr(h, n, {1301, value.data()}), 2u);
    got.Length = 9;
    out[0] = 'x';
    EXPECT_EQ(pmAGetAttr(h, &got, dataOf("ZZZ")), 33u);
    EXPECT_EQ(got.Length, 0u);
    EXPECT_EQ(out[0], '\0');
    pmFp fp = 0;
    ASSERT_EQ(open(h, 2, 2, "attr", &fp), 0u);
    EXPECT_EQ(pmFPutAttr(fp, dataOf("MODE"), dataOf("FAST")), 0u);
    ASSERT_EQ(pmFGetAttr(fp, &got, dataOf("MODE")), 0u);
    EXPECT_EQ(std::string(out, got.Length), "FAST");
    EXPECT_EQ(pmAPutAttr(h, n, v), 41u);  // after an open
}

// TIMEOUT_SECONDS out of its range never reaches the module.
TEST_F(ModuleTest, TimeoutSecondsRangeIsCheckedBeforeTheModule) {
    pmHandle h = attachTest("");
    auto put = [&](const char* value) {
        return pmAPutAttr(h, dataOf("TIMEOUT_SECONDS"), dataOf(value));
    };
    uint32_t before = moduleCalls(h, 13);
    for (const char* bad : {"0", "100000", "abc", "-5"}) EXPECT_EQ(put(bad), 2u) << bad;
    EXPECT_EQ(moduleCalls(h, 13), before);
    EXPECT_EQ(put("99999"), 0u);
    EXPECT_EQ(put("1"), 0u);
    EXPECT_EQ(moduleCalls(h, 13), before + 2);
}

TEST_F(ModuleTest, DefaultModuleAttributes) {
    initLayer(3);
    pmHandle h = attached();
    EXPECT_EQ(pmAPutAttr(h, dataOf("CHARSET_NAME"), dataOf("ASCII")), 0u);
    EXPECT_TRUE(trace_.contains("Attribute 'CHARSET_NAME' recognized."));
    EXPECT_EQ(pmAPutAttr(h, dataOf("OTHER"), dataOf("x")), 0u);
    EXPECT_TRUE(trace_.contains("WARNING! Attribute 'OTHER' not recognized."));
    char out[PM_MAX_ATTR_VALUE];
    pmData got{0, out};
    EXPECT_EQ(pmAGetAttr(h, &got, dataOf("NAME")), 33u);
    pmFp fp = 0;
    ASSERT_EQ(open(h, 2, 2, "d", &fp), 0u);
    EXPECT_EQ(pmFPutAttr(fp, dataOf("NAME"), dataOf("x")), 33u);
    EXPECT_EQ(pmFGetAttr(fp, &got, dataOf("NAME")), 33u);
}

TEST_F(ModuleTest, BareNameWithoutClientDirectoryIsLeftToTheLinker) {
    pmHandle h = 0;
    // A test program has no client directory beside it: the search says
    // why and falls back to the dynamic linker, which doesn't know the name.
    EXPECT_EQ(attach("bu_no_such_module", "", &h), 34u);
    EXPECT_TRUE(trace_.contains("No path in AXSMOD name"));
    EXPECT_TRUE(trace_.contains("HxClient_getLibPath failed. Reason: "));
    EXPECT_FALSE(trace_.contains("Try Install path="));
    EXPECT_TRUE(trace_.contains("Try original lib name=bu_no_such_module.so"));
}

}  // namespace
