#define WIN32_LEAN_AND_MEAN
#ifndef NOMINMAX
#define NOMINMAX
#endif
#define NOGDI
#include <windows.h>

#include <atomic>
#include <cstdlib>
#include <cstring>

#include "tests/support/CaseLimit.h"

namespace orv_test {
namespace {

// 0 when no case is running.
std::atomic<ULONGLONG> g_end = 0;

DWORD WINAPI Watch(void* /*parameter*/) {
  for (;;) {
    Sleep(500);
    const ULONGLONG end = g_end.load();
    if (end != 0 && GetTickCount64() > end) ReportHang();
  }
}

}  // namespace

void StartTimer(std::chrono::seconds limit) {
  static const HANDLE watcher = CreateThread(nullptr, 0, &Watch, nullptr, 0, nullptr);
  if (watcher == nullptr) std::abort();
  g_end = GetTickCount64() + static_cast<ULONGLONG>(limit.count()) * 1000;
}

void StopTimer() { g_end = 0; }

void WriteOut(const char* text) {
  DWORD written = 0;
  WriteFile(GetStdHandle(STD_OUTPUT_HANDLE), text, static_cast<DWORD>(std::strlen(text)), &written, nullptr);
}

// Not ExitProcess, which waits for locks that another thread may hold.
void EndNow(int exit_code) {
  TerminateProcess(GetCurrentProcess(), static_cast<UINT>(exit_code));
  std::abort();
}

}  // namespace orv_test
