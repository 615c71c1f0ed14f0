// The layer's life: initialisation, token checks, error texts, versions,
// detach and shutdown in both modes.
#include <cstring>
#include <string>

#include "access_fixture.h"
#include "pm_record_formats.h"
#include "record_io.h"

namespace {

class CoreTest : public AccessTest {
  protected:
    pmFp openWrite(pmHandle h, const std::string& name, uint32_t format = 2) {
        pmFp fp = 0;
        EXPECT_EQ(open(h, 2, format, name, &fp), 0u);
        return fp;
    }
};

TEST_F(CoreTest, InitChecksLevelVersionAndClientName) {
    InitBlock init{0, "x", 3};
    EXPECT_EQ(pmInit(&init), 27u);
    EXPECT_EQ(TLGlobalPtr->CurrentLevel, 2);
    init.TraceLevel = 6;
    EXPECT_EQ(pmInit(&init), 27u);
    init = {4, "x", 2};
    EXPECT_EQ(pmInit(&init), 18u);
    EXPECT_EQ(TLGlobalPtr->CurrentLevel, 4);  // levels were set nevertheless
    EXPECT_EQ(TLGlobalPtr->DefaultLevel, 4);
    EXPECT_TRUE(trace_.contains("!ERROR! Invalid parameter value for InterfaceVerNo=2"));
    std::string longName(256, 'c');
    init = {2, longName.c_str(), 3};
    EXPECT_EQ(pmInit(&init), 11u);
    longName.resize(255);
    init.ClientName = longName.c_str();
    EXPECT_EQ(pmInit(&init), 0u);
    EXPECT_EQ(pmInit(&init), 0u);  // a second call is accepted
}

TEST_F(CoreTest, CallsBeforeInitGive26AndForceLevel2) {
    TLGlobalPtr->CurrentLevel = 5;
    pmRecord r{};
    EXPECT_EQ(pmRead(1, &r), 26u);
    EXPECT_EQ(TLGlobalPtr->CurrentLevel, 2);
    EXPECT_TRUE(trace_.contains("!ERROR! API not initialized"));
    EXPECT_EQ(pmShutDown(1), 26u);
    pmHandle h = 0;
    EXPECT_EQ(attach("", "", &h), 26u);
}

TEST_F(CoreTest, StaleAndForeignTokensAreRefused) {
    initLayer();
    pmHandle h = attached();
    pmRecord r{};
    EXPECT_EQ(pmRead(0, &r), 7u);
    EXPECT_EQ(pmRead(999, &r), 7u);
    pmFp fp = openWrite(h, "a");
    EXPECT_EQ(pmWrite(fp, &r), 0u);  // passed once, so remembered
    ASSERT_EQ(pmClose(fp), 0u);
    EXPECT_EQ(pmWrite(fp, &r), 7u);  // its slot was freed
    // A module's handle used as a file: the records' own tokens disagree.
    pmFp other = openWrite(h, "b");
    uint32_t diskToken = other + 1;  // the disk module's record behind it
    EXPECT_EQ(pmWrite(diskToken, &r), 7u);
    EXPECT_TRUE(trace_.contains("!ERROR! file pointer token mismatch"));
    EXPECT_EQ(pmDetach(other, 1), 1u);  // a file token isn't a module
    EXPECT_EQ(pmClose(other), 0u);
    // The version chain itself is the data error dump's golden file.
    VersionRecord* chain = nullptr;
    EXPECT_EQ(pmGetID(55, &chain), 1u);
}

TEST_F(CoreTest, ErrorTexts) {
    initLayer();
    // The table's last code, the gaps in it and the codes behind it.
    EXPECT_EQ(errText(56), "Can not checkpoint or restart a PIPE");
    for (uint32_t code : {48u, 55u, 57u, 999999u}) {
        EXPECT_EQ(errText(code), "No such Access Module API return code") << code;
    }
    EXPECT_EQ(errText(34), "Unknown Access Module failure");
    pmSetErrTxt("module says no", 14);
    EXPECT_EQ(errText(34), "module says no");
    std::string huge(40000, 'e');
    pmSetErrTxt(huge.data(), static_cast<uint32_t>(huge.size()));
    EXPECT_EQ(errText(34).size(), 32000u);
    initLayer();  // a new pmInit resets the text
    EXPECT_EQ(errText(34), "Unknown Access Module failure");
}

TEST_F(CoreTest, OpenChecksFormatAndNameLength) {
    initLayer();
    pmHandle h = attached();
    pmFp fp = 77;
    EXPECT_EQ(open(h, 2, 0, "f", &fp), 14u);
    EXPECT_EQ(fp, 0u);
    EXPECT_EQ(open(h, 2, 9, "f", &fp), 14u);
    // A format whose records can be written but not read.
    const pm::RecordFormat text = pm::recordFormatOf(pmFmtText);
    pm::installRecordFormat(pmFmtText, {nullptr, text.write, text.what});
    fp = 77;
    EXPECT_EQ(open(h, 1, 1, "f", &fp), 14u);
    EXPECT_EQ(fp, 0u);
    writeFile("f", "x\n");
    ASSERT_EQ(open(h, 3, 1, "f", &fp), 0u);
    pmRecord record{};
    EXPECT_EQ(pmRead(fp, &record), 14u);  // appending to it is fine, reading it isn't
    EXPECT_EQ(pmClose(fp), 0u);
    pm::installRecordFormat(pmFmtText, text);
    // 4096 characters pass the layer (the system then refuses the path).
    std::string name(4096, 'n');
    EXPECT_NE(pmOpen(2, 0, 2, nullptr, 0, 0, name.c_str(), h, nullptr, &fp), 19u);
    name += 'n';
    EXPECT_EQ(pmOpen(2, 0, 2, nullptr, 0, 0, name.c_str(), h, nullptr, &fp), 19u);
    EXPECT_EQ(open(h + 40, 2, 2, "f", &fp), 1u);
    EXPECT_EQ(open(h, 7, 2, "f", &fp), 2u);
    // Nothing was left linked by the failures.
    EXPECT_EQ(pmDetach(h, 1), 0u);
}

TEST_F(CoreTest, DetachModes) {
    initLayer();
    pmHandle h = attached();
    pmFp files[3];
    for (int i = 0; i < 3; ++i) files[i] = openWrite(h, "f" + std::to_string(i));
    EXPECT_EQ(pmDetach(h, 3), 2u);
    EXPECT_EQ(pmDetach(h, 1), 8u);
    pmRecord r{3, const_cast<char*>("abc"), 0, 0};
    EXPECT_EQ(pmWrite(files[1], &r), 0u);  // still open after the refusal
    EXPECT_EQ(pmDetach(h, 2), 0u);
    for (pmFp fp : files) EXPECT_EQ(pmWrite(fp, &r), 7u);
    // The forced detach closed (and so flushed) the files.
    EXPECT_EQ(readFile("f1"), onDisk("abc"));
    EXPECT_EQ(pmDetach(h, 1), 1u);
}

TEST_F(CoreTest, ShutDownModes) {
    initLayer();
    pmHandle h = attached();
    pmFp fp = openWrite(h, "s", 8);
    EXPECT_EQ(pmShutDown(3), 2u);
    EXPECT_EQ(pmShutDown(1), 28u);
    pmRecord r{4, const_cast<char*>("data"), 0, 0};
    EXPECT_EQ(pmWrite(fp, &r), 0u);  // nothing was closed
    EXPECT_EQ(pmShutDown(2), 0u);
    EXPECT_EQ(readFile("s"), "data");
    pmFp again = 0;
    EXPECT_EQ(open(h, 2, 2, "t", &again), 26u);
    // The layer can be brought up again, without the tokens of before.
    initLayer();
    EXPECT_EQ(pmWrite(fp, &r), 7u);
    EXPECT_NE(attached(), 0u);
}

TEST_F(CoreTest, DiagnosticsNameBadTokens) {
    initLayer();
    pmHandle h = attached();
    uint32_t bad = 500;
    ::testing::internal::CaptureStdout();
    EXPECT_EQ(pmDiag(2, &bad), 1u);
    EXPECT_EQ(pmDiag(4, &bad), 7u);
    EXPECT_EQ(pmDiag(2, &h), 0u);
    EXPECT_EQ(pmDiag(9, &h), 2u);
    std::string out = ::testing::internal::GetCapturedStdout();
    EXPECT_NE(out.find("!! Paramod token is invalid !!"), std::string::npos);
    EXPECT_NE(out.find("!! File token is invalid !!"), std::string::npos);
    EXPECT_NE(out.find("  MMToken=" + std::to_string(h)), std::string::npos);
    EXPECT_NE(out.find("5: dump Memory Management table"), std::string::npos);
}

}  // namespace
