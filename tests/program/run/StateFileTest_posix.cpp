// A state's mode.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>

#include "tests/program/support/ProgramFixture.h"

namespace orv_test {
namespace {

namespace fs = std::filesystem;

class StateModeTest : public ProgramFixture {
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

TEST_F(StateModeTest, AStateIsItsOwnersAloneUnlessItWasOpenedOnPurpose) {
  EXPECT_EQ(Run({"run", flow_}).exit_code, 6);
  EXPECT_EQ(ModeOf(state_), 0600u);
  fs::permissions(state_, fs::perms(0640));
  ChildProcess second(ORVFLOW_PROGRAM, {"run", flow_, "--trace=/workflow/signalmediator/instantiate"});
  EXPECT_TRUE(second.WaitForError("At the end of and after unlock"));
  EXPECT_TRUE(second.Interrupt());
  EXPECT_EQ(second.Wait().exit_code, 6);
  EXPECT_EQ(ModeOf(state_), 0640u);
}

}  // namespace
}  // namespace orv_test
