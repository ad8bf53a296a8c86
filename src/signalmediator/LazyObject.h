// An object of another subsystem or of the host, looked up by name when it is needed and kept once it was found.
#pragma once

#include <atomic>
#include <mutex>
#include <utility>

#include "CoreObjects/FindObject.h"

namespace OrvWorkFlow {

// Any thread. Global objects come first, then the store is asked to make one, which this holder then owns.
template <class Interface>
class LazyObject {
 public:
  LazyObject(const char* object_name, const char* interface_name)
      : object_name_(object_name), interface_name_(interface_name) {}

  // Null while there is none; then the next call looks again.
  Interface* Get(IUtilityStore* store) noexcept {
    if (Interface* face = face_.load(std::memory_order_acquire)) return face;
    Found<Interface> found = FindObject<Interface>(FindOrder::GlobalFirst, store, object_name_, interface_name_);
    if (!found) return nullptr;
    // Of two threads that found it at the same time the first is kept; what the second made goes after the lock.
    const std::scoped_lock lock(mutex_);
    if (!kept_) {
      kept_ = std::move(found);
      face_.store(kept_.get(), std::memory_order_release);
    }
    return kept_.get();
  }

 private:
  const char* const object_name_;
  const char* const interface_name_;
  std::mutex mutex_;
  Found<Interface> kept_;
  std::atomic<Interface*> face_ = nullptr;
};

}  // namespace OrvWorkFlow
