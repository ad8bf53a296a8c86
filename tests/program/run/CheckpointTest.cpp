// A run with checkpoints that is killed at random moments: its state always loads, what was delivered before the last
// checkpoint is not delivered again, and nothing that was queued is lost.
//
// ORVFLOW_KILL_ROUNDS says how often; 60 by default.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <random>
#include <set>
#include <sstream>
#include <thread>

#include "tests/program/support/ProgramFixture.h"

namespace orv_test {
namespace {

int Rounds() {
  const char* text = std::getenv("ORVFLOW_KILL_ROUNDS");
  return text == nullptr ? 60 : std::atoi(text);
}

// The number of an entry in a saved dictionary; 0 without it.
int NumberIn(const std::string& text, const std::string& entry) {
  const std::string begin = "<" + entry + " __type=\"int\">";
  const std::size_t at = text.find(begin);
  return at == std::string::npos ? 0 : std::atoi(text.c_str() + at + begin.size());
}

int CountIn(const std::string& text, const std::string& part) {
  int count = 0;
  for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++count;
  return count;
}

// What one node has written since the file was `from` bytes long: lines of a letter and a number.
std::vector<int> NumbersOf(const std::string& text, std::size_t from, char letter) {
  std::vector<int> numbers;
  std::istringstream lines(text.substr(from));
  for (std::string line; std::getline(lines, line) && !lines.eof();) {
    if (line.front() == letter) numbers.push_back(std::atoi(line.c_str() + 1));
  }
  return numbers;
}

class CheckpointTest : public ProgramFixture {
 protected:
  void SetUp() override {
    flow_ = WriteFlow({{"CountingNode", "A", "ProgramNodes", {"out=CountingNode,A,go", "told=MarkingNode,B,mark"}},
                       {"MarkingNode", "B"}},
                      "CountingNode,A,go");
    log_ = directory_.path() / "numbers.txt";
  }

  Arguments RunArguments() const {
    return {"run", flow_, "--checkpoint", "0.05", "--set", "/Counting/Log=" + log_.string()};
  }

  // The state holds the counter, and in the queue every mark that B has not seen.
  void ExpectWhole(const std::string& state) {
    EXPECT_EQ(CountIn(state, ">go</IncomingSignalName>"), 1 + 1) << "A's own signal, and the start signal's name";
    EXPECT_EQ(NumberIn(state, "Count") - NumberIn(state, "Marks"), CountIn(state, ">mark</IncomingSignalName>"));
  }

  // The run that wrote from `from` on began where the state says.
  void ExpectContinued(const std::string& written, std::size_t from, const std::string& state) {
    for (const auto& [letter, entry] : {std::pair<char, const char*>{'A', "Count"}, {'B', "Marks"}}) {
      int next = NumberIn(state, entry);
      for (const int number : NumbersOf(written, from, letter)) ASSERT_EQ(number, ++next) << letter;
    }
  }

  std::string flow_;
  std::filesystem::path log_;
};

TEST_F(CheckpointTest, SurvivesBeingKilledAtAnyMoment) {
  std::mt19937 chance(static_cast<std::uint32_t>(std::chrono::steady_clock::now().time_since_epoch().count()));
  int rounds_with_state = 0;
  for (int round = 0; round < Rounds() && !HasFailure(); ++round) {
    const std::string state = ReadFile(File("flow.state.xml"));
    if (!state.empty()) {
      ++rounds_with_state;
      ExpectWhole(state);
    }
    const std::size_t from = ReadFile(log_).size();
    {
      const ChildProcess process(ORVFLOW_PROGRAM, RunArguments());
      std::this_thread::sleep_for(std::chrono::milliseconds(50 + chance() % 700));
    }
    // Only what was written whole counts; the next run begins a new line.
    ExpectContinued(ReadFile(log_), from, state);
  }
  EXPECT_GT(rounds_with_state, Rounds() / 12) << "too few checkpoints to mean anything";

  const std::string state = ReadFile(File("flow.state.xml"));
  Arguments last = RunArguments();
  last.insert(last.end(), {"--set", "/Counting/Limit=" + std::to_string(NumberIn(state, "Count") + 3)});
  const ProcessResult end = Run(last);
  EXPECT_EQ(end.exit_code, 0) << end.error;
  const std::string written = ReadFile(log_);
  for (const char letter : {'A', 'B'}) {
    const std::vector<int> numbers = NumbersOf(written, 0, letter);
    const std::set<int> different(numbers.begin(), numbers.end());
    EXPECT_EQ(different.size(), static_cast<std::size_t>(*different.rbegin())) << letter << ": one is missing";
  }
  std::printf("%d kills, %d of them behind a checkpoint\n", Rounds(), rounds_with_state);
}

TEST_F(CheckpointTest, OneThatHasToWaitNamesTheNodeOnce) {
  flow_ = WriteFlow({{"PausingNode", "P"}}, "PausingNode,P,go");
  std::string text = ReadFile(flow_);
  text.insert(text.find("<Counting>") + 10, "<Milliseconds __type=\"int\">7000</Milliseconds>");
  WriteFile(flow_, text);
  const ProcessResult result = Run({"run", flow_, "--checkpoint", "0.1"});
  EXPECT_EQ(result.exit_code, 0);
  EXPECT_EQ(result.error, "orvflow: " + flow_ + ": a checkpoint is overdue: it waits for PausingNode P\n");
}

TEST_F(CheckpointTest, UnusualTimesAreBounded) {
  flow_ = WriteFlow({{"EchoNode", "A"}}, "EchoNode,A,go");
  for (const char* time : {"inf", "1e300", "1e18", "9223372036.9"}) {
    const ProcessResult result = Run({"run", flow_, "--timeout", time, "--checkpoint", time});
    EXPECT_EQ(result.exit_code, 0) << time << ": " << result.error;
  }
  for (const char* time : {"nan", "-1", "-inf", "1e999"}) {
    EXPECT_EQ(Run({"run", flow_, "--timeout", time}).exit_code, 2) << time;
    EXPECT_EQ(Run({"run", flow_, "--checkpoint", time}).exit_code, 2) << time;
  }
}

}  // namespace
}  // namespace orv_test
