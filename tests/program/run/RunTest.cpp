// orvflow run: what ends a run, what it says, trace and log.
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>

#include "tests/program/support/ProgramFixture.h"

namespace orv_test {
namespace {

class RunTest : public ProgramFixture {};

using Clock = std::chrono::steady_clock;

// Two nodes that signal one another without end.
const std::vector<FlowNode> kPingPong = {{"EchoNode", "A", "ProgramNodes", {"out=EchoNode,A,go"}}};

TEST_F(RunTest, VersionAndHelpOfEveryVerb) {
  EXPECT_EQ(Run({"--version"}).output.substr(0, 8), "orvflow ");
  for (const Arguments& arguments : {Arguments{"--help"}, Arguments{"run", "--help"}, Arguments{"inspect", "--help"}}) {
    const ProcessResult result = Run(arguments);
    EXPECT_EQ(result.exit_code, 0);
    EXPECT_EQ(result.error, "");
    EXPECT_NE(result.output.find("Usage: orvflow"), std::string::npos) << result.output;
  }
}

TEST_F(RunTest, EndsWhenNothingIsLeft) {
  const ProcessResult result = Run({"run", WriteFlow({{"EchoNode", "A"}}, "EchoNode,A,go")});
  EXPECT_EQ(result.exit_code, 0);
  EXPECT_EQ(result.error, "");
  // The seconds that follow depend on the machine.
  EXPECT_EQ(result.output.substr(0, 51), "Test: 1 signal delivered, 1 node made, 0 failures, ");
}

TEST_F(RunTest, WhatFollowsTwoDashesIsTheFile) {
  const ProcessResult result = Run({"run", "--timeout", "30", "--", WriteFlow({{"EchoNode", "A"}}, "EchoNode,A,go")});
  EXPECT_EQ(result.exit_code, 0);
}

std::string FirstLine(const std::string& text) { return text.substr(0, text.find('\n')); }

TEST_F(RunTest, ANodeThatAnswersFalseIsALineAndAFailure) {
  const std::string flow = WriteFlow({{"FailingNode", "A"}}, "FailingNode,A,refuse");
  const ProcessResult result = Run({"run", flow});
  EXPECT_EQ(result.exit_code, 1);
  EXPECT_EQ(FirstLine(result.error), "orvflow: " + flow + ": <FailingNode, A>::Signal(refuse) returned false");
  EXPECT_NE(result.output.find("1 signal delivered, 1 node made, 1 failure,"), std::string::npos) << result.output;
}

TEST_F(RunTest, ANodeThatThrowsIsALineAndAFailure) {
  const std::string flow = WriteFlow({{"FailingNode", "A"}}, "FailingNode,A,throw");
  const ProcessResult result = Run({"run", flow});
  EXPECT_EQ(result.exit_code, 1);
  EXPECT_EQ(FirstLine(result.error),
            "orvflow: " + flow + ": <FailingNode, A>::Signal(throw) threw an exception: as told");
}

TEST_F(RunTest, ASignalToNobodyIsAFailure) {
  const ProcessResult result =
      Run({"run", WriteFlow({{"EchoNode", "A", "ProgramNodes", {"out=EchoNode,B,go"}}}, "EchoNode,A,go")});
  EXPECT_EQ(result.exit_code, 1);
  EXPECT_NE(result.output.find(" 1 failure,"), std::string::npos) << result.output;
}

TEST_F(RunTest, WaitsForANodeThatIsBusy) {
  const std::string flow =
      WriteFlow({{"BusyNode", "A", "ProgramNodes", {"done=EchoNode,B,go"}}, {"EchoNode", "B"}}, "BusyNode,A,go");
  const ProcessResult result = Run({"run", flow});
  EXPECT_EQ(result.exit_code, 0);
  EXPECT_NE(result.output.find("2 signals delivered, 2 nodes made, 0 failures,"), std::string::npos) << result.output;
}

TEST_F(RunTest, StopsAfterTheTimeLimit) {
  const std::string flow = WriteFlow(kPingPong, "EchoNode,A,go");
  const ProcessResult result = Run({"run", flow, "--timeout", "0.2"});
  EXPECT_EQ(result.exit_code, 1);
  const std::string begin = "orvflow: " + flow + ": stopped, not idle after 0.2 s (";
  EXPECT_EQ(result.error.substr(0, begin.size()), begin);
  EXPECT_NE(result.output.find("0 failures"), std::string::npos) << result.output;
}

TEST_F(RunTest, EndsWithoutANodeThatDoesNotReturn) {
  const std::string flow = WriteFlow({{"SleepingNode", "A"}}, "SleepingNode,A,go");
  const Clock::time_point start = Clock::now();
  const ProcessResult result = Run({"run", flow, "--timeout", "0.1"});
  EXPECT_LT(Clock::now() - start, std::chrono::seconds(30));
  EXPECT_EQ(result.exit_code, 1);
  EXPECT_EQ(result.error,
            "orvflow: " + flow + ": not idle after 0.1 s, and a node does not return; ended without it\n");
  EXPECT_FALSE(std::filesystem::exists(File("flow.state.xml.lock")));
}

TEST_F(RunTest, TraceShowsTheRoadOfASignal) {
  const ProcessResult result = Run({"run", "--trace", WriteFlow({{"EchoNode", "A"}}, "EchoNode,A,go")});
  EXPECT_EQ(result.exit_code, 0);
  for (const char* line : {"/workflow/signalpump sigpump doing stuff\n",
                           "/workflow/signalmediator/FireInputSignal Done instantiating EchoNode, A\n",
                           "/workflow/signalmediator/Signal Firing input signal 'go' on <EchoNode, A>\n",
                           "/workflow/signalmediator/Signal <EchoNode, A> fired output signal 'out'\n",
                           "workflow/FireAllReadySignals There are 0 left in the signal queue\n"}) {
    EXPECT_NE(result.error.find(line), std::string::npos) << line;
  }
}

// The lines without their times.
std::vector<std::string> LinesOf(const std::string& text) {
  static constexpr std::size_t kTimeLength = 25;
  std::vector<std::string> lines;
  for (std::size_t begin = 0; begin < text.size();) {
    const std::size_t end = text.find('\n', begin);
    lines.push_back(text.substr(begin, end - begin).substr(kTimeLength));
    begin = end + 1;
  }
  return lines;
}

TEST_F(RunTest, TraceOfACategoryShowsNoOther) {
  const std::string flow = WriteFlow({{"EchoNode", "A"}}, "EchoNode,A,go");
  const ProcessResult result = Run({"run", "--trace=/workflow/signalmediator/Signal", flow});
  EXPECT_EQ(LinesOf(result.error),
            (std::vector<std::string>{"/workflow/signalmediator/Signal Firing input signal 'go' on <EchoNode, A>",
                                      "/workflow/signalmediator/Signal <EchoNode, A> fired output signal 'out'"}));
}

TEST_F(RunTest, LogHoldsAllLinesAndTraceItsOwnBesides) {
  const std::string flow = WriteFlow({{"EchoNode", "A"}}, "EchoNode,A,go");
  const std::string log = File("run.log");
  const ProcessResult result =
      Run({"run", flow, "--log", log, "--log-level", "trace", "--trace=workflow/IgnoredSingals"});
  EXPECT_EQ(result.exit_code, 0);
  const std::string ignored = "workflow/IgnoredSingals <EchoNode, A, out> did not map to any input signals.";
  EXPECT_EQ(LinesOf(result.error), std::vector<std::string>{ignored});
  const std::string text = ReadFile(log);
  EXPECT_NE(text.find(ignored), std::string::npos);
  EXPECT_NE(text.find("Firing input signal 'go' on <EchoNode, A>"), std::string::npos);
  EXPECT_NE(text.find("done stoping all worknodes"), std::string::npos) << "the end is missing";
}

TEST_F(RunTest, PluginsAreFoundInTheFoldersOfPluginPath) {
  // Not beside the program under this name.
  const std::filesystem::path folder = directory_.path() / "plugins";
  std::filesystem::create_directories(folder);
  const std::filesystem::path bin = std::filesystem::path(ORVFLOW_PROGRAM).parent_path();
  for (const char* name : {"libProgramNodes.so", "ProgramNodes.dll"}) {
    if (std::filesystem::exists(bin / name)) std::filesystem::copy_file(bin / name, folder / "Moved.dll");
  }
  const std::string flow = WriteFlow({{"EchoNode", "A", "Moved.dll"}}, "EchoNode,A,go");
  EXPECT_EQ(Run({"run", flow}).exit_code, 4);
  const ProcessResult result = Run({"run", "--plugin-path", folder.string(), flow});
  EXPECT_EQ(result.exit_code, 0) << result.error;
}

}  // namespace
}  // namespace orv_test
