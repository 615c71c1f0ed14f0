// DC_Initiate: what each setting does to the logs and trace level, and each
// refusal with its message and status.
#include <unistd.h>

#include <string>

#include "layer_fixture.h"

namespace {

using bu::test::LayerTest;

class Initiation : public LayerTest {
  protected:
    int32_t initiate() { return DC_Initiate(host.handle()); }
};

TEST_F(Initiation, DefaultsGiveAStatisticsOnlyPrivateLog) {
    ASSERT_EQ(initiate(), 0);
    const auto* hello = host.message(19006);
    ASSERT_NE(hello, nullptr);
    ASSERT_EQ(hello->args.size(), 2u);  // no leader in front of the greeting
    EXPECT_EQ(hello->text(0), "BulkUnload OUTMOD Adapter");
    EXPECT_EQ(hello->text(1), "17.20.00.07");

    EXPECT_EQ(DC_TraceLvl, 2);
    EXPECT_EQ(DC_StatsOnly, 1);
    const auto* adjusted = host.message(19206);
    ASSERT_NE(adjusted, nullptr);
    EXPECT_EQ(adjusted->text(1), "TraceLevel");
    EXPECT_EQ(adjusted->text(2), "Statistics Only");

    std::string expectedName = "buoutop-tester-" + std::to_string(getpid()) + "-1";
    EXPECT_TRUE(host.privateLogOpened);
    EXPECT_EQ(host.privateLogName, expectedName);
    const auto* named = host.message(19010);
    ASSERT_NE(named, nullptr);
    EXPECT_EQ(named->text(0), "EXPORT_OP[1]:");
    EXPECT_EQ(named->integer(1), 1);
    EXPECT_EQ(named->text(2), expectedName);

    EXPECT_STREQ(JobOpName, "EXPORT_OP");
    EXPECT_STREQ(bu::dc::keptIcuVersion(), "hxicu 72.1 (test)");
    EXPECT_TRUE(host.traced("HALVEX QUILLON 64-BIT"));
    EXPECT_TRUE(host.traced("Operator name: 'EXPORT_OP' instance 1 of 1 [Consumer]"));
    EXPECT_TRUE(host.traced("LITTLE ENDIAN platform"));
    EXPECT_EQ(CurrentExitCode, 0);
}

TEST_F(Initiation, EmptyPrivateLogNameMeansNoPrivateLog) {
    host.setText("PrivateLogName", "");
    host.setText("TraceLevel", "Milestones");
    ASSERT_EQ(initiate(), 0);
    EXPECT_EQ(DC_TraceLvl, 1);
    EXPECT_FALSE(host.privateLogOpened);
    const auto* m = host.message(19009);
    ASSERT_NE(m, nullptr);
    EXPECT_EQ(m->text(0), "EXPORT_OP[1]:");
    EXPECT_EQ(m->integer(1), 1);
    EXPECT_TRUE(host.traceLines.empty());
}

TEST_F(Initiation, NamedPrivateLogCarriesTheInstance) {
    host.setText("PrivateLogName", "mylog");
    host.setText("TraceLevel", "io_counts");
    host.setInt("SYSTEM_InstanceNumber", 3);
    host.setInt("SYSTEM_MaxInstances", 4);
    ASSERT_EQ(initiate(), 0);
    EXPECT_EQ(DC_TraceLvl, 3);
    EXPECT_EQ(DC_StatsOnly, 0);
    EXPECT_EQ(host.privateLogName, "mylog-3");
    EXPECT_FALSE(host.hasMessage(19006));  // instance 1 alone greets
    EXPECT_TRUE(host.traced("instance 3 of 4"));
}

// Levels by name, any case; an unknown name is refused with the list.
TEST_F(Initiation, TraceLevelsByName) {
    const std::pair<const char*, int32_t> cases[] = {
        {"ALL", 5}, {"io_buffers", 4}, {"IO_COUNTS", 3}, {"milestones", 2}, {"loud", -1}};
    for (const auto& [name, level] : cases) {
        bu::test::resetLayer();
        SG_opHandle = host.handle();
        host.setText("TraceLevel", name);
        ASSERT_EQ(initiate(), level < 0 ? PXSTC_FatalError : 0) << name;
        if (level >= 0) {
            EXPECT_EQ(DC_TraceLvl, level) << name;
        }
    }
    const auto* m = host.message(19205);
    ASSERT_NE(m, nullptr);
    EXPECT_EQ(m->text(1), "TraceLevel");
    EXPECT_EQ(m->text(2), "LOUD");
    EXPECT_EQ(m->text(3), "ALL, IO_BUFFERS, IO_COUNTS, MILESTONES or NONE");
}

TEST_F(Initiation, TimeOutsAreNotForConsumers) {
    host.setInt("TimeOut", 0);
    host.setInt("NamedPipeTimeOut", 0);
    EXPECT_EQ(initiate(), 0);

    // The time limit is refused with a warning, the pipe's with the same
    // line as an error.
    const std::pair<const char*, const char*> cases[] = {
        {"TimeOut", " WARNING!  Attribute 'TimeOut' is not accepted by consumer instance"},
        {"NamedPipeTimeOut",
         " !ERROR!  Attribute 'NamedPipeTimeOut' is not accepted by consumer instance"}};
    for (const auto& [name, line] : cases) {
        bu::test::resetLayer();
        SG_opHandle = host.handle();
        host.publicMessages.clear();
        host.traceLines.clear();
        host.setInt("TimeOut", 0);
        host.setInt("NamedPipeTimeOut", 0);
        host.setText("TraceLevel", "MILESTONES");
        host.setInt(name, 1);
        EXPECT_EQ(initiate(), PXSTC_FatalError) << name;
        const auto* m = host.message(19230);
        ASSERT_NE(m, nullptr) << name;
        EXPECT_EQ(m->msgClass, 2);
        EXPECT_EQ(m->text(1), name);
        EXPECT_TRUE(host.traced(line)) << name;
        EXPECT_EQ(CurrentExitCode, 12);
    }
}

TEST_F(Initiation, TimeOutLimitForProducers) {
    host.setInt("SYSTEM_OperatorType", PX_OPERATOR_TYPE_PRODUCER);
    host.setInt("TimeOut", 99999);
    EXPECT_EQ(initiate(), 0);

    bu::test::resetLayer();
    SG_opHandle = host.handle();
    host.setInt("TimeOut", 100000);
    EXPECT_EQ(initiate(), PXSTC_FatalError);
    const auto* m = host.message(19224);
    ASSERT_NE(m, nullptr);
    EXPECT_EQ(m->integer(2), 99999);
}

TEST_F(Initiation, SkipRowsStopsTheFirstConsumerInstanceOnly) {
    host.setInt("SkipRows", 5);
    EXPECT_EQ(initiate(), PXSTC_FatalError);
    EXPECT_TRUE(host.hasMessage(19230));

    bu::test::resetLayer();
    SG_opHandle = host.handle();
    host.publicMessages.clear();
    host.setInt("SYSTEM_InstanceNumber", 2);
    host.setInt("SYSTEM_MaxInstances", 2);
    EXPECT_EQ(initiate(), 0);
    EXPECT_FALSE(host.hasMessage(19230));
    EXPECT_TRUE(
        host.traced(" !ERROR! !ERROR! Attribute 'SkipRows' is not accepted by consumer instance"));
}

TEST_F(Initiation, MissingJobIdIsReportedOnThePublicLog) {
    host.remove("SYSTEM_JobID");
    EXPECT_EQ(initiate(), PXSTC_FatalError);
    const auto* m = host.message(19201);
    ASSERT_NE(m, nullptr);
    EXPECT_EQ(m->text(0), "EXPORT_OP[1]: QLN19201");
    EXPECT_EQ(m->text(1), "SYSTEM_JobID");
    EXPECT_EQ(CurrentExitCode, 12);
}

TEST_F(Initiation, OperatorTypeMustBeProducerOrConsumer) {
    host.setInt("SYSTEM_OperatorType", 3);
    EXPECT_EQ(initiate(), PXSTC_FatalError);
    EXPECT_FALSE(host.hasMessage(19204));  // no public log yet: nothing crashes
    EXPECT_EQ(dcLastLogStatus, PXSTC_Loghandle);
}

TEST_F(Initiation, PublicLogThatWontOpen) {
    host.publicLogInitStatus = PXSTC_LogFileError;
    EXPECT_EQ(initiate(), PXSTC_FatalError);
    ASSERT_EQ(host.console.size(), 1u);
    EXPECT_EQ(host.console[0], "FATAL_ERROR: PX_Loginit failed, return code = 54");
}

TEST_F(Initiation, MissingIcuLibraryStopsTheJob) {
    bu::test::fakeIcuVersion = "HXICU Library Not Found";
    EXPECT_EQ(initiate(), PXSTC_FatalError);
    const auto* m = host.message(19100);
    ASSERT_NE(m, nullptr);
    EXPECT_EQ(m->msgClass, 2);
    EXPECT_EQ(m->severity, 6);
    EXPECT_EQ(m->text(1), "px_hxicuversion");
    EXPECT_EQ(m->integer(2), -1);
}

TEST_F(Initiation, ArmedDiagnosticFailsSilently) {
    host.setInt("DiagnosticErrorCheck", 1040);
    EXPECT_EQ(initiate(), PXSTC_FatalError);
    EXPECT_EQ(host.publicMessages.size(), 3u);  // 19006, 19206, 19010 only
}

TEST_F(Initiation, RestartModeIsAnnounced) {
    host.setInt("SYSTEM_RestartMode", 1);
    ASSERT_EQ(initiate(), 0);
    const auto* m = host.message(19011);
    ASSERT_NE(m, nullptr);
    EXPECT_EQ(m->integer(1), 1);
    EXPECT_TRUE(host.traced(">>>> RESTART MODE <<<< >>>> RESTART MODE <<<<"));
}

TEST_F(Initiation, FlagsAndCharacterSet) {
    host.setText("IndicatorMode", "Y");
    host.setText("NullColumns", "n");
    host.setText("SYSTEM_CharSetId", "utf8");
    ASSERT_EQ(initiate(), 0);
    EXPECT_EQ(SG_IndicatorData, 1);
    EXPECT_EQ(bNullColumns, 0);
    EXPECT_STREQ(SG_CharSetName, "UTF8");

    bu::test::resetLayer();
    SG_opHandle = host.handle();
    host.setText("IndicatorMode", "maybe");
    EXPECT_EQ(initiate(), PXSTC_FatalError);
}

}  // namespace
