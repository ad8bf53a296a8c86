// A thread that calls a function when a time has come.
#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <optional>
#include <thread>

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
      const std::lock_guard lock(mutex_);
      ended_ = true;
    }
    changed_.notify_all();
    thread_.join();
  }

  // Calls the function at that time, once, unless another time is set before; nothing means never.
  void Set(std::optional<Clock::time_point> time) {
    {
      const std::lock_guard lock(mutex_);
      time_ = time;
    }
    changed_.notify_all();
  }

 private:
  void Wait() {
    std::unique_lock lock(mutex_);
    while (!ended_) {
      if (!time_) {
        changed_.wait(lock);
      } else if (Clock::now() < *time_) {
        changed_.wait_until(lock, *time_);
      } else {
        time_.reset();
        lock.unlock();
        call_();
        lock.lock();
      }
    }
  }

  const std::function<void()> call_;
  std::mutex mutex_;
  std::condition_variable changed_;
  std::optional<Clock::time_point> time_;
  bool ended_ = false;
  std::thread thread_;  // Last, so that it finds the others made.
};

}  // namespace OrvWorkFlow::Host
