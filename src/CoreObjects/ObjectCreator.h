// The creator of one object type: a table of operations and no data.
#pragma once

#include <new>
#include <string_view>

#include "CoreObjects/CoreObjects.h"
#include "CoreObjects/Marshalled.h"
#include "OrvWorkFlow/IFactoryObjectCreator.h"

namespace OrvWorkFlow::Core {

// Nothing here may depend on another static object: a host may use a creator while the library is still being loaded.
// `kName` is a literal with static storage.
template <class Object, const char* kName>
class ObjectCreator final : public IFactoryObjectCreator {
 public:
  bool GetObjectName(IOrvPString* name) override { return AssignText(name, std::string_view(kName)); }
  bool GetVersion(IOrvPString* version) override { return AssignText(version, std::string_view(kVersionKey)); }
  IBaseWorkFlowObject* Create() override {
    try {
      return new Object;
    } catch (...) {  // No memory, no mutex, no thread: there is no object.
      return nullptr;
    }
  }
  bool CreatesWorkNodes() override { return false; }
  IFactoryObjectCreator* Clone() override { return new (std::nothrow) ObjectCreator; }
  void Destroy() override { delete this; }
};

}  // namespace OrvWorkFlow::Core
