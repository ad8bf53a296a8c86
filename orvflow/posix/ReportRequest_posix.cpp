#include <signal.h>

#include <atomic>

#include "orvflow/terminal/ReportRequest.h"

namespace OrvWorkFlow::Program {

namespace {

std::atomic<bool> requested{false};
static_assert(std::atomic<bool>::is_always_lock_free, "a signal handler may only touch what never locks");

extern "C" void RememberReportRequest(int /*signal_number*/) { requested.store(true); }

}  // namespace

void WatchForReportRequests() {
  struct sigaction action = {};
  action.sa_handler = &RememberReportRequest;
  action.sa_flags = SA_RESTART;
  sigemptyset(&action.sa_mask);
  sigaction(SIGUSR1, &action, nullptr);
}

bool TakeReportRequest() { return requested.exchange(false); }

}  // namespace OrvWorkFlow::Program
