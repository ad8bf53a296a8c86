// The file of a saved state: which one it is, who may have it, and what is left beside it.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <system_error>

#include "OrvWorkFlow/host/StateFile.h"
#include "tests/program/support/ProgramFixture.h"
#include "tests/support/Ownership.h"

namespace orv_test {
namespace {

namespace fs = std::filesystem;

constexpr char kTrace[] = "--trace=/workflow/signalmediator/instantiate";
constexpr char kWorks[] = "At the end of and after unlock";

class StateFileTest : public ProgramFixture {
 protected:
  void SetUp() override {
    flow_ = WriteFlow({{"CountingNode", "A", "ProgramNodes", {"out=CountingNode,A,go"}}}, "CountingNode,A,go");
    state_ = File("flow.state.xml");
  }
  ProcessResult Finish(Arguments more = {}) const {
    more.insert(more.begin(), {"run", flow_, "--set", "/Counting/Limit=1"});
    return Run(more);
  }
  // False where the system makes no links for this user.
  bool Link(const std::string& target, const std::string& name) const {
    std::error_code error;
    fs::create_symlink(target, directory_.path() / name, error);
    return !error;
  }

  std::string flow_;
  std::string state_;
};

TEST_F(StateFileTest, EveryLinkToAFlowOrAStateIsTheSameOne) {
  fs::create_directories(directory_.path() / "elsewhere");
  if (!Link(flow_, "elsewhere/flow.xml") || !Link(flow_, "other.xml") || !Link(state_, "elsewhere/state.xml")) {
    GTEST_SKIP() << "no links here";
  }
  ChildProcess first(ORVFLOW_PROGRAM, {"run", flow_, kTrace});
  ASSERT_TRUE(first.WaitForError(kWorks));
  const std::string link = File("elsewhere/state.xml");
  for (const Arguments& second : {Arguments{"run", File("elsewhere/flow.xml")}, Arguments{"run", File("other.xml")},
                                  Arguments{"run", flow_, "--state", link}}) {
    const ProcessResult result = Run(second);
    EXPECT_EQ(result.exit_code, 7) << result.error;
    EXPECT_NE(result.error.find(": in use by process "), std::string::npos) << result.error;
  }
  EXPECT_TRUE(first.Interrupt());
  EXPECT_EQ(first.Wait().exit_code, 6);
  EXPECT_FALSE(fs::exists(directory_.path() / "elsewhere/flow.state.xml"));
  const ProcessResult rest = Run({"run", File("other.xml"), "--set", "/Counting/Limit=1"});
  EXPECT_EQ(rest.exit_code, 0) << rest.error;
  EXPECT_NE(rest.output.find("continues from"), std::string::npos) << rest.output;
  EXPECT_FALSE(fs::exists(state_));
}

TEST_F(StateFileTest, ALinkToTheFlowIsNoState) {
  if (!Link(flow_, "state.xml")) GTEST_SKIP() << "no links here";
  const std::string before = ReadFile(flow_);
  const ProcessResult result = Run({"run", flow_, "--state", File("state.xml")});
  EXPECT_EQ(result.exit_code, 2);
  EXPECT_NE(result.error.find("is the flow file itself"), std::string::npos) << result.error;
  EXPECT_EQ(ReadFile(flow_), before);
}

TEST_F(StateFileTest, OneThatTheSystemCannotTellOfIsNotOverwritten) {
  if (!Link(state_, "flow.state.xml")) GTEST_SKIP() << "no links here";
  const ProcessResult result = Finish();
  EXPECT_EQ(result.exit_code, 1);
  const std::string begin = "orvflow: " + state_ + ": the saved state cannot be read: ";
  EXPECT_EQ(result.error.substr(0, begin.size()), begin);
  EXPECT_NE(result.error.find("it may be whole"), std::string::npos) << result.error;
  EXPECT_EQ(result.output, "");
  EXPECT_TRUE(fs::is_symlink(state_));
}

TEST_F(StateFileTest, TheNextRunRemovesWhatKilledSavesHaveLeft) {
  const std::vector<std::string> leftovers = {"flow.state.xml.tmp0", "flow.state.xml.tmp17", "flow.state.xml.tmp100000",
                                              "flow.state.xml.tmp100000.tmp3"};
  const std::vector<std::string> others = {"flow.state.xml.tmp", "flow.state.xml.tmpl",       "flow.state.xml.tmp0.bak",
                                           "flow.state.tmp0",    "other.flow.state.xml.tmp0", "flow.xml.tmp0"};
  for (const std::string& name : leftovers) WriteFile(File(name), "x");
  for (const std::string& name : others) WriteFile(File(name), "x");
  fs::create_directories(directory_.path() / "flow.state.xml.tmp5");
  EXPECT_EQ(Finish().exit_code, 0);
  for (const std::string& name : leftovers) EXPECT_FALSE(fs::exists(File(name))) << name;
  for (const std::string& name : others) EXPECT_TRUE(fs::exists(File(name))) << name;
  EXPECT_TRUE(fs::exists(File("flow.state.xml.tmp5")));
}

TEST_F(StateFileTest, OneThatCannotBeMadeIsNotSaved) {
  // What the first save would write to.
  fs::create_directories(directory_.path() / "flow.state.xml.tmp100000" / "sub");
  WriteFlow({{"Restarter", "R", "FlowNodes", {"restarted=MarkingNode,M,mark"}}, {"MarkingNode", "M"}},
            "Restarter,R,restart");
  const ProcessResult result = Run({"run", flow_});
  EXPECT_EQ(result.exit_code, 1);
  EXPECT_NE(result.error.find("not saved"), std::string::npos) << result.error;
  EXPECT_FALSE(fs::exists(state_));
}

TEST_F(StateFileTest, ItsNameIsTheFlowsWithAnotherEnding) {
  using OrvWorkFlow::Host::StateFile;
  EXPECT_EQ(StateFile::NameFor("folder/a.xml", ""), "folder/a.state.xml");
  EXPECT_EQ(StateFile::NameFor("a.b.xml", ""), "a.b.state.xml");
  EXPECT_EQ(StateFile::NameFor("folder.xml/flow", ""), "folder.xml/flow.state.xml");
  EXPECT_EQ(StateFile::NameFor("folder/.xml", ""), "folder/.xml.state.xml");
  EXPECT_EQ(StateFile::NameFor("a.xml", "named"), "named");
}

TEST_F(StateFileTest, ALockThatAKilledRunLeavesGoesWithTheState) {
  WriteFile(state_ + ".lock", "\x1b[2J999999");
  EXPECT_EQ(Finish().exit_code, 0);
  EXPECT_FALSE(fs::exists(state_ + ".lock"));
}

TEST_F(StateFileTest, NamesAreShownWithoutWhatATerminalWouldObey) {
  const ProcessResult result = Run({"run", File("no\x1b[2Jsuch.xml")});
  EXPECT_EQ(result.exit_code, 1);
  EXPECT_NE(result.error.find("no\\x1b[2Jsuch.xml: no such file"), std::string::npos) << result.error;
}

TEST_F(StateFileTest, OnesOfAnotherUserWhereAnybodyMayWriteAreRefused) {
  if (!CanGiveAway()) GTEST_SKIP() << "only a superuser can give files away";
  const std::string restarted = WriteFlow({{"Restarter", "R", "FlowNodes", {"restarted=CountingNode,A,go"}},
                                           {"CountingNode", "A", "ProgramNodes", {"out=CountingNode,A,go"}}},
                                          "Restarter,R,restart");
  ASSERT_EQ(restarted, flow_);
  EXPECT_EQ(Run({"run", flow_}).exit_code, 6);
  OpenToAll(directory_.path().string());
  const std::string lock = state_ + ".lock";
  WriteFile(lock, "1");
  for (const std::string& file : {state_, lock}) {
    GiveAway(file);
    const std::string before = ReadFile(file);
    const ProcessResult result = Run({"run", flow_});
    EXPECT_EQ(result.exit_code, 1);
    EXPECT_EQ(result.error, "orvflow: " + file + ": belongs to another user (number " + kStranger +
                                ") and lies in a folder that anybody may write to, so it is not trusted; name a state "
                                "in a folder of your own with --state\n");
    EXPECT_EQ(ReadFile(file), before);
    TakeBack(file);
  }
  fs::rename(state_, File("real.xml"));
  if (Link("real.xml", "flow.state.xml")) {
    GiveAway(state_);
    EXPECT_EQ(Run({"run", flow_}).exit_code, 1) << "a link of another user";
    OpenToOwner(directory_.path().string());
    const ProcessResult own = Finish();
    EXPECT_EQ(own.exit_code, 0) << "in a folder where only its owner writes: " << own.error;
  }
}

}  // namespace
}  // namespace orv_test
