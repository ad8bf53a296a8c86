// What a run shows on a terminal of its own, and on SIGUSR1.
#include <gtest/gtest.h>
#include <pty.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <thread>

#include "orvflow/terminal/ScreenText.h"
#include "tests/program/support/ProgramFixture.h"

namespace orv_test {
namespace {

class StatusTerminalTest : public ProgramFixture {
 protected:
  struct Environment {
    const char* name;
    const char* value;
  };

  // Runs two nodes that signal each other for a second, on a terminal of so many columns. Answers all that was written.
  std::string RunOnTerminal(std::uint16_t columns, const Environment& environment = {"TERM", "xterm"},
                            const Arguments& options = {}) {
    const std::string flow =
        WriteFlow({{"CountingNode", "A", "ProgramNodes", {"out=CountingNode,A,go", "told=FailingNode,B,refuse"}},
                   {"FailingNode", "B"}},
                  "CountingNode,A,go");
    Arguments words = {ORVFLOW_PROGRAM, "run", flow, "--fresh", "--timeout", "1.5"};
    words.insert(words.end(), options.begin(), options.end());
    std::vector<char*> pointers;
    for (std::string& word : words) pointers.push_back(word.data());
    pointers.push_back(nullptr);
    winsize size = {24, columns, 0, 0};
    int master = -1;
    const pid_t child = forkpty(&master, nullptr, nullptr, &size);
    if (child == 0) {
      setenv("TERM", "xterm", 1);
      unsetenv("NO_COLOR");
      setenv(environment.name, environment.value, 1);
      execv(ORVFLOW_PROGRAM, pointers.data());
      _exit(127);
    }
    std::string text;
    char bytes[4096];
    for (ssize_t count = 0; (count = read(master, bytes, sizeof bytes)) > 0;) {
      text.append(bytes, static_cast<std::size_t>(count));
    }
    int status = 0;
    waitpid(child, &status, 0);
    close(master);
    EXPECT_TRUE(WIFEXITED(status));
    return text;
  }

  // What was drawn in place, without escape sequences: everything in front of an erasure that is no whole line.
  static std::vector<std::string> DrawnLines(const std::string& text) {
    std::vector<std::string> lines;
    std::size_t begin = 0;
    for (std::size_t end = text.find("\r\x1b[J"); end != std::string::npos; end = text.find("\r\x1b[J", begin)) {
      std::string line = text.substr(begin, end - begin);
      line.erase(0, line.rfind('\n') + 1);
      for (const char* colour : {"\x1b[31m", "\x1b[0m"}) {
        for (std::size_t at = line.find(colour); at != std::string::npos; at = line.find(colour)) {
          line.erase(at, std::string(colour).size());
        }
      }
      lines.push_back(line);
      begin = end + 4;
    }
    return lines;
  }
};

TEST_F(StatusTerminalTest, TheStatusLineIsDrawnWithinItsWidthAndErased) {
  for (const std::uint16_t columns : {std::uint16_t{80}, std::uint16_t{40}}) {
    const std::string text = RunOnTerminal(columns);
    const std::vector<std::string> lines = DrawnLines(text);
    ASSERT_GT(lines.size(), 2U) << text;
    for (const std::string& line : lines) {
      EXPECT_NE(line.find(" delivered"), std::string::npos) << line;
      EXPECT_LT(OrvWorkFlow::Program::ColumnsOf(line), columns) << line;
    }
    EXPECT_NE(text.find("\x1b[31m"), std::string::npos) << "the failures";
    const std::string rest = text.substr(text.rfind("\x1b[J") + 3);
    EXPECT_EQ(rest.find("queued"), std::string::npos) << rest;
    EXPECT_NE(rest.find(" delivered, 2 nodes made, "), std::string::npos) << rest;
  }
}

TEST_F(StatusTerminalTest, HasNoColoursWhereTheyAreNotWanted) {
  const std::string text = RunOnTerminal(80, {"NO_COLOR", "1"});
  EXPECT_FALSE(DrawnLines(text).empty());
  EXPECT_EQ(text.find("\x1b[31m"), std::string::npos);
}

TEST_F(StatusTerminalTest, NothingIsDrawnOnATerminalThatCannotRewriteALineNorAmongATrace) {
  const std::string dumb = RunOnTerminal(80, {"TERM", "dumb"});
  EXPECT_EQ(dumb.find('\x1b'), std::string::npos);
  EXPECT_EQ(dumb.find("queued,"), std::string::npos);
  EXPECT_EQ(RunOnTerminal(80, {"TERM", "xterm"}, {"--trace=/workflow/default"}).find('\x1b'), std::string::npos);
}

class ProgressTest : public ProgramFixture {
 protected:
  static int CountReports(const std::string& text) {
    static const std::string kHead = "At work:\n  SleepingNode A.go, ";
    int count = 0;
    for (std::size_t at = text.find(kHead); at != std::string::npos; at = text.find(kHead, at + 1)) ++count;
    return count;
  }
};

TEST_F(ProgressTest, AFileGetsLinesOfProgressOnlyWhenAsked) {
  const std::string flow = WriteFlow({{"EchoNode", "A", "ProgramNodes", {"out=EchoNode,A,go"}}}, "EchoNode,A,go");
  EXPECT_EQ(Run({"run", flow, "--timeout", "0.8"}).error.find(" delivered, "), std::string::npos);
  const ProcessResult result = Run({"run", flow, "--fresh", "--timeout", "1.5", "--progress=0.3"});
  const std::string begin = "orvflow: " + flow + ": 0.";
  EXPECT_EQ(result.error.substr(0, begin.size()), begin) << result.error;
  EXPECT_NE(result.error.find(" delivered, "), std::string::npos);
  EXPECT_EQ(result.error.find('\x1b'), std::string::npos);
}

TEST_F(ProgressTest, Sigusr1PrintsTheReportAndTheRunGoesOn) {
  const std::string flow = WriteFlow({{"SleepingNode", "A"}}, "SleepingNode,A,go");
  ChildProcess run(ORVFLOW_PROGRAM, {"run", flow, "--trace=/workflow/signalmediator/Signal"});
  ASSERT_TRUE(run.WaitForError("Firing input signal"));
  const pid_t process = std::atoi(ReadFile(File("flow.state.xml.lock")).c_str());
  ASSERT_GT(process, 1);
  // Twice, so that the first one has left the handler in its place.
  for (int reports = 1; reports <= 2; ++reports) {
    ASSERT_EQ(kill(process, SIGUSR1), 0);
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (CountReports(run.ErrorSoFar()) < reports && std::chrono::steady_clock::now() < deadline) {
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    EXPECT_EQ(CountReports(run.ErrorSoFar()), reports) << run.ErrorSoFar();
  }
}

}  // namespace
}  // namespace orv_test
