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
    // Another start in the same process, the logs forgotten.
    void again() {
        bu::test::resetLayer();
        SG_opHandle = host.handle();
        host.publicMessages.clear();
        host.traceLines.clear();
    }
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
    EXPECT_EQ(host.arguments(19206), "'TraceLevel' 'Statistics Only'");
    const std::string expectedName = "buoutop-tester-" + std::to_string(getpid()) + "-1";
    EXPECT_EQ(host.privateLogName, expectedName);
    EXPECT_EQ(host.message(19010)->text(0), "EXPORT_OP[1]:");
    EXPECT_EQ(host.arguments(19010), "1 '" + expectedName + "'");

    EXPECT_STREQ(bu::dc::keptIcuVersion(), "hxicu 72.1 (test)");
    EXPECT_TRUE(host.traced("HALVEX QUILLON 64-BIT"));
    EXPECT_TRUE(host.traced("Operator name: 'EXPORT_OP' instance 1 of 1 [Consumer]"));
    EXPECT_TRUE(host.traced("LITTLE ENDIAN platform"));
    EXPECT_EQ(CurrentExitCode, 0);
}

TEST_F(Initiation, PrivateLogNameAndTraceLevel) {
    // An empty name means no private log.
    host.setText("PrivateLogName", "");
    host.setText("TraceLevel", "Milestones");
    ASSERT_EQ(initiate(), 0);
    EXPECT_EQ(DC_TraceLvl, 1);
    EXPECT_EQ(host.privateLogName, "");
    EXPECT_EQ(host.message(19009)->text(0), "EXPORT_OP[1]:");
    EXPECT_EQ(host.arguments(19009), "1");
    EXPECT_TRUE(host.traceLines.empty());

    // A given name carries the instance; instance 1 alone greets.
    again();
    host.setText("PrivateLogName", "mylog");
    host.setText("TraceLevel", "io_counts");
    host.setInt("SYSTEM_InstanceNumber", 3);
    host.setInt("SYSTEM_MaxInstances", 4);
    ASSERT_EQ(initiate(), 0);
    EXPECT_EQ(DC_TraceLvl, 3);
    EXPECT_EQ(DC_StatsOnly, 0);
    EXPECT_EQ(host.privateLogName, "mylog-3");
    EXPECT_FALSE(host.hasMessage(19006));
    EXPECT_TRUE(host.traced("instance 3 of 4"));
    host.setInt("SYSTEM_InstanceNumber", 1);

    // Levels by name, any case; an unknown name is refused with the list
    // (by instance 1).
    for (const auto& [name, level] :
         {std::pair{"ALL", 5}, {"io_buffers", 4}, {"milestones", 2}, {"loud", -1}}) {
        again();
        host.setText("TraceLevel", name);
        ASSERT_EQ(initiate(), level < 0 ? PXSTC_FatalError : 0) << name;
        if (level >= 0) {
            EXPECT_EQ(DC_TraceLvl, level) << name;
        }
    }
    EXPECT_EQ(host.arguments(19205),
              "'TraceLevel' 'LOUD' 'ALL, IO_BUFFERS, IO_COUNTS, MILESTONES or NONE'");
}

// Attributes of the other side: a consumer refuses a time limit with a
// warning, a pipe's time limit with the same line as an error, and
// "SkipRows" in its first instance alone; a producer's time limit has a
// ceiling.
TEST_F(Initiation, AttributesOfTheOtherSide) {
    host.setInt("TimeOut", 0);
    host.setInt("NamedPipeTimeOut", 0);
    EXPECT_EQ(initiate(), 0);
    for (const auto& [name, line] :
         {std::pair{"TimeOut", " WARNING!  Attribute 'TimeOut' is not accepted by consumer"},
          {"NamedPipeTimeOut", " !ERROR!  Attribute 'NamedPipeTimeOut' is not accepted by"}}) {
        again();
        host.setInt("TimeOut", 0);
        host.setInt("NamedPipeTimeOut", 0);
        host.setText("TraceLevel", "MILESTONES");
        host.setInt(name, 1);
        EXPECT_EQ(initiate(), PXSTC_FatalError) << name;
        EXPECT_EQ(host.arguments(19230), std::string("'") + name + "'");
        EXPECT_EQ(host.message(19230)->msgClass, 2);
        EXPECT_TRUE(host.traced(line)) << name;
        EXPECT_EQ(CurrentExitCode, 12);
    }
    host.remove("NamedPipeTimeOut");
    host.remove("TimeOut");

    again();
    host.setInt("SkipRows", 5);
    EXPECT_EQ(initiate(), PXSTC_FatalError);
    EXPECT_EQ(host.arguments(19230), "'SkipRows'");
    again();
    host.setInt("SYSTEM_InstanceNumber", 2);
    host.setInt("SYSTEM_MaxInstances", 2);
    EXPECT_EQ(initiate(), 0);
    EXPECT_FALSE(host.hasMessage(19230));
    EXPECT_TRUE(
        host.traced(" !ERROR! !ERROR! Attribute 'SkipRows' is not accepted by consumer instance"));

    again();
    host.setInt("SYSTEM_InstanceNumber", 1);
    host.setInt("SYSTEM_OperatorType", PX_OPERATOR_TYPE_PRODUCER);
    host.setInt("TimeOut", 99999);
    EXPECT_EQ(initiate(), 0);
    again();
    host.setInt("TimeOut", 100000);
    EXPECT_EQ(initiate(), PXSTC_FatalError);
    EXPECT_EQ(host.message(19224)->integer(2), 99999);
}

TEST_F(Initiation, RefusedStarts) {
    host.remove("SYSTEM_JobID");
    EXPECT_EQ(initiate(), PXSTC_FatalError);
    EXPECT_EQ(host.message(19201)->text(0), "EXPORT_OP[1]: QLN19201");
    EXPECT_EQ(host.arguments(19201), "'SYSTEM_JobID'");
    EXPECT_EQ(CurrentExitCode, 12);
    host.setText("SYSTEM_JobID", "job-1");

    // Before the public log is open nothing is written, and nothing crashes.
    again();
    host.setInt("SYSTEM_OperatorType", 3);
    EXPECT_EQ(initiate(), PXSTC_FatalError);
    EXPECT_TRUE(host.publicMessages.empty());
    EXPECT_EQ(dcLastLogStatus, PXSTC_Loghandle);
    host.setInt("SYSTEM_OperatorType", PX_OPERATOR_TYPE_CONSUMER);

    again();
    host.publicLogInitStatus = PXSTC_LogFileError;
    EXPECT_EQ(initiate(), PXSTC_FatalError);
    EXPECT_EQ(host.console,
              std::vector<std::string>{"FATAL_ERROR: PX_Loginit failed, return code = 54"});
    host.publicLogInitStatus = 0;

    again();
    bu::test::fakeIcuVersion = "HXICU Library Not Found";
    EXPECT_EQ(initiate(), PXSTC_FatalError);
    const auto* icu = host.message(19100);
    ASSERT_NE(icu, nullptr);
    EXPECT_EQ(std::pair(icu->msgClass, icu->severity), std::pair(2, 6));
    EXPECT_EQ(host.arguments(19100), "'px_hxicuversion' -1");

    // An armed diagnostic fails without a word of its own.
    again();
    host.setInt("DiagnosticErrorCheck", 1040);
    EXPECT_EQ(initiate(), PXSTC_FatalError);
    EXPECT_EQ(host.numbers(), (std::vector<int32_t>{19006, 19206, 19010}));
}

TEST_F(Initiation, RestartModeFlagsAndCharacterSet) {
    host.setInt("SYSTEM_RestartMode", 1);
    host.setText("IndicatorMode", "Y");
    host.setText("NullColumns", "n");
    host.setText("SYSTEM_CharSetId", "utf8");
    ASSERT_EQ(initiate(), 0);
    EXPECT_EQ(host.arguments(19011), "1");
    EXPECT_TRUE(host.traced(">>>> RESTART MODE <<<< >>>> RESTART MODE <<<<"));
    EXPECT_EQ(SG_IndicatorData, 1);
    EXPECT_EQ(bNullColumns, 0);
    EXPECT_STREQ(SG_CharSetName, "UTF8");

    again();
    host.setText("IndicatorMode", "maybe");
    EXPECT_EQ(initiate(), PXSTC_FatalError);
}

}  // namespace
