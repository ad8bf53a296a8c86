// Another object, looked up by name when it is needed and kept once it was found.
#pragma once

#include <atomic>
#include <cstdint>
#include <utility>

#include "CoreObjects/FindObject.h"
#include "OrvWorkFlow/WorkFlowFactory.h"
#include "base/lock/Mutex.h"

namespace OrvWorkFlow::Core {

// Any thread. What came from a utility store is released with the holder.
template <class Interface>
class LazyObject {
 public:
  LazyObject(FindOrder order, const char* object_name, const char* interface_name)
      : order_(order), object_name_(object_name), interface_name_(interface_name) {}

  // Null while there is none; the next call then looks again: in the store every time, among the global objects when
  // one has come or gone since. No lock is held during the look-up; of two threads that find at once one keeps its
  // find.
  Interface* Get(IUtilityStore* store) noexcept {
    if (Interface* known = face_.load(std::memory_order_acquire)) return known;
    const std::uint64_t globals = WorkFlowFactory::GetGlobalsChangeCount();
    const bool may_be_global = not_global_at_.load(std::memory_order_relaxed) != globals;
    return store == nullptr && !may_be_global ? nullptr : Look(store, globals);
  }

 private:
  // Seldom, and so not to be in the way of what calls Get for each signal.
  [[gnu::noinline]] Interface* Look(IUtilityStore* store, std::uint64_t globals) noexcept {
    if (not_global_at_.load(std::memory_order_relaxed) == globals) {
      return Keep(MakeObjectFromStore<Interface>(store, object_name_, interface_name_));
    }
    Interface* const face = Keep(FindObject<Interface>(order_, store, object_name_, interface_name_));
    if (face == nullptr && WorkFlowFactory::GetGlobalObj(object_name_) == nullptr) {
      not_global_at_.store(globals, std::memory_order_relaxed);
    }
    return face;
  }

  Interface* Keep(Found<Interface> found) noexcept {
    if (!found) return nullptr;
    const Base::Hold lock(mutex_);
    if (!held_) held_ = std::move(found);
    face_.store(held_.get(), std::memory_order_release);
    return held_.get();
  }

  const FindOrder order_;
  const char* const object_name_;
  const char* const interface_name_;
  std::atomic<Interface*> face_ = nullptr;
  std::atomic<std::uint64_t> not_global_at_ = 0;  // the change count at which no such global object was there
  Base::Mutex mutex_;
  Found<Interface> held_ ORV_GUARDED_BY(mutex_);
};

}  // namespace OrvWorkFlow::Core
