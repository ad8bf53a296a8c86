// A creator makes the objects of one type. A library makes its types known by handing one creator of each to a
// `WorkFlowFactory` object that lives as long as the library is loaded.
#pragma once

#include "OrvWorkFlow/Export.h"
#include "OrvWorkFlow/IBaseWorkFlowObject.h"

namespace OrvWorkFlow {

// An interface without data. Any thread.
class ORV_CORE_API IFactoryObjectCreator {
 public:
  IFactoryObjectCreator() = default;
  IFactoryObjectCreator(const IFactoryObjectCreator&) = default;
  IFactoryObjectCreator& operator=(const IFactoryObjectCreator&) = default;

  // Assigns the type's name, for example "Dictionary". False when `name` is null or refuses.
  virtual bool GetObjectName(IOrvPString* name) = 0;

  // Assigns the version text of the library that the creator belongs to.
  virtual bool GetVersion(IOrvPString* version) = 0;

  // A new object, which the caller owns and ends with its Release(); null when it cannot be made. Creators of work
  // nodes may throw what the node's constructor throws; those of this library never do.
  virtual IBaseWorkFlowObject* Create() = 0;

  // True when the objects are work nodes, that is, answer to "IWorkNode". The library's own creators answer false.
  virtual bool CreatesWorkNodes() = 0;

  // A new creator of the same class, which the caller owns; null without memory.
  virtual IFactoryObjectCreator* Clone() = 0;

  // Deletes the creator itself.
  virtual void Destroy() = 0;

 protected:
  ~IFactoryObjectCreator() = default;
};

}  // namespace OrvWorkFlow
