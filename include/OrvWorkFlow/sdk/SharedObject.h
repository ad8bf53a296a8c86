// Objects of a host that several own: a global object of the factory that utility stores hand out as well.
#pragma once

#include <atomic>
#include <new>

#include "OrvWorkFlow/IFactoryObjectCreator.h"
#include "OrvWorkFlow/sdk/ObjectProtocol.h"

namespace OrvWorkFlow::Sdk {

// Born with one reference, its maker's; Release gives one back, the last destroys the object. Any thread.
template <class Object, class Interface>
class SharedObject : public ObjectProtocol<Object, Interface> {
 public:
  void AddReference() noexcept { references_.fetch_add(1, std::memory_order_relaxed); }

  void Release() override {
    if (references_.fetch_sub(1, std::memory_order_acq_rel) == 1) {
      delete static_cast<Object*>(this);
    }
  }

  // Each owner may give the object a store; it needs none and keeps none.
  bool SetUtilityStore(IUtilityStore* store) override { return store != nullptr; }

 protected:
  using ObjectProtocol<Object, Interface>::ObjectProtocol;
  ~SharedObject() = default;

 private:
  std::atomic<int> references_{1};
};

// Makes one and the same object again and again: every Create answers it with a reference more. For
// IUtilityStore::AddUtilityObjectCreator. Holds a reference of its own until Destroy.
template <class Object>
class SharedObjectCreator final : public IFactoryObjectCreator {
 public:
  // A new creator, owned by the caller; null when `object` is null or there is no memory.
  static IFactoryObjectCreator* New(Object* object) noexcept {
    return object != nullptr ? new (std::nothrow) SharedObjectCreator(object) : nullptr;
  }

  bool GetObjectName(IOrvPString* name) override { return object_->GetTypeName(name); }
  bool GetVersion(IOrvPString* version) override { return object_->GetVersion(version); }
  IBaseWorkFlowObject* Create() override {
    object_->AddReference();
    return object_;
  }
  bool CreatesWorkNodes() override { return false; }
  IFactoryObjectCreator* Clone() override { return New(object_); }
  void Destroy() override {
    object_->Release();
    delete this;
  }

 private:
  explicit SharedObjectCreator(Object* object) noexcept : object_(object) { object_->AddReference(); }
  ~SharedObjectCreator() = default;

  Object* object_;
};

}  // namespace OrvWorkFlow::Sdk
