#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <iterator>

#include "orvflow/replay/DeliveryGuard.h"

namespace OrvWorkFlow::Program {

namespace {

// Written while the size is 0.
char line[500];
std::atomic<std::size_t> line_size{0};
static_assert(std::atomic<std::size_t>::is_always_lock_free, "a signal handler may only touch what never locks");

constexpr int kCrashes[] = {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT};
struct sigaction before[std::size(kCrashes)];

// A stack that has overflown does not carry the handler.
alignas(16) char handler_stack[65536];

// Only what a signal handler may call.
void WriteLastLine() {
  const std::size_t size = line_size.exchange(0);
  if (size == 0) return;
  [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, line, size);
  _exit(1);
}

// Without a line it is left to whoever was there before.
extern "C" void EndWithLastLine(int signal_number) {
  WriteLastLine();
  LeaveCrashes();
  raise(signal_number);
}

}  // namespace

void SetLastLine(const std::string& text) noexcept {
  line_size = 0;
  const std::size_t size = std::min(text.size(), sizeof(line));
  std::copy_n(text.data(), size, line);
  if (size > 0) line[size - 1] = '\n';
  line_size = size;
}

void WatchForCrashes() noexcept {
  stack_t stack = {};
  if (sigaltstack(nullptr, &stack) != 0 || (stack.ss_flags & SS_DISABLE) != 0) {
    stack = {};
    stack.ss_sp = handler_stack;
    stack.ss_size = sizeof(handler_stack);
    sigaltstack(&stack, nullptr);
  }
  struct sigaction action = {};
  action.sa_handler = &EndWithLastLine;
  action.sa_flags = SA_ONSTACK;
  for (std::size_t i = 0; i < std::size(kCrashes); ++i) sigaction(kCrashes[i], &action, &before[i]);
  static const bool is_told = std::atexit(WriteLastLine) == 0;
  static_cast<void>(is_told);
}

void LeaveCrashes() noexcept {
  for (std::size_t i = 0; i < std::size(kCrashes); ++i) sigaction(kCrashes[i], &before[i], nullptr);
}

}  // namespace OrvWorkFlow::Program
