#include <unistd.h>

#include <csignal>
#include <cstring>

#include "tests/support/CaseLimit.h"

namespace orv_test {

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

void EndNow(int exit_code) { ::_exit(exit_code); }

}  // namespace orv_test
