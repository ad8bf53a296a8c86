// The global dictionary on the road of a signal.
#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>

#include "CoreObjects/CoreObjects.h"
#include "CoreObjects/FindObject.h"
#include "OrvWorkFlow/IDictionary.h"
#include "OrvWorkFlow/WorkFlowFactory.h"

namespace OrvWorkFlow {

// Looks again whenever a global object has come or gone, and only then. Any thread.
class KnownGlobalDictionary {
 public:
  // Null when there is none.
  IDictionary* Get() noexcept {
    const std::uint64_t now = WorkFlowFactory::GetGlobalsChangeCount();
    if (known_at_.load(std::memory_order_acquire) == now) return dictionary_.load(std::memory_order_relaxed);
    IDictionary* const found =
        FindGlobalObject<IDictionary>(ObjectNames::kDictionary, InterfaceNames::kDictionary).get();
    const std::scoped_lock lock(mutex_);
    if (known_at_.load(std::memory_order_relaxed) < now) {
      dictionary_.store(found, std::memory_order_relaxed);
      known_at_.store(now, std::memory_order_release);
    }
    return found;
  }

 private:
  std::atomic<std::uint64_t> known_at_ = 0;
  std::atomic<IDictionary*> dictionary_ = nullptr;
  std::mutex mutex_;  // of two that look at once the later state stays
};

}  // namespace OrvWorkFlow
