#include "OrvWorkFlow/OrvBase.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <new>
#include <thread>
#include <utility>

#include "runtime/NeverDestroyed.h"
#include "runtime/thread/RuntimeThread.h"

namespace OrvWorkFlow::OrvBase {

namespace {

struct SourceState {
  std::mutex mutex;
  PrimitiveSource source;
};

constinit std::atomic<SleepFunction> sleep_function{nullptr};

PrimitiveSource GetPrimitiveSource() {
  SourceState& state = NeverDestroyed<SourceState>();
  const std::lock_guard lock(state.mutex);
  return state.source;
}

// A lock that fails leaves nothing to go on with: the operations are noexcept. Locking again what this thread holds
// costs a comparison: only the owner can find itself in `owner_`.
class RuntimeMutex final : public Mutex {
 public:
  void Lock() noexcept override {
    const std::thread::id self = std::this_thread::get_id();
    if (!Reenter(self)) {
      mutex_.lock();
      Own(self);
    }
  }
  void Unlock() noexcept override {
    if (--depth_ == 0) {
      owner_.store({}, std::memory_order_relaxed);
      mutex_.unlock();
    }
  }
  bool TryLock() noexcept override {
    const std::thread::id self = std::this_thread::get_id();
    if (Reenter(self)) {
      return true;
    }
    if (!mutex_.try_lock()) {
      return false;
    }
    Own(self);
    return true;
  }
  void Release() noexcept override { delete this; }

 private:
  bool Reenter(std::thread::id self) noexcept {
    if (owner_.load(std::memory_order_relaxed) != self) {
      return false;
    }
    ++depth_;
    return true;
  }
  void Own(std::thread::id self) noexcept {
    owner_.store(self, std::memory_order_relaxed);
    depth_ = 1;
  }

  std::mutex mutex_;
  std::atomic<std::thread::id> owner_;
  std::uint64_t depth_ = 0;  // Guarded by mutex_.
};

class RuntimeEvent final : public Event {
 public:
  void Reset() noexcept override {
    const std::lock_guard lock(mutex_);
    is_set_ = false;
  }

  void Set() noexcept override {
    // Under the lock, so that a waiter may release the event as soon as it wakes.
    const std::lock_guard lock(mutex_);
    is_set_ = true;
    changed_.notify_all();
  }

  bool Wait(unsigned milliseconds) noexcept override {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, std::chrono::milliseconds(milliseconds), [this] { return is_set_; });
  }

  void Release() noexcept override {
    {
      const std::lock_guard lock(mutex_);  // The setter that woke the releasing thread has left.
    }
    delete this;
  }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  bool is_set_ = false;
};

// What `own` makes, or the host's maker when there is one; null for whatever goes wrong.
template <class Primitive, class Own>
Primitive* NewPrimitive(Primitive* (*PrimitiveSource::*maker)()) noexcept {
  try {
    const PrimitiveSource source = GetPrimitiveSource();
    return source.*maker != nullptr ? (source.*maker)() : new Own;
  } catch (...) {
    return nullptr;
  }
}

}  // namespace

Thread* Thread::GetNewThread() { return NewPrimitive<Thread, RuntimeThread>(&PrimitiveSource::new_thread); }

Mutex* Mutex::GetNewMutex() { return NewPrimitive<Mutex, RuntimeMutex>(&PrimitiveSource::new_mutex); }

Event* Event::GetNewEvent() { return NewPrimitive<Event, RuntimeEvent>(&PrimitiveSource::new_event); }

PrimitiveSource SetPrimitiveSource(PrimitiveSource source) noexcept {
  SourceState& state = NeverDestroyed<SourceState>();
  const std::lock_guard lock(state.mutex);
  return std::exchange(state.source, source);
}

void SleepMilliseconds(unsigned milliseconds) {
  const SleepFunction function = sleep_function.load(std::memory_order_acquire);
  if (function != nullptr) {
    function(milliseconds);
  } else {
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
  }
}

SleepFunction SetSleepFunction(SleepFunction function) noexcept {
  return sleep_function.exchange(function, std::memory_order_acq_rel);
}

}  // namespace OrvWorkFlow::OrvBase
