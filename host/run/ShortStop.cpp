#include "host/run/ShortStop.h"

#include <chrono>
#include <thread>

#include "OrvWorkFlow/OrvBase.h"

namespace OrvWorkFlow::Host {

namespace {

thread_local ISignalMediator* stopping = nullptr;

bool IsAtRest(ISignalMediator& mediator) {
  ISignalMediator::Statistics statistics;
  return mediator.GetStatistics(&statistics) && statistics.sent == statistics.finished && statistics.busy == 0;
}

void Pause(unsigned milliseconds) {
  if (stopping != nullptr && IsAtRest(*stopping)) return;
  std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
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
