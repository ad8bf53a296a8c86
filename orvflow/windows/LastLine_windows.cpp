#include "base/windows/WindowsApi.h"

#include <algorithm>
#include <atomic>
#include <csignal>
#include <cstdlib>

#include "orvflow/replay/DeliveryGuard.h"

namespace OrvWorkFlow::Program {

namespace {

// Written while the size is 0.
char line[500];
std::atomic<std::size_t> line_size{0};

void WriteLastLine() {
  const std::size_t size = line_size.exchange(0);
  if (size == 0) return;
  DWORD written = 0;
  WriteFile(GetStdHandle(STD_ERROR_HANDLE), line, static_cast<DWORD>(size), &written, nullptr);
  TerminateProcess(GetCurrentProcess(), 1);
}

LPTOP_LEVEL_EXCEPTION_FILTER before = nullptr;

LONG WINAPI EndWithLastLine(EXCEPTION_POINTERS* crash) {
  WriteLastLine();
  return before == nullptr ? EXCEPTION_CONTINUE_SEARCH : before(crash);
}

extern "C" void EndAborted(int /*signal_number*/) { WriteLastLine(); }

}  // namespace

void SetLastLine(const std::string& text) noexcept {
  line_size = 0;
  const std::size_t size = std::min(text.size(), sizeof(line));
  std::copy_n(text.data(), size, line);
  if (size > 0) line[size - 1] = '\n';
  line_size = size;
}

void WatchForCrashes() noexcept {
  before = SetUnhandledExceptionFilter(&EndWithLastLine);
  std::signal(SIGABRT, &EndAborted);
  static const bool is_told = std::atexit(WriteLastLine) == 0;
  static_cast<void>(is_told);
}

void LeaveCrashes() noexcept {
  SetUnhandledExceptionFilter(before);
  std::signal(SIGABRT, SIG_DFL);
}

}  // namespace OrvWorkFlow::Program
