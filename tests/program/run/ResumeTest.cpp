// What a run leaves when it is stopped, and what the next one makes of it.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

#include "tests/program/support/ProgramFixture.h"

namespace orv_test {
namespace {

class ResumeTest : public ProgramFixture {
 protected:
  // CountingNode A counts to the limit, and B what A tells it; both write what they do to a file.
  void SetUp() override {
    flow_ = WriteFlow({{"CountingNode", "A", "ProgramNodes", {"out=CountingNode,A,go", "told=MarkingNode,B,mark"}},
                       {"MarkingNode", "B"}},
                      "CountingNode,A,go");
    state_ = File("flow.state.xml");
  }

  // A run that is told to stop by Ctrl-C once it works; its saved state is in the default place.
  void LeaveState() {
    ChildProcess process(ORVFLOW_PROGRAM, {"run", flow_, "--trace=/workflow/signalmediator/instantiate"});
    EXPECT_TRUE(process.WaitForError("At the end of and after unlock"));
    EXPECT_TRUE(process.Interrupt());
    const ProcessResult result = process.Wait();
    EXPECT_EQ(result.exit_code, 6) << result.error;
    EXPECT_NE(result.error.find(", saved in " + state_ + " ("), std::string::npos) << result.error;
    EXPECT_TRUE(std::filesystem::exists(state_));
  }

  // Ends the counting soon.
  ProcessResult Finish(Arguments more = {}) {
    more.insert(more.begin(), {"run", flow_, "--set", "/Counting/Limit=5"});
    return Run(more);
  }

  std::string flow_;
  std::string state_;
};

TEST_F(ResumeTest, ContinuesAndLeavesNoStateWhenItHasFinished) {
  LeaveState();
  const ProcessResult rest = Finish();
  EXPECT_EQ(rest.exit_code, 0) << rest.error;
  EXPECT_EQ(rest.error, "");
  EXPECT_EQ(rest.output.substr(0, rest.output.find('\n')), "Test: continues from " + state_);
  EXPECT_FALSE(std::filesystem::exists(state_));
  EXPECT_FALSE(std::filesystem::exists(state_ + ".lock"));
}

TEST_F(ResumeTest, FreshBeginsAnew) {
  LeaveState();
  const ProcessResult result = Finish({"--fresh"});
  EXPECT_EQ(result.exit_code, 0) << result.error;
  EXPECT_EQ(result.output.find("continues"), std::string::npos) << result.output;
  EXPECT_FALSE(std::filesystem::exists(state_));
}

TEST_F(ResumeTest, AFlowThatHasChangedIsSaid) {
  LeaveState();
  std::ofstream(flow_, std::ios::app) << "\n";
  const ProcessResult rest = Finish();
  EXPECT_EQ(rest.exit_code, 0);
  EXPECT_EQ(
      rest.error,
      "orvflow: " + flow_ + ": has changed since " + state_ +
          " was saved; the state is continued as it was saved (--update takes the changes in, --fresh begins anew)\n");
}

TEST_F(ResumeTest, ADamagedStateIsNeitherUsedNorOverwritten) {
  LeaveState();
  const std::string whole = ReadFile(state_);
  std::string of_another = whole;
  of_another.replace(of_another.find(">Test<"), 6, ">Best<");
  for (const std::string& damaged : {std::string(), whole.substr(0, whole.size() / 2), std::string("<html></html>"),
                                     std::string("<IDictionaryRoot></IDictionaryRoot>"), of_another}) {
    WriteFile(state_, damaged);
    const ProcessResult result = Run({"run", flow_});
    EXPECT_EQ(result.exit_code, 5) << damaged;
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(result.error.substr(0, result.error.find(": ", 10)), "orvflow: " + state_) << result.error;
    EXPECT_EQ(ReadFile(state_), damaged);
  }
}

TEST_F(ResumeTest, ASecondHostOnTheSameStateIsRefused) {
  ChildProcess first(ORVFLOW_PROGRAM, {"run", flow_, "--trace=/workflow/signalmediator/instantiate"});
  ASSERT_TRUE(first.WaitForError("At the end of and after unlock"));
  const ProcessResult second = Run({"run", flow_});
  EXPECT_EQ(second.exit_code, 7);
  const std::string begin = "orvflow: " + state_ + ": in use by process ";
  EXPECT_EQ(second.error.substr(0, begin.size()), begin);
  EXPECT_GT(std::atol(second.error.c_str() + begin.size()), 0) << second.error;
  const ProcessResult elsewhere = Finish({"--state", File("other.xml")});
  EXPECT_EQ(elsewhere.exit_code, 0) << elsewhere.error;
}

TEST_F(ResumeTest, AKilledHostLeavesNoLock) {
  {
    ChildProcess killed(ORVFLOW_PROGRAM, {"run", flow_, "--trace=/workflow/signalmediator/instantiate"});
    ASSERT_TRUE(killed.WaitForError("At the end of and after unlock"));
  }
  const ProcessResult next = Finish();
  EXPECT_EQ(next.exit_code, 0) << next.error;
}

TEST_F(ResumeTest, ANodeMayAskForARestart) {
  flow_ = WriteFlow({{"Restarter", "R", "FlowNodes", {"restarted=CountingNode,A,go"}}, {"CountingNode", "A"}},
                    "Restarter,R,restart");
  const ProcessResult first = Run({"run", flow_});
  EXPECT_EQ(first.exit_code, 6);
  EXPECT_EQ(first.error, "orvflow: " + flow_ + ": stopped by a node's wish to restart, saved in " + state_ +
                             " (0 signals waiting, 1 node to go on); run it again to continue\n");
  const ProcessResult second = Run({"run", flow_});
  EXPECT_EQ(second.exit_code, 0) << second.error;
  EXPECT_NE(second.output.find("2 signals delivered, 2 nodes made"), std::string::npos) << second.output;
}

TEST_F(ResumeTest, AnAbsorbedWorkflowBeginsOnceAndIsPartOfTheState) {
  const std::string guest = File("guest.xml");
  std::filesystem::rename(WriteFlow({{"MarkingNode", "G"}}, "MarkingNode,G,mark"), guest);
  std::string text = ReadFile(guest);
  for (std::size_t at = text.find(">Test<"); at != std::string::npos; at = text.find(">Test<")) {
    text.replace(at, 6, ">Guest<");
  }
  WriteFile(guest, text);
  flow_ = WriteFlow({{"Restarter", "R", "FlowNodes", {}}}, "Restarter,R,restart");
  const ProcessResult first = Run({"run", flow_, "--absorb", guest});
  EXPECT_EQ(first.exit_code, 6) << first.error;
  EXPECT_NE(first.output.find("2 signals delivered, 2 nodes made"), std::string::npos) << first.output;
  EXPECT_NE(ReadFile(state_).find("<FilePath __type=\"str\">"), std::string::npos);
  const ProcessResult second = Run({"run", flow_, "--absorb", guest});
  EXPECT_EQ(second.exit_code, 0) << second.error;
  EXPECT_NE(second.output.find("1 signal delivered, 1 node made"), std::string::npos) << second.output;
}

TEST_F(ResumeTest, WhatCannotBeAStateOrAbsorbedIsRefused) {
  const std::string folder = directory_.path().string();
  WriteFile(File("nameless.xml"), "<IDictionaryRoot><A __type=\"str\">x</A></IDictionaryRoot>");
  struct Case {
    Arguments more;
    int exit_code;
    std::string text;
  };
  for (const Case& refused : std::vector<Case>{
           {{"--state", flow_}, 2, "is the flow file itself"},
           {{"--state", folder}, 2, "is a folder"},
           {{"--state", File("no-such-folder/s.xml")}, 1, "the state cannot be saved there: "},
           {{"--checkpoint", "-1"}, 2, "--checkpoint -1: not a number of seconds above 0"},
           {{"--absorb", File("nothing.xml")}, 1, "no such file"},
           {{"--absorb", File("nameless.xml")}, 5, "only a workflow with a name can be absorbed"},
       }) {
    Arguments arguments = {"run", flow_};
    arguments.insert(arguments.end(), refused.more.begin(), refused.more.end());
    const ProcessResult result = Run(arguments);
    EXPECT_EQ(result.exit_code, refused.exit_code) << refused.text;
    EXPECT_NE(result.error.find(refused.text), std::string::npos) << result.error;
    EXPECT_EQ(result.output, "");
  }
}

}  // namespace
}  // namespace orv_test
