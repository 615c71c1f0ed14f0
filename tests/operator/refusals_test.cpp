// Every refusal of the operator frame: its message, arguments, exit code and
// status, and that nothing crashes after it.
#include "operator_fixture.h"
#include "pmdcomt.h"

namespace {

using bu::test::OperatorTest;

TEST_F(OperatorTest, SecondStartIsRefused) {
    ASSERT_EQ(initiate(), PXSTC_EndMethod);
    EXPECT_EQ(initiate(), PXSTC_FatalError);
    EXPECT_TRUE(host.hasMessage(19116));
    EXPECT_TRUE(host.traced("operator ID: 'BulkUnload OUTMOD Adapter'"));
    EXPECT_EQ(CurrentExitCode, 12);
}

TEST_F(OperatorTest, MethodsBeforeStartAreRefusedWithTheirNames) {
    Public_loghandle = &host.publicLog_;
    EXPECT_EQ(execute(), PXSTC_FatalError);
    EXPECT_EQ(methods->PX_Checkpoint(host.handle()), PXSTC_FatalError);
    EXPECT_EQ(terminate(2), PXSTC_FatalError);
    std::vector<std::string> named;
    for (const auto& m : host.publicMessages) {
        if (m.number == 19115) named.push_back(m.text(0));
    }
    // The one argument is the method's name, not a leader.
    EXPECT_EQ(named, (std::vector<std::string>{"PX_Execute", "PX_Checkpoint", "PX_Terminate"}));
    EXPECT_EQ(CurrentExitCode, 12);
    EXPECT_EQ(script->calls, 0);
}

// A start the operator refuses: the message with the arguments that name
// the cause, the exit code raised to 12 and told once, and no method after
// it reaches the OUTMOD. A start that got far enough to be in use still
// ends in order.
struct StartRefusal {
    const char* name;
    const char* attribute;
    const char* text;  // the attribute's text; null: `number`, or 0: removed
    int32_t number;
    int message;
    std::vector<std::string> args;  // from the first behind the leader
    const char* traced;
    bool inUse;
};

// The loader takes an empty name for the host program, which has no entry;
// the text of a failed load was taken by the trace line.
// clang-format off
const StartRefusal kStartRefusals[] = {
    {"Producer", "SYSTEM_OperatorType", nullptr, PX_OPERATOR_TYPE_PRODUCER, 19504, {}, "", false},
    {"NoOutmodName", "OUTMODname", nullptr, 0, 19201, {"OUTMODname"},
     "Required attribute 'OUTMODname' not found", true},
    {"EmptyOutmodName", "OUTMODname", "", 0, 19502, {"dlsym"}, "", true},
    {"UnloadableOutmod", "OUTMODname", "/nonexistent/libnothing.so", 0, 19501, {"dlopen", "<null>"},
     "Could not load OUTMOD! dlopen failed!", true},
    {"UnknownTraceLevel", "TraceLevel", "LOUD", 0, 19205, {}, "", false},
};
// clang-format on

void PrintTo(const StartRefusal& c, std::ostream* os) {
    *os << c.name;
}

class StartRefused : public OperatorTest, public ::testing::WithParamInterface<StartRefusal> {};

TEST_P(StartRefused, MessageExitCodeAndNoOutmodCall) {
    const StartRefusal& c = GetParam();
    if (c.text != nullptr) {
        host.setText(c.attribute, c.text);
    } else if (c.number != 0) {
        host.setInt(c.attribute, c.number);
    } else {
        host.remove(c.attribute);
    }
    host.addRow({"0001", "a"});
    EXPECT_EQ(initiate(), PXSTC_FatalError);
    const auto* m = host.message(c.message);
    ASSERT_NE(m, nullptr);
    for (size_t i = 0; i < c.args.size(); ++i) EXPECT_EQ(m->text(i + 1), c.args[i]) << i;
    EXPECT_TRUE(*c.traced == '\0' || host.traced(c.traced)) << c.traced;
    EXPECT_EQ(bOperatorInitialized, c.inUse ? 1 : 0);
    EXPECT_EQ(OutmodEntryPoint, nullptr);
    EXPECT_EQ(execute(), PXSTC_FatalError);
    EXPECT_EQ(methods->PX_Checkpoint(host.handle()), PXSTC_FatalError);
    EXPECT_EQ(methods->PX_Restart(host.handle()), PXSTC_FatalError);
    if (c.inUse) {
        EXPECT_EQ(terminate(1), PXSTC_NextPhase);
        EXPECT_EQ(terminate(2), PXSTC_EndMethod);
        EXPECT_EQ(host.logsClosed, 2);
    }
    EXPECT_EQ(script->calls, 0);
    EXPECT_EQ(CurrentExitCode, 12);
    EXPECT_EQ(host.exitCodes, (std::vector<int16_t>{12}));
}

INSTANTIATE_TEST_SUITE_P(Operator, StartRefused, ::testing::ValuesIn(kStartRefusals),
                         [](const auto& info) { return std::string(info.param.name); });

TEST_F(OperatorTest, OutmodFailingARowOrTheEnd) {
    host.addRow({"0001", "a"});
    script->returnCode[OUTMOD_REQ_RECORD] = -2;
    ASSERT_EQ(initiate(), PXSTC_EndMethod);
    EXPECT_EQ(execute(), PXSTC_FatalError);
    ASSERT_TRUE(host.hasMessage(19503));
    EXPECT_EQ(host.message(19503)->integer(1), -2);

    script->returnCode[OUTMOD_REQ_END] = 1;
    EXPECT_EQ(terminate(1), PXSTC_NextPhase);
    EXPECT_EQ(terminate(2), PXSTC_FatalError);
    EXPECT_EQ(host.logsClosed, 0);  // DC_Terminate isn't reached
}

TEST_F(OperatorTest, OutBufferLengthLimit) {
    host.addRow({"0001", "a"});
    host.addRow({"0002", "b"});
    script->storeOutLen = 64005;
    ASSERT_EQ(initiate(), PXSTC_EndMethod);
    EXPECT_EQ(execute(), PXSTC_FatalError);
    const auto* m = host.message(19505);
    ASSERT_NE(m, nullptr);
    EXPECT_EQ(m->integer(1), 64005);
    EXPECT_EQ(m->integer(2), 64004);

    // 64004 itself passes the limit and then wants a file.
    script->storeOutLen = 64004;
    EXPECT_EQ(execute(), PXSTC_FatalError);
    EXPECT_TRUE(host.hasMessage(19506));
}

TEST_F(OperatorTest, OutLenWinsOverInLen) {
    script->storeInLen = 1;
    script->storeOutLen = 1;
    script->outFill = 'Z';
    host.addRow({"0001", "a"});
    ASSERT_EQ(initiate(), PXSTC_EndMethod);
    EXPECT_EQ(execute(), PXSTC_FatalError);  // no file to write it to
    ASSERT_EQ(pmBuffer.Length, 1u);
    EXPECT_EQ(static_cast<const char*>(pmBuffer.Data), OutmodOutBuffer);
    EXPECT_EQ(*static_cast<const char*>(pmBuffer.Data), 'Z');
}

TEST_F(OperatorTest, RowLongerThanTheInBufferIsRefusedBeforeTheCopy) {
    host.columns = {{"big", 7, 65000}};
    host.addRow({std::string(64002, 'x')});  // 2 + 64002 = 64004 after the strip: fits
    host.addRow({std::string(64003, 'y')});  // one byte too many
    ASSERT_EQ(initiate(), PXSTC_EndMethod);
    EXPECT_EQ(execute(), PXSTC_SamePhase);
    EXPECT_EQ(script->inLenSeen[1], 64004);
    EXPECT_EQ(execute(), PXSTC_FatalError);
    const auto* m = host.message(19505);
    ASSERT_NE(m, nullptr);
    EXPECT_EQ(m->integer(1), 64005);
    EXPECT_EQ(m->integer(2), 64004);
    EXPECT_EQ(script->calls, 2);  // the OUTMOD never saw the long row
    EXPECT_EQ(CurrentExitCode, 12);
}

TEST_F(OperatorTest, EventWithoutItsAttribute) {
    ASSERT_EQ(initiate(), PXSTC_EndMethod);
    EXPECT_EQ(methods->PX_Event(host.handle()), PXSTC_FatalError);
    EXPECT_TRUE(host.traced("PX_GetAttribute returned code 5 ('Not Found')"));
}

// The operator's own reads take no value they can't read as given: the read
// fails as a length error, before anything is loaded or answered.
TEST_F(OperatorTest, UnreadableAnswersOfItsOwnAttributes) {
    const std::string refused = "PX_GetAttribute returned code 29 ('Length Error')";
    host.forgeAttribute("OUTMODname", nullptr, 12);
    EXPECT_EQ(initiate(), PXSTC_FatalError);
    EXPECT_TRUE(host.traced(refused));
    EXPECT_FALSE(host.hasMessage(19501));
    EXPECT_EQ(CurrentExitCode, 12);

    host.traceLines.clear();
    int32_t event = 36;
    for (int32_t length : {-4, 2, 8}) {
        host.forgeAttribute("EventFunction", &event, length);
        EXPECT_EQ(methods->PX_Event(host.handle()), PXSTC_FatalError) << length;
    }
    EXPECT_TRUE(host.traced(refused));
    EXPECT_TRUE(host.eventData.empty());
}

}  // namespace
