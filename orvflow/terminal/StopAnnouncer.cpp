#include "orvflow/terminal/StopAnnouncer.h"

#include <chrono>
#include <utility>

#include "base/lock/Mutex.h"
#include "orvflow/terminal/StopRequest.h"

namespace OrvWorkFlow::Program {

namespace {

// A stop that has nothing to wait for takes a little over 200 ms.
constexpr std::chrono::milliseconds kUsualStop{400};

void CallQuietly(const std::function<void()>& call) {
  try {
    call();
  } catch (...) {  // A line less; the run stops all the same.
  }
}

}  // namespace

StopAnnouncer::StopAnnouncer(std::function<void()> requested, std::function<void()> waits)
    : requested_(std::move(requested)), waits_(std::move(waits)), thread_([this] { Listen(); }) {}

StopAnnouncer::~StopAnnouncer() {
  {
    const Base::Hold lock(mutex_);
    ended_ = true;
  }
  changed_.NotifyAll();
  EndStopWait();
  thread_.join();
}

void StopAnnouncer::Listen() {
  if (!WaitForStopRequest()) return;
  CallQuietly(requested_);
  {
    const auto time = std::chrono::steady_clock::now() + kUsualStop;
    const Base::Hold lock(mutex_);
    while (!ended_ && changed_.WaitUntil(mutex_, time)) {
    }
    if (ended_) return;
  }
  CallQuietly(waits_);
}

}  // namespace OrvWorkFlow::Program
