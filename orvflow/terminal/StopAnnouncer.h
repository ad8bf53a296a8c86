// Passes the wish that a run stop on to the run, and tells the user when the stop has to wait.
#pragma once

#include <functional>
#include <thread>

#include "base/lock/Mutex.h"

namespace OrvWorkFlow::Program {

// One at a time, after WatchForStopRequests. Has a thread of its own, so that a terminal that takes nothing holds up
// no run.
class StopAnnouncer {
 public:
  // Both are called on that thread, at most once: `requested` at once, `waits` when this object is still there some
  // tenths of a second later. They may throw.
  StopAnnouncer(std::function<void()> requested, std::function<void()> waits);
  StopAnnouncer(const StopAnnouncer&) = delete;
  StopAnnouncer& operator=(const StopAnnouncer&) = delete;
  ~StopAnnouncer();

 private:
  void Listen();

  const std::function<void()> requested_;
  const std::function<void()> waits_;
  Base::Mutex mutex_;
  Base::Condition changed_;
  bool ended_ ORV_GUARDED_BY(mutex_) = false;
  std::thread thread_;  // Last, so that it finds the others made.
};

}  // namespace OrvWorkFlow::Program
