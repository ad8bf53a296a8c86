// Ends the test program with a message when a scope takes longer than it may: a hanging test must not hang the run.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <thread>

namespace orv_test {

class TimeLimit {
 public:
  explicit TimeLimit(std::chrono::seconds limit) : watcher_([this, limit] { Watch(limit); }) {}
  ~TimeLimit() {
    {
      const std::lock_guard lock(mutex_);
      done_ = true;
    }
    changed_.notify_all();
    watcher_.join();
  }
  TimeLimit(const TimeLimit&) = delete;
  TimeLimit& operator=(const TimeLimit&) = delete;

 private:
  void Watch(std::chrono::seconds limit) {
    std::unique_lock lock(mutex_);
    if (!changed_.wait_for(lock, limit, [this] { return done_; })) {
      std::fprintf(stderr, "a test took longer than its limit of %ld s\n", static_cast<long>(limit.count()));
      std::_Exit(3);
    }
  }

  std::mutex mutex_;
  std::condition_variable changed_;
  bool done_ = false;
  std::thread watcher_;  // Last: it uses the others.
};

}  // namespace orv_test
