#include "runtime/factory/GlobalObjects.h"

#include <utility>

#include "base/lock/Mutex.h"
#include "runtime/NeverDestroyed.h"

namespace OrvWorkFlow::Runtime {

GlobalObjects& GlobalObjects::Get() { return NeverDestroyed<GlobalObjects>(); }

IBaseWorkFlowObject* GlobalObjects::FindLocked(std::string_view name) const {
  for (const Global& global : globals_) {
    if (global.name == name) {
      return global.object;
    }
  }
  return nullptr;
}

IBaseWorkFlowObject* GlobalObjects::Find(std::string_view name) const {
  const Base::Hold lock(mutex_);
  return FindLocked(name);
}

IBaseWorkFlowObject* GlobalObjects::Add(std::string_view name, IBaseWorkFlowObject* object, bool owned) {
  const Base::Hold lock(mutex_);
  if (IBaseWorkFlowObject* const present = FindLocked(name)) {
    return present;
  }
  globals_.push_back(Global{std::string(name), object, owned});
  changes_.fetch_add(1, std::memory_order_release);
  return object;
}

bool GlobalObjects::TakeLast(Global* global) {
  const Base::Hold lock(mutex_);
  if (globals_.empty()) {
    return false;
  }
  changes_.fetch_add(1, std::memory_order_release);
  *global = std::move(globals_.back());
  globals_.pop_back();
  return true;
}

void GlobalObjects::ReleaseAll() {
  Global global;
  while (TakeLast(&global)) {
    if (!global.owned) {
      continue;
    }
    try {
      global.object->Release();
    } catch (...) {
      // The others still have to go.
    }
  }
}

}  // namespace OrvWorkFlow::Runtime
