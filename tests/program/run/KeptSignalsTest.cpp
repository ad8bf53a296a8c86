// Signals that failed stay in the state, and are delivered once more when that is asked for; one in which the program
// dies again and again is set aside.
#include <gtest/gtest.h>

#include <filesystem>

#include "tests/program/support/ProgramFixture.h"

namespace orv_test {
namespace {

class KeptSignalsTest : public ProgramFixture {
 protected:
  void SetUp() override { state_ = File("flow.state.xml"); }

  ProcessResult RunFlow(Arguments more = {}) {
    more.insert(more.begin(), {"run", flow_});
    return Run(more);
  }
  bool HasState() const { return std::filesystem::exists(state_); }

  std::string flow_;
  std::string state_;
};

TEST_F(KeptSignalsTest, AFailedSignalIsDeliveredOnceMoreWhenAsked) {
  flow_ = WriteFlow({{"HealingNode", "H", "ProgramNodes", {"healed=MarkingNode,M,mark"}}, {"MarkingNode", "M"}},
                    "HealingNode,H,heal");
  const std::string kept = "orvflow: " + flow_ + ": 1 signal failed (HealingNode H heal: still ill), kept in " +
                           state_ + "; see orvflow failed " + flow_ +
                           "; --retry delivers once more, --fresh begins anew\n";
  const ProcessResult failed = RunFlow();
  EXPECT_EQ(failed.exit_code, 1);
  EXPECT_TRUE(failed.error.ends_with(kept)) << failed.error;

  const ProcessResult continued = RunFlow();
  EXPECT_EQ(continued.exit_code, 1);
  EXPECT_EQ(continued.error, kept);
  EXPECT_NE(continued.output.find("Test: 0 signals delivered"), std::string::npos) << continued.output;

  const ProcessResult in_vain = RunFlow({"--retry"});
  EXPECT_EQ(in_vain.exit_code, 1);
  EXPECT_TRUE(in_vain.error.ends_with(kept)) << in_vain.error;

  const ProcessResult healed = RunFlow({"--retry", "--set", "/Counting/Limit=1"});
  EXPECT_EQ(healed.exit_code, 0) << healed.error;
  EXPECT_EQ(healed.error, "");
  EXPECT_NE(healed.output.find("Test: 2 signals delivered, 2 nodes made, 0 failures"), std::string::npos)
      << healed.output;
  EXPECT_FALSE(HasState());
}

TEST_F(KeptSignalsTest, RetryWithoutAStateOrBesideFreshIsRefused) {
  flow_ = WriteFlow({{"EchoNode", "A"}}, "EchoNode,A,go");
  const ProcessResult nothing = RunFlow({"--retry"});
  EXPECT_EQ(nothing.exit_code, 1);
  EXPECT_EQ(nothing.error,
            "orvflow: " + state_ + ": there is no saved state, so --retry has nothing to deliver once more\n");
  EXPECT_EQ(RunFlow({"--retry", "--fresh"}).exit_code, 2);
}

TEST_F(KeptSignalsTest, AFailureOfAnEarlierRunIsAFailureOfTheWorkflow) {
  flow_ = WriteFlow({{"HealingNode", "H"},
                     {"EchoNode", "E", "ProgramNodes", {"out=HealingNode,H,heal"}},
                     {"Restarter", "R", "FlowNodes", {}}},
                    "EchoNode,E,go");
  const std::string queue =
      "<SignalQueue><Mapping0><ReceiverTypeName __type=\"str\">Restarter</ReceiverTypeName><ReceiverInstanceName "
      "__type=\"str\">R</ReceiverInstanceName><IncomingSignalName __type=\"str\">restart</IncomingSignalName>"
      "</Mapping0></SignalQueue>";
  std::string text = ReadFile(flow_);
  text.insert(text.find("<WorkFlowEngine>") + 16, queue);
  WriteFile(flow_, text);
  EXPECT_EQ(RunFlow().exit_code, 6);
  const ProcessResult rest = RunFlow();
  EXPECT_EQ(rest.exit_code, 1);
  EXPECT_NE(rest.error.find("1 signal failed (HealingNode H heal: still ill), kept in "), std::string::npos)
      << rest.error;
}

TEST_F(KeptSignalsTest, ASignalInWhichTheProgramDiesThreeTimesIsSetAside) {
  flow_ =
      WriteFlow({{"EchoNode", "C", "ProgramNodes", {"out=DyingNode,D,die"}}, {"DyingNode", "D"}, {"MarkingNode", "M"}},
                "EchoNode,C,go");
  std::string text = ReadFile(flow_);
  const std::string entry =
      "<SignalQueue><Mapping0><ReceiverTypeName __type=\"str\">MarkingNode</ReceiverTypeName>"
      "<ReceiverInstanceName __type=\"str\">M</ReceiverInstanceName>"
      "<IncomingSignalName __type=\"str\">mark</IncomingSignalName></Mapping0></SignalQueue>";
  text.insert(text.find("<WorkFlowEngine>") + 16, entry);
  WriteFile(flow_, text);

  const std::string died = ": the run before died while DyingNode D had \"die\" (";
  EXPECT_EQ(RunFlow().exit_code, 99);
  const ProcessResult second = RunFlow();
  EXPECT_EQ(second.exit_code, 99);
  EXPECT_NE(second.error.find(died + "once; "), std::string::npos) << second.error;
  const ProcessResult third = RunFlow();
  EXPECT_EQ(third.exit_code, 99);
  EXPECT_NE(third.error.find(died + "2 times running; "), std::string::npos) << third.error;

  EXPECT_EQ(RunFlow({"--fresh"}).error.find(died), std::string::npos) << "begins anew, its deaths too";
  EXPECT_EQ(RunFlow().exit_code, 99);
  EXPECT_EQ(RunFlow().exit_code, 99);

  const ProcessResult without = RunFlow();
  EXPECT_EQ(without.exit_code, 1);
  EXPECT_NE(
      without.error.find(": DyingNode D die: the program died in it 3 times running; the signal is set aside, and "
                         "the run goes on without it\n"),
      std::string::npos)
      << without.error;
  EXPECT_NE(without.error.find(": 1 signal set aside (DyingNode D die: "), std::string::npos) << without.error;
  EXPECT_NE(ReadFile(state_).find("<SetAside>"), std::string::npos);
  EXPECT_FALSE(std::filesystem::exists(state_ + ".attempt"));

  EXPECT_EQ(RunFlow({"--retry"}).exit_code, 99) << "it is tried again when asked";
}

TEST_F(KeptSignalsTest, AStateWithoutFailuresLeavesNothing) {
  flow_ = WriteFlow({{"EchoNode", "A"}}, "EchoNode,A,go");
  EXPECT_EQ(RunFlow().exit_code, 0);
  EXPECT_FALSE(HasState());
  EXPECT_FALSE(std::filesystem::exists(state_ + ".attempt"));
}

}  // namespace
}  // namespace orv_test
