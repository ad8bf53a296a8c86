// A state's owner and mode.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "tests/program/support/ProgramFixture.h"

namespace orv_test {
namespace {

namespace fs = std::filesystem;

class StateOwnerTest : public ProgramFixture {
 protected:
  void SetUp() override {
    flow_ = WriteFlow({{"Restarter", "R", "FlowNodes", {"restarted=CountingNode,A,go"}},
                       {"CountingNode", "A", "ProgramNodes", {"out=CountingNode,A,go"}}},
                      "Restarter,R,restart");
    state_ = File("flow.state.xml");
  }
  unsigned ModeOf(const std::string& file) const {
    struct stat status = {};
    return stat(file.c_str(), &status) == 0 ? status.st_mode & 0777u : 0u;
  }

  std::string flow_;
  std::string state_;
};

TEST_F(StateOwnerTest, AStateIsItsOwnersAloneUnlessItWasOpenedOnPurpose) {
  EXPECT_EQ(Run({"run", flow_}).exit_code, 6);
  EXPECT_EQ(ModeOf(state_), 0600u);
  fs::permissions(state_, fs::perms(0640));
  ChildProcess second(ORVFLOW_PROGRAM, {"run", flow_, "--trace=/workflow/signalmediator/instantiate"});
  EXPECT_TRUE(second.WaitForError("At the end of and after unlock"));
  EXPECT_TRUE(second.Interrupt());
  EXPECT_EQ(second.Wait().exit_code, 6);
  EXPECT_EQ(ModeOf(state_), 0640u);
}

TEST_F(StateOwnerTest, OnesOfAnotherUserWhereAnybodyMayWriteAreRefused) {
  if (geteuid() != 0) GTEST_SKIP() << "only root can give files away";
  EXPECT_EQ(Run({"run", flow_}).exit_code, 6);
  fs::permissions(directory_.path(), fs::perms(01777));
  const std::string lock = state_ + ".lock";
  WriteFile(lock, "1");
  for (const std::string& file : {state_, lock}) {
    ASSERT_EQ(chown(file.c_str(), 12345, 12345), 0);
    const std::string before = ReadFile(file);
    const ProcessResult result = Run({"run", flow_});
    EXPECT_EQ(result.exit_code, 1);
    EXPECT_EQ(result.error, "orvflow: " + file +
                                ": belongs to another user (number 12345) and lies in a folder that anybody may write "
                                "to, so it is not trusted; name a state in a folder of your own with --state\n");
    EXPECT_EQ(ReadFile(file), before);
    ASSERT_EQ(chown(file.c_str(), 0, 0), 0);
  }
  fs::rename(state_, File("real.xml"));
  fs::create_symlink("real.xml", state_);
  ASSERT_EQ(lchown(state_.c_str(), 12345, 12345), 0);
  EXPECT_EQ(Run({"run", flow_}).exit_code, 1) << "a link of another user";
  fs::permissions(directory_.path(), fs::perms(0755));
  const ProcessResult own = Run({"run", flow_, "--set", "/Counting/Limit=1"});
  EXPECT_EQ(own.exit_code, 0) << "in a folder where only its owner writes: " << own.error;
}

}  // namespace
}  // namespace orv_test
