#include "base/windows/WindowsApi.h"

#include <atomic>

#include "orvflow/terminal/StatusLine.h"
#include "orvflow/terminal/StopRequest.h"

namespace OrvWorkFlow::Program {

namespace {

constexpr ULONGLONG kOneWish = 1000;  // milliseconds

std::atomic<StopRequest> requested{StopRequest::None};
std::atomic<ULONGLONG> first_time{0};
std::atomic<bool> wait_ended{false};
HANDLE changed = nullptr;  // Set for the thread that waits; the process's end closes it.

// Exit codes of a program that does not wait for its own end any more.
constexpr UINT kInterrupted = 130;
constexpr UINT kTerminated = 143;

// Gives the time of the first wish, 0 where it is this one.
ULONGLONG Remember(StopRequest request, ULONGLONG now) {
  ULONGLONG first = 0;
  if (!first_time.compare_exchange_strong(first, now)) return first;
  requested.store(request);
  SetEvent(changed);
  return 0;
}

ULONGLONG Now() { return GetTickCount64() + 1; }  // never 0

// Runs on a thread of its own. The system ends the process when this returns from the closing of the console, so it
// then leaves the end to the program (the system's patience is some seconds).
BOOL WINAPI RememberStop(DWORD event) {
  const bool interrupt = event == CTRL_C_EVENT || event == CTRL_BREAK_EVENT;
  const ULONGLONG now = Now();
  const ULONGLONG first = Remember(interrupt ? StopRequest::Interrupt : StopRequest::Terminate, now);
  if (first != 0 && now - first >= kOneWish) {
    StatusLine::EraseAtOnce();
    TerminateProcess(GetCurrentProcess(), interrupt ? kInterrupted : kTerminated);
  }
  if (!interrupt) Sleep(INFINITE);
  return TRUE;
}

}  // namespace

void WatchForStopRequests() {
  if (changed == nullptr) changed = CreateEventA(nullptr, FALSE, FALSE, nullptr);
  SetConsoleCtrlHandler(&RememberStop, TRUE);
}

void AskToStop(StopRequest request) { Remember(request, Now()); }

StopRequest RequestedStop() { return requested.load(); }

const char* NameOf(StopRequest request) {
  if (request == StopRequest::Page) return "its page";
  return request == StopRequest::Interrupt ? "Ctrl-C" : "the closing of the console";
}

bool WaitForStopRequest() {
  while (requested.load() == StopRequest::None && !wait_ended.exchange(false)) WaitForSingleObject(changed, INFINITE);
  return requested.load() != StopRequest::None;
}

void EndStopWait() {
  wait_ended = true;
  SetEvent(changed);
}

}  // namespace OrvWorkFlow::Program
