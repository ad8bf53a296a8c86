// A thread that calls a function when a time has come.
#pragma once

#include <chrono>
#include <functional>
#include <mutex>
#include <optional>
#include <thread>

#include "base/lock/Mutex.h"

namespace OrvWorkFlow::Host {

// The thread is there from the beginning, so that setting the alarm cannot fail. Its operations may be called by any
// thread; its end waits for a call that runs.
class Alarm {
 public:
  using Clock = std::chrono::steady_clock;

  explicit Alarm(std::function<void()> call) : call_(std::move(call)), thread_([this] { Wait(); }) {}
  Alarm(const Alarm&) = delete;
  Alarm& operator=(const Alarm&) = delete;
  ~Alarm() {
    {
      const Base::Hold lock(mutex_);
      ended_ = true;
    }
    changed_.NotifyAll();
    thread_.join();
  }

  // Calls the function at that time, once, unless another time is set before; nothing means never.
  void Set(std::optional<Clock::time_point> time) {
    {
      const Base::Hold lock(mutex_);
      time_ = time;
    }
    changed_.NotifyAll();
  }

 private:
  void Wait() {
    const Base::Hold lock(mutex_);
    while (!ended_) {
      if (!time_) {
        changed_.Wait(mutex_);
      } else if (Clock::now() < *time_) {
        changed_.WaitUntil(mutex_, Clock::time_point(*time_));
      } else {
        time_.reset();
        const Base::Released released(mutex_);
        call_();
      }
    }
  }

  const std::function<void()> call_;
  Base::Mutex mutex_;
  Base::Condition changed_;
  std::optional<Clock::time_point> time_ ORV_GUARDED_BY(mutex_);
  bool ended_ ORV_GUARDED_BY(mutex_) = false;
  std::thread thread_;  // Last, so that it finds the others made.
};

}  // namespace OrvWorkFlow::Host
