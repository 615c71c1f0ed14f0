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

TEST_F(OperatorTest, ProducerInstanceIsRefused) {
    host.setInt("SYSTEM_OperatorType", PX_OPERATOR_TYPE_PRODUCER);
    EXPECT_EQ(initiate(), PXSTC_FatalError);
    EXPECT_TRUE(host.hasMessage(19504));
    EXPECT_EQ(bOperatorInitialized, 0);
    EXPECT_EQ(CurrentExitCode, 12);
}

TEST_F(OperatorTest, MissingOutmodName) {
    host.remove("OUTMODname");
    EXPECT_EQ(initiate(), PXSTC_FatalError);
    ASSERT_TRUE(host.hasMessage(19201));
    EXPECT_EQ(host.message(19201)->text(1), "OUTMODname");
    EXPECT_TRUE(host.traced("Required attribute 'OUTMODname' not found"));
    // Started far enough to be in use: the end still runs, without the OUTMOD.
    EXPECT_EQ(bOperatorInitialized, 1);
    EXPECT_EQ(terminate(1), PXSTC_NextPhase);
    EXPECT_EQ(terminate(2), PXSTC_EndMethod);
    EXPECT_EQ(host.logsClosed, 2);
}

TEST_F(OperatorTest, EmptyOutmodNameFindsNoEntry) {
    // The loader takes an empty name for the host program itself, which has
    // no OUTMOD entry.
    host.setText("OUTMODname", "");
    EXPECT_EQ(initiate(), PXSTC_FatalError);
    ASSERT_TRUE(host.hasMessage(19502));
    EXPECT_EQ(host.message(19502)->text(1), "dlsym");
    EXPECT_EQ(OutmodEntryPoint, nullptr);
    EXPECT_EQ(CurrentExitCode, 12);
}

TEST_F(OperatorTest, UnloadableOutmod) {
    host.setText("OUTMODname", "/nonexistent/libnothing.so");
    host.addRow({"0001", "a"});
    EXPECT_EQ(initiate(), PXSTC_FatalError);
    const auto* m = host.message(19501);
    ASSERT_NE(m, nullptr);
    EXPECT_EQ(m->text(1), "dlopen");
    EXPECT_EQ(m->text(2), "<null>");  // the loader's text was taken by the trace line
    EXPECT_TRUE(host.traced("Could not load OUTMOD! dlopen failed!"));
    EXPECT_EQ(CurrentExitCode, 12);
    // Rows, checkpoints and restarts after a failed load don't jump through
    // a null entry.
    EXPECT_EQ(execute(), PXSTC_FatalError);
    EXPECT_EQ(methods->PX_Checkpoint(host.handle()), PXSTC_FatalError);
    EXPECT_EQ(methods->PX_Restart(host.handle()), PXSTC_FatalError);
    EXPECT_EQ(script->calls, 0);
}

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

TEST_F(OperatorTest, FailedInitiationMapsItsStatus) {
    host.setText("TraceLevel", "LOUD");
    EXPECT_EQ(initiate(), PXSTC_FatalError);
    EXPECT_TRUE(host.hasMessage(19205));
    EXPECT_EQ(CurrentExitCode, 12);
    EXPECT_EQ(host.exitCodes, (std::vector<int16_t>{12}));
    ASSERT_TRUE(host.hasMessage(19015));
    EXPECT_EQ(host.message(19015)->integer(1), 12);
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
