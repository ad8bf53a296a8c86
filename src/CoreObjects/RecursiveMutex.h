// A mutex that its owner may lock again. std::recursive_mutex does the same, but with MinGW it keeps memory that is
// never given back.
#pragma once

#include <atomic>
#include <mutex>
#include <thread>

namespace OrvWorkFlow::Core {

// BasicLockable. To be unlocked as often as it was locked, by the same thread.
class RecursiveMutex {
 public:
  void lock() {
    const std::thread::id self = std::this_thread::get_id();
    if (owner_.load(std::memory_order_relaxed) != self) {  // only its owner can find itself there
      mutex_.lock();
      owner_.store(self, std::memory_order_relaxed);
    }
    ++depth_;
  }
  void unlock() {
    if (--depth_ != 0) return;
    owner_.store({}, std::memory_order_relaxed);
    mutex_.unlock();
  }

 private:
  std::mutex mutex_;
  std::atomic<std::thread::id> owner_;
  unsigned depth_ = 0;  // Guarded by the mutex.
};

}  // namespace OrvWorkFlow::Core
