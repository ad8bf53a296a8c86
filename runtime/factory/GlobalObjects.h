// The process's global objects, in the order in which they were made.
#pragma once

#include <atomic>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "OrvWorkFlow/IBaseWorkFlowObject.h"
#include "base/lock/Mutex.h"

namespace OrvWorkFlow::Runtime {

// Any thread. The lock is a leaf: no object is called while it is held.
class GlobalObjects {
 public:
  // Never destroyed: what is left at the end of the process is not released behind the back of its library.
  static GlobalObjects& Get();

  IBaseWorkFlowObject* Find(std::string_view name) const;
  // The object that has the name then: `object`, or the one that was there before.
  IBaseWorkFlowObject* Add(std::string_view name, IBaseWorkFlowObject* object, bool owned);
  // Has grown by the time a change can be seen; never 0.
  static std::uint64_t GetChangeCount() noexcept { return changes_.load(std::memory_order_acquire); }
  // Forgets all, the last added first, and releases the owned ones.
  void ReleaseAll();

 private:
  struct Global {
    std::string name;
    IBaseWorkFlowObject* object = nullptr;
    bool owned = false;
  };

  IBaseWorkFlowObject* FindLocked(std::string_view name) const ORV_REQUIRES(mutex_);
  bool TakeLast(Global* global);

  mutable Base::Mutex mutex_;
  std::vector<Global> globals_ ORV_GUARDED_BY(mutex_);
  static constinit inline std::atomic<std::uint64_t> changes_ = 1;
};

}  // namespace OrvWorkFlow::Runtime
