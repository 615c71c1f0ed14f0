// Reporting: exit codes that only rise, trace lines with their heads, the
// console fallback, banners and the string guard.
#include <cstdlib>
#include <string>

#include "layer_fixture.h"

namespace {

// Both logs open at the trace level a load leaves, as instance 2.
class Reporting : public bu::test::LayerTest {
  protected:
    void SetUp() override {
        LayerTest::SetUp();
        openLogs(DC_TraceLvl);
        ThisInstance = 2;
    }
};

TEST_F(Reporting, ExitCodeRisesOnceAndTellsTheHost) {
    bu::dc::reportAndMap(48);
    ASSERT_EQ(CurrentExitCode, 12);
    ASSERT_EQ(host.exitCodes, (std::vector<int16_t>{12}));
    const auto* m = host.message(19015);
    ASSERT_NE(m, nullptr);
    EXPECT_EQ(m->text(0), "EXPORT_OP[2]: QLN19015");
    EXPECT_EQ(host.arguments(19015), "12");
    EXPECT_EQ(std::pair(m->msgClass, m->severity), std::pair(3, 3));
    EXPECT_TRUE(host.traced("QLN Exit code set to 12."));

    // Lower and equal codes change nothing and say nothing.
    bu::dc::reportAndMap(4);
    bu::dc::reportAndMap(19);
    EXPECT_EQ(CurrentExitCode, 12);
    EXPECT_EQ(host.publicMessages.size(), 1u);
    EXPECT_EQ(host.exitCodes.size(), 1u);
}

// The function form maps higher and writes no message.
TEST_F(Reporting, StatusesMapToExitCodes) {
    for (auto [status, code] :
         {std::pair{5, 8}, {4, 4}, {16, 8}, {45, 8}, {19, 12}, {48, 12}, {29, 0}, {42, 0}}) {
        EXPECT_EQ(bu::dc::exitCodeForStatus(status), code) << status;
    }
    EXPECT_EQ(dcSetExitCode(48), 0);
    EXPECT_EQ(CurrentExitCode, 24);
    EXPECT_EQ(host.exitCodes, (std::vector<int16_t>{24}));
    EXPECT_FALSE(host.hasMessage(19015));
    CurrentExitCode = 0;
    dcSetExitCode(16);
    EXPECT_EQ(CurrentExitCode, 16);
}

TEST_F(Reporting, TraceHeadCutsTheFunctionNameAndMarksTheLevel) {
    DC_TraceLvl = 2;
    bu::dc::trace(1, "AVeryLongFunctionNameOf25", bu::dc::kWarning, "careful %d", 7);
    ASSERT_EQ(host.traceLines.size(), 1u);
    EXPECT_EQ(host.traceLines[0], "AVeryLongFunctionNam- WARNING! careful 7");
    bu::dc::traceError("Short", "broken");
    EXPECT_EQ(host.traceLines[1], "Short               - !ERROR! broken");
    bDisplayFuncName = 0;
    bu::dc::trace(1, "Short", bu::dc::kInfo, "plain");
    EXPECT_EQ(host.traceLines[2], "    plain");
    TimeStampMessages = 1;
    bu::dc::trace(1, "f", bu::dc::kInfo, "stamped");
    ASSERT_EQ(host.traceLines.size(), 4u);
    const std::string& line = host.traceLines[3];
    ASSERT_EQ(line.substr(0, 5), "**** ");
    EXPECT_EQ(line[7], ':');
    EXPECT_EQ(line[10], ':');
    EXPECT_EQ(line.substr(13), "stamped");
}

// Without a private log lines are lost until a write fails; a failing one
// falls back to the console.
TEST_F(Reporting, PrivateLogFailuresGoToTheConsole) {
    Private_loghandle = nullptr;
    EXPECT_EQ(DC_IssueMsg("f", 0, "lost"), 0);
    EXPECT_TRUE(host.console.empty());
    dcLastLogStatus = PXSTC_LogFileError;
    EXPECT_EQ(DC_IssueMsg("f", 0, "rescued"), PXSTC_FatalError);
    ASSERT_EQ(host.console.size(), 1u);
    EXPECT_EQ(host.console[0],
              "EXPORT_OP (instance 2): PX_LogWrite to Private log failed (rc=54).  Message "
              "'rescued'.");

    host.console.clear();
    Private_loghandle = &host.privateLog_;
    host.privateWriteStatus = PXSTC_LogCommError;
    bu::dc::traceError("Writer", "disk gone");
    ASSERT_EQ(host.console.size(), 3u);
    EXPECT_NE(host.console[0].find("(rc=53)"), std::string::npos);
    EXPECT_EQ(host.console[1], "MACRO TRCELOG from Writer failed");
    EXPECT_EQ(host.console[2], "disk gone");
}

// Banners are centred in 74 columns of '='; an empty one is a line of them
// that shows even at level 0, where text banners don't.
TEST_F(Reporting, BannersAreCentredIn74Columns) {
    DC_TraceLvl = 2;
    bDisplayFuncName = 0;
    dcDisplayBanner("ABC");
    dcDisplayBanner(std::string(75, 'x').c_str());
    ASSERT_EQ(host.traceLines.size(), 3u);
    const std::string line = host.traceLines[0].substr(4);
    ASSERT_EQ(line.size(), 74u);
    EXPECT_EQ(line.front(), '=');
    EXPECT_EQ(line.back(), '=');
    EXPECT_EQ(line.find("ABC"), 1u + 34u);                        // (72 - 3) / 2 blanks on the left
    EXPECT_EQ(host.traceLines[2].substr(4).find('x'), 1u + 33u);  // 5 left: (72-5)/2

    host.traceLines.clear();
    DC_TraceLvl = 0;
    dcDisplayBanner("");
    dcDisplayBanner("text lines need a level above 1");
    ASSERT_EQ(host.traceLines.size(), 1u);
    EXPECT_NE(host.traceLines[0].find(std::string(74, '=')), std::string::npos);
}

TEST_F(Reporting, StringOverflowIsFatalOnlyAtErrorLevel) {
    EXPECT_EQ(dcCheckForStrOverflow("GetSpecialChars", 5, "abcd", 2), 0);
    EXPECT_EQ(dcCheckForStrOverflow("GetSpecialChars", 5, "abcde", 1), 0);
    EXPECT_FALSE(host.hasMessage(19014));
    EXPECT_EQ(dcCheckForStrOverflow("GetSpecialChars", 5, "abcde", 2), PXSTC_FatalError);
    EXPECT_EQ(host.arguments(19014), "'GetSpecialChars' 5 5");
}

TEST_F(Reporting, ArmedReallocFailsWithStorageAndExitCode12) {
    void* p = std::malloc(8);
    void* original = p;
    int32_t status = 0;
    int16_t exit = 0;
    dcDiagErrCheck = 77;
    EXPECT_EQ(dcRealloc(&p, 100, "column names", 1, &status, &exit), PXSTC_Storage);
    EXPECT_EQ(p, nullptr);
    EXPECT_EQ(dcDiagErrCheck, 0);
    EXPECT_EQ(status, 19);
    EXPECT_EQ(exit, 12);
    EXPECT_EQ(host.arguments(19140), "'100'");
    std::free(original);

    // No place for the pointer: a reported failure, not a crash.
    host.publicMessages.clear();
    status = 0;
    EXPECT_EQ(dcRealloc(nullptr, 8, "rows", 0, &status, nullptr), PXSTC_Storage);
    EXPECT_EQ(status, 19);
    EXPECT_TRUE(host.hasMessage(19140));
    EXPECT_EQ(FetchCurrentTime(nullptr), 1);
}

}  // namespace
