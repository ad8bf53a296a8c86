// Mutexes that clang's analysis knows, so that it sees each member that one of them guards.
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

#include "base/lock/ThreadSafety.h"

namespace OrvWorkFlow::Base {

class ORV_CAPABILITY Mutex {
 public:
  Mutex() = default;
  Mutex(const Mutex&) = delete;
  Mutex& operator=(const Mutex&) = delete;

  void lock() ORV_ACQUIRE() { mutex_.lock(); }
  void unlock() ORV_RELEASE() { mutex_.unlock(); }

 private:
  friend class Condition;
  std::mutex mutex_;
};

// Holds a mutex of either kind for a scope.
template <class Lockable>
class ORV_SCOPED_CAPABILITY Hold {
 public:
  explicit Hold(Lockable& mutex) ORV_ACQUIRE(mutex) : mutex_(mutex) { mutex_.lock(); }
  ~Hold() ORV_RELEASE() { mutex_.unlock(); }
  Hold(const Hold&) = delete;
  Hold& operator=(const Hold&) = delete;

 private:
  Lockable& mutex_;
};

// Frees a mutex that is held, for a scope within. The analysis does not see it: nothing that is guarded may be touched
// there.
template <class Lockable>
class Released {
 public:
  explicit Released(Lockable& mutex) ORV_NO_THREAD_CHECK : mutex_(mutex) { mutex_.unlock(); }
  ~Released() ORV_NO_THREAD_CHECK { mutex_.lock(); }
  Released(const Released&) = delete;
  Released& operator=(const Released&) = delete;

 private:
  Lockable& mutex_;
};

// What threads wait for with a mutex held, which is free while they wait. To be asked in a loop: a wait may end without
// a reason.
class Condition {
 public:
  void Wait(Mutex& mutex) ORV_REQUIRES(mutex) {
    std::unique_lock<std::mutex> lock(mutex.mutex_, std::adopt_lock);
    condition_.wait(lock);
    lock.release();
  }
  // False when the time has come.
  template <class Clock, class Duration>
  bool WaitUntil(Mutex& mutex, const std::chrono::time_point<Clock, Duration>& time) ORV_REQUIRES(mutex) {
    std::unique_lock<std::mutex> lock(mutex.mutex_, std::adopt_lock);
    const std::cv_status status = condition_.wait_until(lock, time);
    lock.release();
    return status == std::cv_status::no_timeout;
  }
  void NotifyOne() noexcept { condition_.notify_one(); }
  void NotifyAll() noexcept { condition_.notify_all(); }

 private:
  std::condition_variable condition_;
};

}  // namespace OrvWorkFlow::Base
