// A mutex that its owner may lock again. std::recursive_mutex does the same, but with MinGW it keeps memory that is
// never given back.
#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>
#include <thread>

#include "base/lock/ThreadSafety.h"

namespace OrvWorkFlow::Base {

// Lockable. To be unlocked as often as it was locked, by the same thread.
class ORV_CAPABILITY RecursiveMutex {
 public:
  void lock() ORV_ACQUIRE() ORV_NO_THREAD_CHECK {
    const std::thread::id self = std::this_thread::get_id();
    if (owner_.load(std::memory_order_relaxed) != self) {  // only its owner can find itself there
      mutex_.lock();
      owner_.store(self, std::memory_order_relaxed);
    }
    ++depth_;
  }
  bool try_lock() ORV_TRY_ACQUIRE(true) ORV_NO_THREAD_CHECK {
    const std::thread::id self = std::this_thread::get_id();
    if (owner_.load(std::memory_order_relaxed) != self) {
      if (!mutex_.try_lock()) return false;
      owner_.store(self, std::memory_order_relaxed);
    }
    ++depth_;
    return true;
  }
  void unlock() ORV_RELEASE() ORV_NO_THREAD_CHECK {
    if (--depth_ != 0) return;
    owner_.store({}, std::memory_order_relaxed);
    mutex_.unlock();
  }

 private:
  std::mutex mutex_;
  std::atomic<std::thread::id> owner_;
  std::uint64_t depth_ = 0;  // Guarded by the mutex.
};

}  // namespace OrvWorkFlow::Base
