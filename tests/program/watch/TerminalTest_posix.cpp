// A run in a terminal of its own, and what happens when that goes away.
#include <gtest/gtest.h>
#include <pty.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <thread>

#include "tests/program/support/FailureFixture_posix.h"

namespace orv_test {
namespace {

using Clock = std::chrono::steady_clock;

// The program on a terminal: what it writes is read until it says a text, or not at all.
class TerminalProgram {
 public:
  // `ignore_hang_up`: as nohup has it.
  TerminalProgram(const Arguments& arguments, bool ignore_hang_up) {
    Arguments words = {ORVFLOW_PROGRAM};
    words.insert(words.end(), arguments.begin(), arguments.end());
    std::vector<char*> pointers;
    for (std::string& word : words) pointers.push_back(word.data());
    pointers.push_back(nullptr);
    process_ = forkpty(&terminal_, nullptr, nullptr, nullptr);
    if (process_ != 0) return;
    if (ignore_hang_up) signal(SIGHUP, SIG_IGN);
    execv(ORVFLOW_PROGRAM, pointers.data());
    _exit(127);
  }
  ~TerminalProgram() {
    Close();
    if (ended_) return;
    kill(process_, SIGKILL);
    waitpid(process_, nullptr, 0);
  }
  TerminalProgram(const TerminalProgram&) = delete;
  TerminalProgram& operator=(const TerminalProgram&) = delete;

  // Everything that was written until then is in `seen`.
  bool ReadUntil(const std::string& text, std::string& seen) const {
    char bytes[4096];
    while (seen.find(text) == std::string::npos) {
      const ssize_t count = read(terminal_, bytes, sizeof bytes);
      if (count <= 0) return false;
      seen.append(bytes, static_cast<std::size_t>(count));
    }
    return true;
  }

  bool Type(const std::string& keys) const {
    return write(terminal_, keys.data(), keys.size()) == static_cast<ssize_t>(keys.size());
  }

  void Close() {
    if (terminal_ >= 0) close(terminal_);
    terminal_ = -1;
  }

  // The exit code, 128 plus the signal's number, or -1 after a minute.
  int Wait() {
    int status = 0;
    const auto deadline = Clock::now() + std::chrono::minutes(1);
    while (waitpid(process_, &status, WNOHANG) == 0) {
      if (Clock::now() >= deadline) return -1;
      std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    ended_ = true;
    return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
  }

 private:
  int terminal_ = -1;
  pid_t process_ = -1;
  bool ended_ = false;
};

class TerminalTest : public ProgramFixture {
 protected:
  std::string EndlessFlow() const {
    return WriteFlow({{"CountingNode", "A", "ProgramNodes", {"out=CountingNode,A,go"}}}, "CountingNode,A,go");
  }
  static constexpr char kTraced[] = "--trace=/workflow/signalmediator/instantiate";
  static constexpr char kAtWork[] = "At the end of and after unlock";
};

TEST_F(TerminalTest, AClosedTerminalStopsARunAndSavesIt) {
  TerminalProgram program({"run", EndlessFlow(), kTraced}, false);
  std::string seen;
  ASSERT_TRUE(program.ReadUntil(kAtWork, seen)) << seen;
  program.Close();
  EXPECT_EQ(program.Wait(), 6);
  EXPECT_TRUE(std::filesystem::exists(File("flow.state.xml")));
}

TEST_F(TerminalTest, ARunThatIgnoresHangUpsGoesOnWithoutItsTerminal) {
  const std::string log = File("numbers.txt");
  TerminalProgram program({"run", EndlessFlow(), "--set", "/Counting/Log=" + log, "--set", "/Counting/Limit=200"},
                          true);
  while (ReadFile(log).empty()) std::this_thread::sleep_for(std::chrono::milliseconds(2));
  program.Close();
  EXPECT_EQ(program.Wait(), 1) << "its last line was not printed";
  EXPECT_NE(ReadFile(log).find("A200\n"), std::string::npos);
}

TEST_F(TerminalTest, CtrlCInATerminalSaysWhatTheStopWaitsFor) {
  const std::string flow = WriteFlow({{"SleepingNode", "A"}}, "SleepingNode,A,go");
  TerminalProgram program({"run", flow, "--trace=/workflow/signalmediator"}, false);
  std::string seen;
  ASSERT_TRUE(program.ReadUntil("Firing input signal", seen)) << seen;
  ASSERT_TRUE(program.Type("\x03"));
  ASSERT_TRUE(program.ReadUntil("waiting for SleepingNode A; press again to end without saving", seen)) << seen;
  std::this_thread::sleep_for(std::chrono::milliseconds(1100));
  ASSERT_TRUE(program.Type("\x03"));
  EXPECT_EQ(program.Wait(), 130);
}

TEST_F(TerminalTest, ASecondCtrlCLeavesNoStatusLineBehind) {
  const std::string flow = WriteFlow({{"SleepingNode", "A"}}, "SleepingNode,A,go");
  const EnvironmentVariable terminal("TERM", "xterm");
  TerminalProgram program({"run", flow}, false);
  std::string seen;
  ASSERT_TRUE(program.ReadUntil("SleepingNode A 0.", seen)) << seen;
  ASSERT_TRUE(program.Type("\x03"));
  ASSERT_TRUE(program.ReadUntil("press again to end without saving", seen)) << seen;
  std::this_thread::sleep_for(std::chrono::milliseconds(1100));
  ASSERT_TRUE(program.Type("\x03"));
  EXPECT_EQ(program.Wait(), 130);
  EXPECT_FALSE(program.ReadUntil("more", seen)) << "this is the end";
  EXPECT_TRUE(seen.ends_with("\r\x1b[J")) << seen;
}

// It sends SIGTERM to the program, and again to the group that both are in.
TEST_F(TerminalTest, TheCommandTimeoutStopsARunAndSavesIt) {
  const ProcessResult result =
      RunProcess("/usr/bin/timeout", {"--preserve-status", "3", ORVFLOW_PROGRAM, "run", EndlessFlow()});
  EXPECT_EQ(result.exit_code, 6) << result.error;
  EXPECT_TRUE(std::filesystem::exists(File("flow.state.xml")));
}

TEST_F(TerminalTest, AReaderThatGoesAwayEndsNothing) {
  const std::string log = File("numbers.txt");
  const std::string command = "'" ORVFLOW_PROGRAM "' run '" + EndlessFlow() + "' --set '/Counting/Log=" + log +
                              "' --set /Counting/Limit=200 2>&1 | true; echo ${PIPESTATUS[0]} >'" + File("code") + "'";
  ASSERT_EQ(RunProcess("/bin/bash", {"-c", command}).exit_code, 0);
  EXPECT_EQ(ReadFile(File("code")), "1\n") << "its last line was not printed";
  EXPECT_NE(ReadFile(log).find("A200\n"), std::string::npos);
}

class ColourTest : public TerminalTest {
 protected:
  void SetUp() override {
    WriteFile(File("bad.xml"),
              "<IDictionaryRoot><WorkFlowEngine><WorkNodes><T><Instances><I><maps><s><map0 __type='str'>x</map0></s>"
              "</maps></I></Instances></T></WorkNodes></WorkFlowEngine></IDictionaryRoot>");
    setenv("TERM", "xterm", 1);
    unsetenv("NO_COLOR");
  }
  void TearDown() override {
    unsetenv("NO_COLOR");
    unsetenv("TERM");
  }
  // All that the program wrote on a terminal of its own.
  static std::string Seen(const Arguments& arguments) {
    TerminalProgram program(arguments, false);
    std::string seen;
    EXPECT_FALSE(program.ReadUntil("never written", seen));
    program.Wait();
    return seen;
  }
};

TEST_F(ColourTest, SeverityIsColouredOnATerminal) {
  EXPECT_NE(Seen({"check", File("bad.xml")}).find(": \x1b[31merror\x1b[0m: "), std::string::npos);
  EXPECT_EQ(Seen({"check", "--color=never", File("bad.xml")}).find('\x1b'), std::string::npos);
  EXPECT_NE(Seen({"run", File("bad.xml")}).find("\x1b[31morvflow:\x1b[0m " + File("bad.xml")), std::string::npos);
  EXPECT_EQ(Run({"check", File("bad.xml")}).output.find('\x1b'), std::string::npos) << "no terminal";
  EXPECT_NE(Run({"check", "--color=always", File("bad.xml")}).output.find("\x1b[31m"), std::string::npos);
}

TEST_F(ColourTest, NoColorAndADumbTerminalAreRespected) {
  setenv("NO_COLOR", "1", 1);
  EXPECT_EQ(Seen({"check", File("bad.xml")}).find('\x1b'), std::string::npos);
  EXPECT_EQ(Seen({"run", File("bad.xml")}).find('\x1b'), std::string::npos);
  EXPECT_NE(Seen({"check", "--color=always", File("bad.xml")}).find("\x1b[31m"), std::string::npos);
  unsetenv("NO_COLOR");
  setenv("TERM", "dumb", 1);
  EXPECT_EQ(Seen({"check", File("bad.xml")}).find('\x1b'), std::string::npos);
}

}  // namespace
}  // namespace orv_test
