// The observer of a run, if the host has registered one.
#pragma once

#include <atomic>

#include "OrvWorkFlow/IRunObserver.h"

namespace OrvWorkFlow::Core {

// Any thread.
class RunObserverSlot {
 public:
  void Set(IRunObserver* observer) noexcept {
    version_.store(observer != nullptr ? observer->GetVersion() : 0, std::memory_order_relaxed);
    observer_.store(observer, std::memory_order_release);
  }

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

  // The same for an operation that older observers do not have.
  template <class... Parameters, class... Values>
  void TellSince(std::uint32_t version, void (IRunObserver::*operation)(Parameters...),
                 const Values&... values) const noexcept {
    if (observer_.load(std::memory_order_acquire) == nullptr) return;
    if (version_.load(std::memory_order_relaxed) >= version) Tell(operation, values...);
  }

  // See IRunObserver::NameDelivery.
  bool NameDelivery(std::uint64_t number, IRunObserver::DeliveryKey& key) const noexcept {
    constexpr std::uint32_t kSince = 3;
    IRunObserver* const observer = observer_.load(std::memory_order_acquire);
    if (observer == nullptr || version_.load(std::memory_order_relaxed) < kSince) return false;
    try {
      return observer->NameDelivery(number, key);
    } catch (...) {
      return false;
    }
  }

 private:
  std::atomic<std::uint32_t> version_ = 0;
  std::atomic<IRunObserver*> observer_ = nullptr;
};

}  // namespace OrvWorkFlow::Core
