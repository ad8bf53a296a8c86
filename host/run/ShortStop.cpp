#include "host/run/ShortStop.h"

#include <algorithm>
#include <chrono>
#include <thread>

#include "OrvWorkFlow/OrvBase.h"

namespace OrvWorkFlow::Host {

namespace {

thread_local ISignalMediator* stopping = nullptr;

constexpr std::chrono::milliseconds kLook{2};

// Nodes that work on threads of their own are waited for when they are stopped, not before.
bool IsBetweenDeliveries(ISignalMediator& mediator) {
  ISignalMediator::Statistics statistics;
  return mediator.GetStatistics(&statistics) && statistics.sent == statistics.finished;
}

void Pause(unsigned milliseconds) {
  using Clock = std::chrono::steady_clock;
  const Clock::time_point end = Clock::now() + std::chrono::milliseconds(milliseconds);
  for (Clock::time_point now = Clock::now(); now < end; now = Clock::now()) {
    if (stopping != nullptr && IsBetweenDeliveries(*stopping)) return;
    std::this_thread::sleep_for(std::min<Clock::duration>(kLook, end - now));
  }
}

}  // namespace

ShortStop::ShortStop(ISignalMediator& mediator) {
  stopping = &mediator;
  OrvBase::SetSleepFunction(&Pause);
}

ShortStop::~ShortStop() {
  OrvBase::SetSleepFunction(nullptr);
  stopping = nullptr;
}

}  // namespace OrvWorkFlow::Host
