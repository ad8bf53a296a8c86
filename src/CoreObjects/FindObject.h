// Finding other objects by name: among the factory's global objects, or made by the utility store.
#pragma once

#include <utility>

#include "OrvWorkFlow/IBaseWorkFlowObject.h"
#include "OrvWorkFlow/IUtilityStore.h"

namespace OrvWorkFlow::Core {

// An object seen through one interface, and whether it has to be released in the end.
template <class Interface>
class Found {
 public:
  Found() = default;
  Found(IBaseWorkFlowObject* owned, Interface* face) : owned_(owned), face_(face) {}
  Found(Found&& other) noexcept
      : owned_(std::exchange(other.owned_, nullptr)), face_(std::exchange(other.face_, nullptr)) {}
  Found& operator=(Found&& other) noexcept {
    std::swap(owned_, other.owned_);
    std::swap(face_, other.face_);
    return *this;
  }
  ~Found() {
    if (owned_ == nullptr) return;
    try {
      owned_->Release();
    } catch (...) {  // A host's object may throw; there is nobody to tell.
    }
  }

  // Leaves the object to whoever else has it.
  void Forget() noexcept {
    owned_ = nullptr;
    face_ = nullptr;
  }

  Interface* get() const { return face_; }
  Interface* operator->() const { return face_; }
  explicit operator bool() const { return face_ != nullptr; }

 private:
  IBaseWorkFlowObject* owned_ = nullptr;
  Interface* face_ = nullptr;
};

// The two ways to an object. Each gives a null interface when the object is missing, does not answer to the interface,
// or throws; a made object that does not fit is released at once. `owned` is null for a global object.
struct RawFound {
  IBaseWorkFlowObject* owned = nullptr;
  void* face = nullptr;
};
RawFound FindGlobal(const char* object_name, const char* interface_name) noexcept;
RawFound MakeFromStore(IUtilityStore* store, const char* object_name, const char* interface_name) noexcept;

template <class Interface>
Found<Interface> FindGlobalObject(const char* object_name, const char* interface_name) noexcept {
  const RawFound found = FindGlobal(object_name, interface_name);
  return Found<Interface>(found.owned, static_cast<Interface*>(found.face));
}

// Asks the store (null: nothing is found) whether it has the name before it has the object made.
template <class Interface>
Found<Interface> MakeObjectFromStore(IUtilityStore* store, const char* object_name,
                                     const char* interface_name) noexcept {
  const RawFound found = MakeFromStore(store, object_name, interface_name);
  return Found<Interface>(found.owned, static_cast<Interface*>(found.face));
}

enum class FindOrder { GlobalFirst, StoreFirst };

template <class Interface>
Found<Interface> FindObject(FindOrder order, IUtilityStore* store, const char* object_name,
                            const char* interface_name) noexcept {
  const bool global_first = order == FindOrder::GlobalFirst;
  Found<Interface> found = global_first ? FindGlobalObject<Interface>(object_name, interface_name)
                                        : MakeObjectFromStore<Interface>(store, object_name, interface_name);
  if (found) return found;
  return global_first ? MakeObjectFromStore<Interface>(store, object_name, interface_name)
                      : FindGlobalObject<Interface>(object_name, interface_name);
}

}  // namespace OrvWorkFlow::Core
