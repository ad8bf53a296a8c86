#include "orvflow/terminal/StopAnnouncer.h"

#include <chrono>
#include <utility>

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
    const std::lock_guard lock(mutex_);
    ended_ = true;
  }
  changed_.notify_all();
  EndStopWait();
  thread_.join();
}

void StopAnnouncer::Listen() {
  if (!WaitForStopRequest()) return;
  CallQuietly(requested_);
  {
    std::unique_lock lock(mutex_);
    if (changed_.wait_for(lock, kUsualStop, [this] { return ended_; })) return;
  }
  CallQuietly(waits_);
}

}  // namespace OrvWorkFlow::Program
