#include <signal.h>

#include <atomic>

#include "orvflow/StopRequest.h"

namespace OrvWorkFlow::Program {

namespace {

std::atomic<StopRequest> requested{StopRequest::None};
static_assert(std::atomic<StopRequest>::is_always_lock_free, "a signal handler may only touch what never locks");

extern "C" void RememberStop(int signal_number) {
  requested.store(signal_number == SIGINT ? StopRequest::Interrupt : StopRequest::Terminate);
}

}  // namespace

void WatchForStopRequests() {
  struct sigaction action = {};
  action.sa_handler = &RememberStop;
  action.sa_flags = static_cast<int>(SA_RESETHAND) | SA_RESTART;
  sigemptyset(&action.sa_mask);
  sigaction(SIGINT, &action, nullptr);
  sigaction(SIGTERM, &action, nullptr);
}

StopRequest RequestedStop() { return requested.load(); }

const char* NameOf(StopRequest request) { return request == StopRequest::Interrupt ? "Ctrl-C" : "SIGTERM"; }

}  // namespace OrvWorkFlow::Program
