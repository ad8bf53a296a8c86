// What a thread waits for that others wake.
#pragma once

#include <chrono>
#include <mutex>

#include "base/lock/Mutex.h"

namespace OrvWorkFlow::Host {

// Any thread rings; one waits.
class Bell {
 public:
  using Clock = std::chrono::steady_clock;

  void Ring() {
    {
      const Base::Hold lock(mutex_);
      rung_ = true;
    }
    changed_.NotifyOne();
  }

  // Returns when the bell has rung since the last wait, at the latest at `time`.
  void WaitUntil(Clock::time_point time) {
    const Base::Hold lock(mutex_);
    while (!rung_ && changed_.WaitUntil(mutex_, time)) {
    }
    rung_ = false;
  }

 private:
  Base::Mutex mutex_;
  Base::Condition changed_;
  bool rung_ ORV_GUARDED_BY(mutex_) = false;
};

}  // namespace OrvWorkFlow::Host
