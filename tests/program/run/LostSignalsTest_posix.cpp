// Signals that are lost for lack of memory stay in the state, and are delivered when that is asked for. Where not even
// that can be noted, the state is what it was.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "tests/program/support/FailureFixture_posix.h"

namespace orv_test {
namespace {

class LostSignalsTest : public FailureFixture {
 protected:
  void SetUp() override { state_ = File("flow.state.xml"); }

  // L loses what M should mark. `first` is what comes first, a node's signal.
  void WriteLosingFlow(const std::string& first, const std::string& restarted = "unmapped") {
    flow_ = WriteFlow({{"Restarter", "R", "FlowNodes", {"restarted=LosingNode,L," + restarted}},
                       {"LosingNode", "L", "ProgramNodes", {"out=MarkingNode,M,mark"}},
                       {"MarkingNode", "M"}},
                      first);
  }
  ProcessResult RunFlow(const Arguments& more = {}) {
    Arguments arguments = {"run", flow_, "--set", "/Counting/Log=" + File("marks.txt")};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return RunFailing({}, arguments);
  }
  long CountMarks() const {
    const std::string marks = ReadFile(File("marks.txt"));
    return std::count(marks.begin(), marks.end(), '\n');
  }
  bool HasState() const { return std::filesystem::exists(state_); }

  void ExpectKept(const ProcessResult& result, const std::string& signal) const {
    EXPECT_EQ(result.exit_code, 1);
    const std::string kept = "orvflow: " + flow_ + ": 1 signal failed (" + signal +
                             ": it was lost: not enough memory), kept in " + state_ + "; see orvflow failed " + flow_ +
                             "; --retry delivers once more, --fresh begins anew\n";
    EXPECT_TRUE(result.error.ends_with(kept)) << result.error;
    EXPECT_TRUE(HasState());
  }

  std::string flow_;
  std::string state_;
};

TEST_F(LostSignalsTest, OneThatWasLostBeforeItWasMapped) {
  WriteLosingFlow("LosingNode,L,unmapped");
  const ProcessResult lost = RunFlow();
  EXPECT_NE(lost.output.find(", 1 failure,"), std::string::npos) << lost.output;
  ExpectKept(lost, "LosingNode L out");
  ExpectKept(RunFlow(), "LosingNode L out");
  EXPECT_EQ(CountMarks(), 0);

  const ProcessResult delivered = RunFlow({"--retry"});
  EXPECT_EQ(delivered.exit_code, 0) << delivered.error;
  EXPECT_EQ(CountMarks(), 1);
  EXPECT_FALSE(HasState());
}

TEST_F(LostSignalsTest, OneThatWasLostOnItsWayToItsReceiver) {
  WriteLosingFlow("LosingNode,L,mapped");
  ExpectKept(RunFlow(), "MarkingNode M mark");
  EXPECT_EQ(CountMarks(), 10);
  EXPECT_EQ(RunFlow({"--retry"}).exit_code, 0);
  EXPECT_EQ(CountMarks(), 11);
  EXPECT_FALSE(HasState());
}

TEST_F(LostSignalsTest, OneOfAContinuedRun) {
  WriteLosingFlow("Restarter,R,restart");
  ASSERT_EQ(RunFlow().exit_code, 6);
  ExpectKept(RunFlow(), "LosingNode L out");
  EXPECT_EQ(RunFlow({"--retry"}).exit_code, 0);
  EXPECT_EQ(CountMarks(), 1);
}

TEST_F(LostSignalsTest, OneThatCannotEvenBeNotedLeavesTheStateAsItWas) {
  WriteLosingFlow("Restarter,R,restart", "all");
  ASSERT_EQ(RunFlow().exit_code, 6);
  const std::string state = ReadFile(state_);
  const ProcessResult lost = RunFlow();
  EXPECT_EQ(lost.exit_code, 1);
  EXPECT_NE(lost.error.find("signals failed or were lost, and there was no memory to note which"), std::string::npos)
      << lost.error;
  EXPECT_EQ(ReadFile(state_), state);

  EXPECT_EQ(RunFlow({"--set", "/Counting/Limit=1"}).exit_code, 0);
  EXPECT_EQ(CountMarks(), 1);
  EXPECT_FALSE(HasState());
}

TEST_F(LostSignalsTest, OneThatCannotEvenBeNotedOfAFirstRun) {
  WriteLosingFlow("LosingNode,L,all");
  const ProcessResult lost = RunFlow();
  EXPECT_EQ(lost.exit_code, 1);
  EXPECT_NE(lost.error.find("no memory to note which"), std::string::npos) << lost.error;
  EXPECT_FALSE(HasState());
  EXPECT_EQ(RunFlow({"--set", "/Counting/Limit=1"}).exit_code, 0);
  EXPECT_EQ(CountMarks(), 1);
}

}  // namespace
}  // namespace orv_test
