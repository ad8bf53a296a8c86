// What a thread waits for that others wake.
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace OrvWorkFlow::Host {

// Any thread rings; one waits.
class Bell {
 public:
  using Clock = std::chrono::steady_clock;

  void Ring() {
    {
      const std::lock_guard lock(mutex_);
      rung_ = true;
    }
    changed_.notify_one();
  }

  // Returns when the bell has rung since the last wait, at the latest at `time`.
  void WaitUntil(Clock::time_point time) {
    std::unique_lock lock(mutex_);
    changed_.wait_until(lock, time, [this] { return rung_; });
    rung_ = false;
  }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  bool rung_ = false;
};

}  // namespace OrvWorkFlow::Host
