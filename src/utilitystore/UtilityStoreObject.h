// This folder holds the utility object "UtilityStore": the registry that makes a workflow's utility objects by name and
// configures them.
#pragma once

#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "CoreObjects/BaseObject.h"
#include "CoreObjects/ObjectCreator.h"
#include "OrvWorkFlow/IUtilityStore.h"
#include "base/lock/Mutex.h"

namespace OrvWorkFlow::Core::UtilityStore {

// Any thread. The mutex guards the sequences and is never held while a creator, an object or the factory runs, so that
// an object may come back to the store while it is being made.
class CUtilityStore final : public BaseObject<CUtilityStore, IUtilityStore> {
 public:
  static constexpr const char* kTypeName = ObjectNames::kUtilityStore;

  CUtilityStore();

  void* QueryInterface(const char* interface_name) override;
  bool GetLastErrorText(IOrvPString* /*text*/) override { return false; }

  IBaseWorkFlowObject* GetUtilityObject(const char* name) override;
  bool IsUtilityObjectPresent(const char* name) override;
  bool AddUtilityObject(IBaseWorkFlowObject* object) override;
  bool AddUtilityObjectCreator(IFactoryObjectCreator* creator) override;
  bool IsUtilityObjectHeld(const char* name) override;
  bool GetUtilityObjectNames(IOrvPStringList* names) override;

 private:
  // Names are asked for once, when the creator or the object is added. What does not tell its name is never found by
  // one.
  struct NamedCreator {
    std::string name;
    bool has_name = false;
    IFactoryObjectCreator* creator = nullptr;
  };
  struct NamedObject {
    std::string type_name;
    bool has_name = false;
    IBaseWorkFlowObject* object = nullptr;
  };
  struct NameInProgress {
    std::thread::id thread;
    std::string name;
  };
  class Progress;

  // The first creator of that name, or null. With the mutex held.
  IFactoryObjectCreator* FindCreator(std::string_view name) const ORV_REQUIRES(mutex_);
  void Configure(IBaseWorkFlowObject& object) noexcept;
  void MakeGlobalNeedsPresent(IBaseWorkFlowObject& object);

  Base::Mutex mutex_;
  std::vector<NamedCreator> creators_ ORV_GUARDED_BY(mutex_);       // in the order of adding; names may repeat
  std::vector<NamedObject> objects_ ORV_GUARDED_BY(mutex_);         // without duplicates
  std::vector<NameInProgress> in_progress_ ORV_GUARDED_BY(mutex_);  // what each thread is making at this moment
};

using CUtilityStoreObjectCreator = ObjectCreator<CUtilityStore, ObjectNames::kUtilityStore>;

}  // namespace OrvWorkFlow::Core::UtilityStore
