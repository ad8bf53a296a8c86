// A flow file that has changed is taken into a state that was saved before.
#include <gtest/gtest.h>

#include <filesystem>

#include "tests/program/support/ProgramFixture.h"

namespace orv_test {
namespace {

class UpdateTest : public ProgramFixture {
 protected:
  // The first run stops at once; what follows the restart is still to be done.
  void SetUp() override {
    flow_ = WriteFlow({{"Restarter", "R", "FlowNodes", {"restarted=MarkingNode,M,mark"}}, {"MarkingNode", "M"}},
                      "Restarter,R,restart");
    ASSERT_EQ(Run({"run", flow_}).exit_code, 6);
    state_ = File("flow.state.xml");
    ASSERT_TRUE(std::filesystem::exists(state_));
  }

  void Replace(const std::string& text, const std::string& by) const {
    std::string flow = ReadFile(flow_);
    const std::size_t at = flow.find(text);
    ASSERT_NE(at, std::string::npos) << text;
    flow.replace(at, text.size(), by);
    WriteFile(flow_, flow);
  }

  std::string flow_;
  std::string state_;
};

TEST_F(UpdateTest, AFlowThatHasNotChangedChangesNothing) {
  const ProcessResult result = Run({"run", flow_, "--update"});
  EXPECT_EQ(result.exit_code, 0) << result.error;
  EXPECT_EQ(result.error, "");
  EXPECT_EQ(result.output.substr(0, result.output.find('\n')), "Test: continues from " + state_);
}

TEST_F(UpdateTest, AChangedMappingAndANewNodeAreShownAndTakenIn) {
  Replace(">MarkingNode,M,mark<", ">EchoNode,E,go<");
  Replace("<MarkingNode>",
          "<EchoNode><Binaries><win32_bin __type=\"str\">ProgramNodes</win32_bin></Binaries><Instances><E>"
          "<maps><out><map0 __type=\"str\">MarkingNode,M,mark</map0></out></maps></E></Instances></EchoNode>"
          "<MarkingNode>");
  const ProcessResult result = Run({"run", flow_, "--update"});
  EXPECT_EQ(result.exit_code, 0) << result.error;
  EXPECT_EQ(result.error, "");
  EXPECT_NE(result.output.find("added /WorkFlowEngine/WorkNodes/EchoNode\n"), std::string::npos) << result.output;
  EXPECT_NE(result.output.find("changed /WorkFlowEngine/WorkNodes/Restarter/Instances/R/maps/restarted/map0: "
                               "MarkingNode,M,mark -> EchoNode,E,go\n"),
            std::string::npos)
      << result.output;
  EXPECT_NE(result.output.find("Test: 3 signals delivered, 3 nodes made, 0 failures"), std::string::npos)
      << result.output;
}

TEST_F(UpdateTest, WhatWasRemovedIsRefusedAndTheStateStaysAsItWas) {
  Replace("<restarted><map0 __type=\"str\">MarkingNode,M,mark</map0></restarted>", "");
  const std::string before = ReadFile(state_);
  const ProcessResult result = Run({"run", flow_, "--update"});
  EXPECT_EQ(result.exit_code, 1);
  EXPECT_NE(result.error.find("orvflow: " + flow_ +
                              ": /WorkFlowEngine/WorkNodes/Restarter/Instances/R/maps/restarted: was removed from the "
                              "flow, but " +
                              state_ + " cannot lose it"),
            std::string::npos)
      << result.error;
  EXPECT_EQ(ReadFile(state_), before);
}

}  // namespace
}  // namespace orv_test
