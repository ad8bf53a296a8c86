#define WIN32_LEAN_AND_MEAN
#ifndef NOMINMAX
#define NOMINMAX
#endif
#define NOGDI
#include <windows.h>

#include <atomic>

#include "orvflow/StopRequest.h"

namespace OrvWorkFlow::Program {

namespace {

std::atomic<StopRequest> requested{StopRequest::None};

// Exit codes of a program that does not wait for its own end any more.
constexpr UINT kInterrupted = 130;
constexpr UINT kTerminated = 143;

// Runs on a thread of its own. The system ends the process when this returns from the closing of the console, so it
// then leaves the end to the program (the system's patience is some seconds).
BOOL WINAPI RememberStop(DWORD event) {
  const bool interrupt = event == CTRL_C_EVENT || event == CTRL_BREAK_EVENT;
  StopRequest expected = StopRequest::None;
  const StopRequest wanted = interrupt ? StopRequest::Interrupt : StopRequest::Terminate;
  if (!requested.compare_exchange_strong(expected, wanted)) {
    TerminateProcess(GetCurrentProcess(), interrupt ? kInterrupted : kTerminated);
  }
  if (!interrupt) Sleep(INFINITE);
  return TRUE;
}

}  // namespace

void WatchForStopRequests() { SetConsoleCtrlHandler(&RememberStop, TRUE); }

StopRequest RequestedStop() { return requested.load(); }

const char* NameOf(StopRequest request) {
  return request == StopRequest::Interrupt ? "Ctrl-C" : "the closing of the console";
}

}  // namespace OrvWorkFlow::Program
