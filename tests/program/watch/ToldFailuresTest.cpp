// What only shows while a workflow runs: mappings that cannot be read, receivers that are not there, signals that
// nothing takes, what exceptions say. Each is told once, with its place, and counted.
#include <gtest/gtest.h>

#include "tests/program/support/ProgramFixture.h"

namespace orv_test {
namespace {

class ToldFailuresTest : public ProgramFixture {
 protected:
  ProcessResult RunFlow(const std::vector<FlowNode>& nodes, const std::string& start, const Arguments& options = {}) {
    flow_ = WriteFlow(nodes, start);
    Arguments arguments = {"run", flow_};
    arguments.insert(arguments.end(), options.begin(), options.end());
    return Run(arguments);
  }

  // Lines about the flow that standard error begins with; what is said of kept signals comes after them.
  void ExpectLines(const ProcessResult& result, const std::vector<std::string>& lines) const {
    std::string text;
    for (const std::string& line : lines) text += "orvflow: " + flow_ + ": " + line + "\n";
    EXPECT_EQ(result.error.substr(0, text.size()), text) << result.error;
  }

  std::string flow_;
};

TEST_F(ToldFailuresTest, WhatAnExceptionSays) {
  const ProcessResult result = RunFlow({{"FailingNode", "A"}}, "FailingNode,A,throw");
  EXPECT_EQ(result.exit_code, 1);
  ExpectLines(result, {"<FailingNode, A>::Signal(throw) threw an exception: as told"});
}

TEST_F(ToldFailuresTest, TheSameFailureOnceWithItsCount) {
  const ProcessResult result =
      RunFlow({{"CountingNode", "A", "ProgramNodes", {"out=CountingNode,A,go", "told=FailingNode,B,throw"}},
               {"FailingNode", "B"}},
              "CountingNode,A,go", {"--set", "/Counting/Limit=5"});
  EXPECT_EQ(result.exit_code, 1);
  const std::string text = "<FailingNode, B>::Signal(throw) threw an exception: as told";
  ExpectLines(result, {text, "5 times: " + text});
  EXPECT_NE(result.output.find(", 5 failures,"), std::string::npos) << result.output;
}

TEST_F(ToldFailuresTest, AMappingThatIsNone) {
  const ProcessResult result = RunFlow({{"RewiringNode", "A"}}, "RewiringNode,A,EchoNode-B");
  EXPECT_EQ(result.exit_code, 1);
  ExpectLines(result, {"/WorkFlowEngine/WorkNodes/RewiringNode/Instances/A/maps/out/map0: the mapping "
                       "\"EchoNode-B\" of RewiringNode A.out is not of the form TYPE,INSTANCE,SIGNAL"});
  EXPECT_NE(result.output.find(", 1 failure,"), std::string::npos) << result.output;
}

TEST_F(ToldFailuresTest, AReceiverThatIsNotThere) {
  const ProcessResult result = RunFlow({{"RewiringNode", "A"}}, "RewiringNode,A,RewiringNode,B,go");
  EXPECT_EQ(result.exit_code, 1);
  ExpectLines(result, {"the signal RewiringNode B.go of RewiringNode A.out was not delivered: there is no "
                       "node of that name, or it could not be made"});
  EXPECT_NE(result.output.find(", 1 failure,"), std::string::npos) << result.output;
}

TEST_F(ToldFailuresTest, ASignalThatIsMappedUnderAnotherName) {
  const ProcessResult result = RunFlow({{"EchoNode", "A", "ProgramNodes", {"oyt=EchoNode,A,go"}}}, "EchoNode,A,go");
  EXPECT_EQ(result.exit_code, 1);
  ExpectLines(result, {"/WorkFlowEngine/WorkNodes/EchoNode/Instances/A/maps/out: nothing takes this signal "
                       "of EchoNode A, fired 1 time; oyt is mapped and was never fired"});
  EXPECT_NE(result.output.find(", 1 failure,"), std::string::npos) << result.output;
}

TEST_F(ToldFailuresTest, ASignalThatNothingTakesOfANodeThatIsWiredIsNoFailure) {
  const ProcessResult result =
      RunFlow({{"EchoNode", "A", "ProgramNodes", {"finished=EchoNode,A,go"}}}, "EchoNode,A,go");
  EXPECT_EQ(result.exit_code, 0);
  ExpectLines(result, {"/WorkFlowEngine/WorkNodes/EchoNode/Instances/A/maps/out: nothing takes this signal "
                       "of EchoNode A, fired 1 time; map it, or leave its key there empty"});
  EXPECT_NE(result.output.find(", 0 failures,"), std::string::npos) << result.output;
}

TEST_F(ToldFailuresTest, AnEmptyKeySaysThatASignalIsForNobody) {
  const std::string flow =
      WriteFlow({{"EchoNode", "A", "ProgramNodes", {"finished=EchoNode,A,go", "outx=EchoNode,A,go"}}}, "EchoNode,A,go");
  std::string text = ReadFile(flow);
  const std::string mapped = "<outx><map0 __type=\"str\">EchoNode,A,go</map0></outx>";
  text.replace(text.find(mapped), mapped.size(), "<out></out>");
  WriteFile(flow, text);
  const ProcessResult result = Run({"run", flow});
  EXPECT_EQ(result.exit_code, 0);
  EXPECT_EQ(result.error, "");
}

TEST_F(ToldFailuresTest, ANodeWhoseFailureNothingTakes) {
  const ProcessResult result = RunFlow({{"FailingNode", "A"}}, "FailingNode,A,tell");
  EXPECT_EQ(result.exit_code, 1);
  ExpectLines(result, {"/WorkFlowEngine/WorkNodes/FailingNode/Instances/A/maps/failed: nothing takes this "
                       "signal of FailingNode A, fired 1 time; map it, or leave its key there empty"});
}

}  // namespace
}  // namespace orv_test
