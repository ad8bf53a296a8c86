// The observer of a run, if the host has registered one.
#pragma once

#include <atomic>

#include "OrvWorkFlow/IRunObserver.h"

namespace OrvWorkFlow::Core {

// Any thread.
class RunObserverSlot {
 public:
  void Set(IRunObserver* observer) noexcept { observer_.store(observer, std::memory_order_release); }

  // To be asked before anything is made ready for the observer.
  explicit operator bool() const noexcept { return observer_.load(std::memory_order_relaxed) != nullptr; }

  // Calls an operation, if there is an observer. What it throws against its promise is dropped.
  template <class... Parameters, class... Values>
  void Tell(void (IRunObserver::*operation)(Parameters...), const Values&... values) const noexcept {
    IRunObserver* const observer = observer_.load(std::memory_order_acquire);
    if (observer == nullptr) return;
    try {
      (observer->*operation)(values...);
    } catch (...) {
    }
  }

 private:
  std::atomic<IRunObserver*> observer_ = nullptr;
};

}  // namespace OrvWorkFlow::Core
