// Stopping a run from outside.
#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "tests/program/support/ProgramFixture.h"

namespace orv_test {
namespace {

class StopTest : public ProgramFixture {
 protected:
  // A run without end, once it delivers signals.
  std::unique_ptr<ChildProcess> StartEndless() {
    flow_ = WriteFlow({{"EchoNode", "A", "ProgramNodes", {"out=EchoNode,A,go"}}}, "EchoNode,A,go");
    auto process = std::make_unique<ChildProcess>(
        ORVFLOW_PROGRAM, Arguments{"run", flow_, "--trace=/workflow/signalmediator/instantiate"});
    EXPECT_TRUE(process->WaitForError("At the end of and after unlock")) << process->ErrorSoFar();
    return process;
  }

  void ExpectStopped(const ProcessResult& result, const std::string& by_what) {
    EXPECT_EQ(result.exit_code, 6);
    EXPECT_NE(result.error.find("orvflow: " + flow_ + ": stopped by " + by_what + ", saved in "), std::string::npos)
        << result.error;
    EXPECT_NE(result.output.find(" delivered, 1 node made, 0 failures, "), std::string::npos) << result.output;
  }

  std::string flow_;
};

TEST_F(StopTest, EveryWishOfTheUserOrTheSystemStopsInOrder) {
  for (const ChildProcess::Ending& ending : ChildProcess::Endings()) {
    SCOPED_TRACE(ending.words);
    const std::unique_ptr<ChildProcess> process = StartEndless();
    ASSERT_TRUE((process.get()->*ending.send)());
    ExpectStopped(process->Wait(), ending.words);
  }
}

TEST_F(StopTest, TwoWishesWithinASecondAreOne) {
  for (const ChildProcess::Ending& ending : ChildProcess::Endings()) {
    SCOPED_TRACE(ending.words);
    const std::unique_ptr<ChildProcess> process = StartEndless();
    ASSERT_TRUE((process.get()->*ending.send)());
    ASSERT_TRUE((process.get()->*ending.send)());
    ExpectStopped(process->Wait(), ending.words);
  }
}

TEST_F(StopTest, ASecondCtrlCAfterASecondEndsARunWhoseNodeDoesNotReturn) {
  flow_ = WriteFlow({{"SleepingNode", "A"}}, "SleepingNode,A,go");
  ChildProcess process(ORVFLOW_PROGRAM, {"run", flow_, "--trace=/workflow/signalmediator"});
  ASSERT_TRUE(process.WaitForError("Firing input signal")) << process.ErrorSoFar();
  ASSERT_TRUE(process.Interrupt());
  ASSERT_TRUE(
      process.WaitForError("orvflow: " + flow_ + ": waiting for SleepingNode A; press again to end without saving\n"))
      << process.ErrorSoFar();
  std::this_thread::sleep_for(std::chrono::milliseconds(1100));
  ASSERT_TRUE(process.Interrupt());
  const ProcessResult result = process.Wait();
  EXPECT_EQ(result.exit_code, 130);
  EXPECT_EQ(result.output, "");
}

}  // namespace
}  // namespace orv_test
