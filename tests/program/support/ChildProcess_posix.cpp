#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <stdexcept>
#include <thread>

#include "tests/program/support/ChildProcess.h"

namespace orv_test {

struct ChildProcess::System {
  pid_t process = 0;
  bool ended = false;
};

namespace {

class FileActions {
 public:
  FileActions(const std::string& input, const std::string& output, const std::string& error) {
    posix_spawn_file_actions_init(&actions_);
    posix_spawn_file_actions_addopen(&actions_, STDIN_FILENO, input.c_str(), O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions_, STDOUT_FILENO, output.c_str(), O_WRONLY | O_CREAT, 0600);
    posix_spawn_file_actions_addopen(&actions_, STDERR_FILENO, error.c_str(), O_WRONLY | O_CREAT, 0600);
  }
  ~FileActions() { posix_spawn_file_actions_destroy(&actions_); }
  FileActions(const FileActions&) = delete;
  FileActions& operator=(const FileActions&) = delete;
  const posix_spawn_file_actions_t* get() const { return &actions_; }

 private:
  posix_spawn_file_actions_t actions_;
};

int ExitCodeOf(int status) { return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status); }

}  // namespace

ChildProcess::ChildProcess(const std::string& program, const std::vector<std::string>& arguments,
                           std::string_view input)
    : system_(std::make_unique<System>()) {
  std::vector<std::string> words = {program};
  words.insert(words.end(), arguments.begin(), arguments.end());
  std::vector<char*> pointers;
  for (std::string& word : words) pointers.push_back(word.data());
  pointers.push_back(nullptr);
  WriteFile(directory_.path() / "input", input);
  const FileActions actions(directory_.file("input"), directory_.file("output"), directory_.file("error"));
  if (posix_spawn(&system_->process, program.c_str(), actions.get(), nullptr, pointers.data(), environ) != 0) {
    throw std::runtime_error("cannot start " + program);
  }
}

ChildProcess::~ChildProcess() {
  if (system_->ended) return;
  kill(system_->process, SIGKILL);
  waitpid(system_->process, nullptr, 0);
}

bool ChildProcess::Interrupt() { return kill(system_->process, SIGINT) == 0; }

bool ChildProcess::Terminate() { return kill(system_->process, SIGTERM) == 0; }

bool ChildProcess::HangUp() { return kill(system_->process, SIGHUP) == 0; }

std::vector<ChildProcess::Ending> ChildProcess::Endings() {
  return {
      {"Ctrl-C", &ChildProcess::Interrupt}, {"SIGTERM", &ChildProcess::Terminate}, {"SIGHUP", &ChildProcess::HangUp}};
}

ProcessResult ChildProcess::Wait() {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::minutes(1);
  int status = 0;
  while (waitpid(system_->process, &status, WNOHANG) == 0) {
    if (std::chrono::steady_clock::now() >= deadline) kill(system_->process, SIGKILL);
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
  system_->ended = true;
  const std::string output = ReadFile(directory_.path() / "output");
  return {ExitCodeOf(status), WithPlainLineEnds(output), ErrorSoFar(), output};
}

}  // namespace orv_test
