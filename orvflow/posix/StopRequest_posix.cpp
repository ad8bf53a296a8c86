#include "orvflow/terminal/StopRequest.h"

#include <semaphore.h>
#include <signal.h>
#include <time.h>

#include <atomic>
#include <cstdint>

#include "orvflow/terminal/StatusLine.h"

namespace OrvWorkFlow::Program {

namespace {

constexpr std::int64_t kOneWish = 1'000'000'000;  // nanoseconds

std::atomic<StopRequest> requested{StopRequest::None};
std::atomic<std::int64_t> first_time{0};
static_assert(std::atomic<StopRequest>::is_always_lock_free && std::atomic<std::int64_t>::is_always_lock_free,
              "a signal handler may only touch what never locks");

sem_t changed;  // Posted for the thread that waits.
std::atomic<bool> wait_ended{false};

StopRequest RequestOf(int signal_number) {
  if (signal_number == SIGINT) return StopRequest::Interrupt;
  return signal_number == SIGHUP ? StopRequest::HangUp : StopRequest::Terminate;
}

std::int64_t Now() {
  struct timespec clock = {};
  clock_gettime(CLOCK_MONOTONIC, &clock);
  return clock.tv_sec * std::int64_t{1'000'000'000} + clock.tv_nsec + 1;  // never 0
}

// Gives the time of the first wish, 0 where it is this one.
std::int64_t Remember(StopRequest request, std::int64_t now) {
  std::int64_t first = 0;
  if (!first_time.compare_exchange_strong(first, now)) return first;
  requested.store(request);
  sem_post(&changed);
  return 0;
}

// Only what a signal handler may call.
extern "C" void RememberStop(int signal_number) {
  const std::int64_t now = Now();
  const std::int64_t first = Remember(RequestOf(signal_number), now);
  if (first == 0) return;
  if (now - first >= kOneWish) {
    StatusLine::EraseAtOnce();
    signal(signal_number, SIG_DFL);
    raise(signal_number);  // Comes when this handler returns.
  }
}

extern "C" void LeaveItToTheCall(int /*signal_number*/) {}

bool IsIgnored(int signal_number) {
  struct sigaction action = {};
  return sigaction(signal_number, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

}  // namespace

void WatchForStopRequests() {
  sem_init(&changed, 0, 0);
  struct sigaction action = {};
  action.sa_handler = &RememberStop;
  action.sa_flags = SA_RESTART;
  sigemptyset(&action.sa_mask);
  sigaction(SIGINT, &action, nullptr);
  sigaction(SIGTERM, &action, nullptr);
  if (!IsIgnored(SIGHUP)) sigaction(SIGHUP, &action, nullptr);
  // Not ignored, but handled: the processes that nodes start have the system's way again.
  action.sa_handler = &LeaveItToTheCall;
  sigaction(SIGPIPE, &action, nullptr);
  sigaction(SIGXFSZ, &action, nullptr);
}

void AskToStop(StopRequest request) { Remember(request, Now()); }

StopRequest RequestedStop() { return requested.load(); }

const char* NameOf(StopRequest request) {
  switch (request) {
    case StopRequest::Interrupt:
      return "Ctrl-C";
    case StopRequest::HangUp:
      return "SIGHUP";
    case StopRequest::Page:
      return "its page";
    default:
      return "SIGTERM";
  }
}

bool WaitForStopRequest() {
  while (requested.load() == StopRequest::None && !wait_ended.exchange(false)) sem_wait(&changed);
  return requested.load() != StopRequest::None;
}

void EndStopWait() {
  wait_ended = true;
  sem_post(&changed);
}

}  // namespace OrvWorkFlow::Program
