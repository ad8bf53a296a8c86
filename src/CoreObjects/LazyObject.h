// Another object, looked up by name when it is needed and kept once it was found.
#pragma once

#include <atomic>
#include <mutex>
#include <utility>

#include "CoreObjects/FindObject.h"

namespace OrvWorkFlow {

// Any thread. What came from a utility store is released with the holder.
template <class Interface>
class LazyObject {
 public:
  LazyObject(FindOrder order, const char* object_name, const char* interface_name)
      : order_(order), object_name_(object_name), interface_name_(interface_name) {}

  // Null while there is none; the next call then looks again. No lock is held during the look-up; of two threads that
  // find at once one keeps its find.
  Interface* Get(IUtilityStore* store) noexcept {
    if (Interface* known = face_.load(std::memory_order_acquire)) return known;
    Found<Interface> found = FindObject<Interface>(order_, store, object_name_, interface_name_);
    if (!found) return nullptr;
    const std::scoped_lock lock(mutex_);
    if (!held_) held_ = std::move(found);
    face_.store(held_.get(), std::memory_order_release);
    return held_.get();
  }

 private:
  const FindOrder order_;
  const char* const object_name_;
  const char* const interface_name_;
  std::atomic<Interface*> face_ = nullptr;
  std::mutex mutex_;
  Found<Interface> held_;
};

}  // namespace OrvWorkFlow
