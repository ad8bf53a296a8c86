#include "OrvWorkFlow/OrvBase.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <new>
#include <thread>
#include <utility>

#include "base/guard/Guarded.h"
#include "base/lock/Mutex.h"
#include "base/lock/RecursiveMutex.h"
#include "runtime/NeverDestroyed.h"
#include "runtime/thread/RuntimeThread.h"

namespace OrvWorkFlow::OrvBase {

namespace {

struct SourceState {
  Base::Mutex mutex;
  PrimitiveSource source ORV_GUARDED_BY(mutex);
};

constinit std::atomic<SleepFunction> sleep_function{nullptr};

PrimitiveSource GetPrimitiveSource() {
  SourceState& state = Runtime::NeverDestroyed<SourceState>();
  const Base::Hold lock(state.mutex);
  return state.source;
}

// Leaves the processor to what else it does, for some ten cycles.
void Pause() noexcept {
#if __has_builtin(__builtin_ia32_pause)
  __builtin_ia32_pause();
#endif
}

// A lock that fails leaves nothing to go on with: the operations are noexcept.
class RuntimeMutex final : public Mutex {
 public:
  void Lock() noexcept override ORV_NO_THREAD_CHECK {
    if (!mutex_.try_lock()) LockAfterPauses();
  }
  void Unlock() noexcept override ORV_NO_THREAD_CHECK { mutex_.unlock(); }
  bool TryLock() noexcept override ORV_NO_THREAD_CHECK { return mutex_.try_lock(); }
  void Release() noexcept override { delete this; }

 private:
  // Who sleeps at once costs the holder a call of the system, and itself the time to be woken. A thread that fires and
  // the pump, which hold the engine mutex for hardly a moment, would do that at each signal as soon as they fall into
  // step.
  [[gnu::noinline]] void LockAfterPauses() noexcept ORV_NO_THREAD_CHECK {
    constexpr int kMostPauses = 32;  // in all about a microsecond
    for (int pauses = 1; pauses <= kMostPauses; pauses *= 2) {
      for (int i = 0; i < pauses; ++i) Pause();
      if (mutex_.try_lock()) return;
    }
    mutex_.lock();
  }

  Base::RecursiveMutex mutex_;
};

class RuntimeEvent final : public Event {
 public:
  void Reset() noexcept override {
    const Base::Hold lock(mutex_);
    is_set_ = false;
  }

  void Set() noexcept override {
    // Under the lock, so that a waiter may release the event as soon as it wakes.
    const Base::Hold lock(mutex_);
    is_set_ = true;
    changed_.NotifyAll();
  }

  bool Wait(unsigned milliseconds) noexcept override {
    const auto time = std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds);
    const Base::Hold lock(mutex_);
    while (!is_set_ && changed_.WaitUntil(mutex_, time)) {
    }
    return is_set_;
  }

  void Release() noexcept override {
    {
      const Base::Hold lock(mutex_);  // The setter that woke the releasing thread has left.
    }
    delete this;
  }

 private:
  Base::Mutex mutex_;
  Base::Condition changed_;
  bool is_set_ ORV_GUARDED_BY(mutex_) = false;
};

// What `own` makes, or the host's maker when there is one; null for whatever goes wrong.
template <class Primitive, class Own>
Primitive* NewPrimitive(Primitive* (*PrimitiveSource::*maker)()) noexcept {
  return Base::Guarded([&] {
    const PrimitiveSource source = GetPrimitiveSource();
    return source.*maker != nullptr ? (source.*maker)() : new Own;
  });
}

}  // namespace

Thread* Thread::GetNewThread() { return NewPrimitive<Thread, Runtime::RuntimeThread>(&PrimitiveSource::new_thread); }

Mutex* Mutex::GetNewMutex() { return NewPrimitive<Mutex, RuntimeMutex>(&PrimitiveSource::new_mutex); }

Event* Event::GetNewEvent() { return NewPrimitive<Event, RuntimeEvent>(&PrimitiveSource::new_event); }

PrimitiveSource SetPrimitiveSource(PrimitiveSource source) noexcept {
  SourceState& state = Runtime::NeverDestroyed<SourceState>();
  const Base::Hold lock(state.mutex);
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
