#include <sys/types.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>

#include "tests/support/CaseLimit.h"

namespace orv_test {
namespace {

// They may hold what CTest waits for: the other end of its pipe. Their children first, which are found through them.
void KillChildrenOf(const std::string& process) {
  std::error_code error;
  for (const auto& thread : std::filesystem::directory_iterator("/proc/" + process + "/task", error)) {
    std::ifstream children(thread.path() / "children");
    for (std::string child; children >> child;) {
      ::kill(static_cast<pid_t>(std::atoi(child.c_str())), SIGSTOP);
      KillChildrenOf(child);
      ::kill(static_cast<pid_t>(std::atoi(child.c_str())), SIGKILL);
    }
  }
}

}  // namespace

void StartTimer(std::chrono::seconds limit) {
  static const bool is_set = [] {
    std::signal(SIGALRM, [](int /*signal*/) { ReportHang(); });
    return true;
  }();
  static_cast<void>(is_set);
  ::alarm(static_cast<unsigned>(limit.count()));
}

void StopTimer() { ::alarm(0); }

void WriteOut(const char* text) {
  // Nothing can be done about what cannot be written.
  static_cast<void>(!::write(STDOUT_FILENO, text, std::strlen(text)));
}

void EndNow(int exit_code) {
  // What follows needs memory, whose lock a thread that hangs may have. Then the next alarm ends this.
  std::signal(SIGALRM, SIG_DFL);
  sigset_t alarms;
  sigemptyset(&alarms);
  sigaddset(&alarms, SIGALRM);
  ::pthread_sigmask(SIG_UNBLOCK, &alarms, nullptr);
  ::alarm(10);
  KillChildrenOf("self");
  ::_exit(exit_code);
}

}  // namespace orv_test
