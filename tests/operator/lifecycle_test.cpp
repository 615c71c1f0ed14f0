// The operator's lifecycle through its method record: start, rows, the two
// phases of the end, and what the OUTMOD sees of each.
#include <sstream>
#include <string>
#include <vector>

#include "operator_fixture.h"
#include "termination.h"

namespace {

using bu::test::OperatorTest;

// The numbers of a dotted version, "17.20.00.07" and "17.20.0.7" alike.
std::vector<int> versionNumbers(const std::string& text) {
    std::vector<int> numbers;
    std::istringstream in(text);
    for (std::string part; std::getline(in, part, '.');) numbers.push_back(std::stoi(part));
    return numbers;
}

TEST(MethodRecord, VersionIsTheBuildsAndANullPlaceIsRefused) {
    OperatorMethodRecord* record = nullptr;
    ASSERT_EQ(PX_GetOperatorMethods(&record), 0);
    // The version shown is the one the build declares, and the banner's too.
    EXPECT_EQ(versionNumbers(record->version), versionNumbers(BU_PROJECT_VERSION));
    EXPECT_STREQ(OpVersStr, record->version);
    EXPECT_EQ(PX_GetOperatorMethods(nullptr), PXSTC_NullPointer);
}

// The host's row limit is read at the first row only and merely shown; an
// answer the local can't hold counts as not received.
TEST_F(OperatorTest, MaxRowSizeOfTheHostIsShownOnce) {
    const std::string defaulted =
        "Could not retreive max row size attribute, \t  defaulting to a max row size of 64";
    const std::pair<const char*, std::string> cases[] = {{"absent", defaulted},
                                                         {"empty", "Received a max row size of 64"},
                                                         {"int", "Received a max row size of 256"},
                                                         {"long", defaulted}};
    for (const auto& [form, line] : cases) {
        bu::test::resetLayer();
        bu::op::resetOperatorState();
        SG_opHandle = host.handle();
        host.traceLines.clear();
        host.remove("SYSTEM_JobMaxRowSize_Allow");
        if (std::string(form) == "empty") host.setText("SYSTEM_JobMaxRowSize_Allow", "");
        if (std::string(form) == "int") host.setInt("SYSTEM_JobMaxRowSize_Allow", 256);
        if (std::string(form) == "long") {
            const char eightBytes[] = {0, 2, 0, 0, 'A', 'B', 'C', 'D'};  // 512, then more
            host.setText("SYSTEM_JobMaxRowSize_Allow", std::string(eightBytes, 8));
        }
        ASSERT_EQ(initiate(), PXSTC_EndMethod) << form;
        EXPECT_EQ(execute(), PXSTC_EndMethod) << form;
        EXPECT_EQ(execute(), PXSTC_EndMethod) << form;
        size_t shown = 0;
        for (const auto& traced : host.traceLines) {
            if (traced.find("max row size") != std::string::npos) {
                ++shown;
                EXPECT_NE(traced.find(line), std::string::npos) << form << ": " << traced;
            }
        }
        EXPECT_EQ(shown, 1u) << form;
    }
}

// A row reaches the OUTMOD without its indicator byte; the end call sees the
// lengths the last row left in the cells (negative ones count as nothing),
// the reserved cell keeps what the OUTMOD stored, and a stopped operator
// starts again with both lengths at 0.
TEST_F(OperatorTest, CellsKeepWhatTheOutmodLeftUntilANewStart) {
    script->storeInLen = -3;
    script->storeOutLen = -1;
    script->storeReserved = 77;
    host.addRow({"0001", "a"});
    ASSERT_EQ(initiate(), PXSTC_EndMethod);
    EXPECT_EQ(execute(), PXSTC_SamePhase);
    EXPECT_EQ(pmBuffer.Length, 0u);  // nothing to write
    EXPECT_EQ(execute(), PXSTC_EndMethod);
    EXPECT_EQ(terminate(1), PXSTC_NextPhase);
    EXPECT_EQ(terminate(2), PXSTC_EndMethod);
    EXPECT_EQ(host.logsClosed, 2);
    EXPECT_EQ(SG_ColNames, nullptr);         // phase 2 freed the column arrays
    EXPECT_EQ(ExecuteSuccessFlag, 1);        // "SYSTEM_ExecutePassed" absent
    EXPECT_EQ(execute(), PXSTC_FatalError);  // stopped: 19115
    bu::test::resetLayer();
    SG_opHandle = host.handle();
    EXPECT_EQ(initiate(), PXSTC_EndMethod);
    ASSERT_EQ(requests(), (std::vector<int32_t>{1, 3, 2, 1}));
    EXPECT_EQ(script->inLenSeen[1], 7);  // indicator byte stripped
    EXPECT_EQ(std::string(script->record[1], 4), "0001");
    EXPECT_EQ(script->inLenSeen[2], -3);
    EXPECT_EQ(script->outLenSeen[2], -1);
    EXPECT_EQ(script->reservedSeen[0], 0);
    EXPECT_EQ(script->reservedSeen[1], 77);
    EXPECT_EQ(script->reservedSeen[2], 77);
    EXPECT_EQ(script->inLenSeen[3], 0);
    EXPECT_EQ(script->outLenSeen[3], 0);
}

TEST_F(OperatorTest, CheckpointAndRestartTellTheOutmod) {
    ASSERT_EQ(initiate(), PXSTC_EndMethod);
    EXPECT_EQ(methods->PX_Checkpoint(host.handle()), PXSTC_EndMethod);
    EXPECT_EQ(methods->PX_Restart(host.handle()), PXSTC_EndMethod);
    EXPECT_EQ(requests(), (std::vector<int32_t>{1, 4, 5}));
    script->returnCode[OUTMOD_REQ_CHECKPOINT] = 9;  // reported as a failing row is
    EXPECT_EQ(methods->PX_Checkpoint(host.handle()), PXSTC_FatalError);
}

// The event of the maximum row size (36) answers with 12 bytes: text and
// unformatted files ask for 64 KB while the schema's fixed size keeps below
// 64261 bytes, formats 2 to 4 keep to 64 whatever the schema, the rest ask
// for 1024. Other events aren't answered.
TEST_F(OperatorTest, MaximumRowSizeEventFollowsTheFormat) {
    ASSERT_EQ(initiate(), PXSTC_EndMethod);
    host.setInt("EventFunction", 35);
    EXPECT_EQ(methods->PX_Event(host.handle()), PXSTC_NotSupported);
    EXPECT_TRUE(host.eventData.empty());
    host.setInt("EventFunction", 36);
    const struct {
        int32_t format;
        uint64_t fixedLength;
        uint32_t kb;
    } cases[] = {{FMT_UNFORMATTED, 64260, 64},   {FMT_UNFORMATTED, 64261, 1024},
                 {FMT_TEXT, 64261, 1024},        {FMT_NONE, 100000, 1024},
                 {FMT_BINARY, 100000, 64},       {4, 100000, 64},
                 {FMT_FORMATTED2, 100000, 1024}, {FMT_FORMATTED4, 100000, 1024}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.format);
        FileFormat = c.format;
        TotalFixedLength = c.fixedLength;
        host.eventData.clear();
        EXPECT_EQ(methods->PX_Event(host.handle()), 0);
        PX_EventData data{};
        ASSERT_EQ(host.eventData.size(), sizeof data);
        std::memcpy(&data, host.eventData.data(), sizeof data);
        EXPECT_EQ(data.maxRowSizeKB, c.kb);
        EXPECT_EQ(data.maxUsingDataSize, 0u);
        EXPECT_EQ(data.exceedRowFlag, 0u);
        if (c.format == FMT_TEXT || c.format == FMT_UNFORMATTED) continue;
        int32_t stored = 0;
        EXPECT_EQ(DC_GetMaxRowSize(&stored), static_cast<int32_t>(c.kb));
        EXPECT_EQ(stored, static_cast<int32_t>(c.kb));
    }
    FileFormat = FMT_UNFORMATTED;
    EXPECT_EQ(DC_GetMaxRowSize(nullptr), 1024);  // the schema's size isn't its concern
}

TEST_F(OperatorTest, ExecutePassedIsReadAtPhaseOne) {
    ASSERT_EQ(initiate(), PXSTC_EndMethod);
    // Y and N count at length 1 and NO at length 2 only; anything else
    // that isn't YES, "yo" too, is substituted by Y.
    const std::pair<std::string, int32_t> cases[] = {
        {"n", 0}, {"No", 0}, {"y", 1}, {"yes", 1}, {std::string("NO\0", 3), 1}, {"yo", 1}, {"", 1}};
    for (const auto& [value, flag] : cases) {
        host.traceLines.clear();
        host.setText("SYSTEM_ExecutePassed", value);
        EXPECT_EQ(terminate(1), PXSTC_NextPhase) << value;
        EXPECT_EQ(ExecuteSuccessFlag, flag) << value;
        bool valid = value == "n" || value == "No" || value == "y" || value == "yes";
        EXPECT_EQ(host.traced("Substituting value 'Y'"), !valid) << value;
    }
}

}  // namespace
