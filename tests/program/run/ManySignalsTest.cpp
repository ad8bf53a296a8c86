// A workflow with ten thousand waiting signals of one second each: it stops at once, whatever asks for it, and the next
// run does exactly the rest.
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <sstream>
#include <thread>

#include "tests/program/support/ProgramFixture.h"

namespace orv_test {
namespace {

constexpr int kSignals = 10000;
// Two seconds on a machine that has nothing else to do; without a bound it would be hours.
constexpr std::chrono::seconds kSoon(20);

class ManySignalsTest : public ProgramFixture {
 protected:
  void SetUp() override {
    flow_ = WriteFlow({{"PausingNode", "P"}}, "PausingNode,P,go");
    std::string queue;
    for (int i = 1; i < kSignals; ++i) {  // The start signal is one of them.
      const std::string name = "Mapping" + std::to_string(i);
      queue += "<" + name +
               "><ReceiverTypeName __type=\"str\">PausingNode</ReceiverTypeName><ReceiverInstanceName "
               "__type=\"str\">P</ReceiverInstanceName><IncomingSignalName __type=\"str\">go</IncomingSignalName></" +
               name + ">";
    }
    std::string text = ReadFile(flow_);
    text.insert(text.find("<WorkFlowEngine>") + 16, "<SignalQueue>" + queue + "</SignalQueue>");
    text.insert(text.find("<Counting>") + 10, "<Milliseconds __type=\"int\">1000</Milliseconds>");
    WriteFile(flow_, text);
  }

  Arguments RunArguments(Arguments more = {}) const {
    more.insert(more.begin(), {"run", flow_, "--set", "/Counting/Log=" + log_});
    return more;
  }
  // Waits until some signals were delivered.
  bool WaitForDeliveries(int number) const {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (std::chrono::steady_clock::now() < deadline) {
      if (ReadFile(log_).find("P" + std::to_string(number) + "\n") != std::string::npos) return true;
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return false;
  }
  // The rest without its pauses; each signal once but for `repeated`.
  void ExpectRest(int most_repeated) {
    const ProcessResult rest = Run(RunArguments({"--set", "/Counting/Milliseconds=0"}));
    EXPECT_EQ(rest.exit_code, 0) << rest.error;
    std::istringstream lines(ReadFile(log_));
    int count = 0;
    int last = 0;
    for (std::string line; std::getline(lines, line); ++count) last = std::atoi(line.c_str() + 1);
    EXPECT_EQ(last, kSignals);
    EXPECT_GE(count, kSignals);
    EXPECT_LE(count, kSignals + most_repeated);
  }

  std::string flow_;
  const std::string log_ = File("log.txt");
};

TEST_F(ManySignalsTest, StopsAtOnceAndTheNextRunDoesTheRest) {
  for (const ChildProcess::Ending& ending : ChildProcess::Endings()) {
    SCOPED_TRACE(ending.words);
    std::filesystem::remove(log_);
    ChildProcess process(ORVFLOW_PROGRAM, RunArguments());
    ASSERT_TRUE(WaitForDeliveries(2)) << process.ErrorSoFar();
    const auto begin = std::chrono::steady_clock::now();
    ASSERT_TRUE((process.*ending.send)());
    const ProcessResult result = process.Wait();
    EXPECT_EQ(result.exit_code, 6) << result.error;
    EXPECT_LT(std::chrono::steady_clock::now() - begin, kSoon);
    ExpectRest(0);
  }
}

TEST_F(ManySignalsTest, TheTimeLimitEndsItSaved) {
  const auto begin = std::chrono::steady_clock::now();
  const ProcessResult result = Run(RunArguments({"--timeout", "1.5"}));
  EXPECT_EQ(result.exit_code, 1);
  EXPECT_LT(std::chrono::steady_clock::now() - begin, kSoon);
  EXPECT_NE(result.error.find(": stopped, not idle after 1.5 s ("), std::string::npos) << result.error;
  ExpectRest(0);
}

TEST_F(ManySignalsTest, AKillRepeatsAtMostWhatCameAfterTheLastCheckpoint) {
  {
    const ChildProcess process(ORVFLOW_PROGRAM, RunArguments({"--checkpoint", "0.5"}));
    ASSERT_TRUE(WaitForDeliveries(4)) << process.ErrorSoFar();
  }
  ASSERT_TRUE(std::filesystem::exists(File("flow.state.xml")));
  ExpectRest(4);
}

}  // namespace
}  // namespace orv_test
