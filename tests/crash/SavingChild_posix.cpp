#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <thread>

#include "tests/crash/SaveLoop.h"
#include "tests/crash/SavingChild.h"

namespace orv_test {

const int kKills = 1000;

// Forked, not started anew: this process has one thread, and a thousand starts under a sanitizer take minutes.
bool SaveAndDie(const std::string& file, std::int32_t first, std::chrono::microseconds life) {
  const pid_t child = ::fork();
  if (child < 0) return false;
  if (child == 0) SaveForEver(file, first);
  std::this_thread::sleep_for(life);
  ::kill(child, SIGKILL);
  int status = 0;
  return ::waitpid(child, &status, 0) == child && WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL;
}

}  // namespace orv_test
