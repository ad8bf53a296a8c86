// The registry through which objects find the utility objects of a workflow by name.
#pragma once

#include "OrvWorkFlow/IBaseWorkFlowObject.h"
#include "OrvWorkFlow/IFactoryObjectCreator.h"

namespace OrvWorkFlow {

// Any thread. The store frees neither creators nor registered objects: both must outlive it. It keeps no last error.
class IUtilityStore : public IBaseWorkFlowObject {
 public:
  // A new object made by the first creator of that name and configured: its needs are made present, then it is given
  // this store. The caller owns it. Null when no creator has the name, the creator makes nothing, or this thread is
  // making an object of that very name right now (a cycle of needs).
  virtual IBaseWorkFlowObject* GetUtilityObject(const char* name) = 0;

  // True when a creator with exactly that name is held.
  virtual bool IsUtilityObjectPresent(const char* name) = 0;

  // Registers an object; false, with nothing changed, when that very pointer is already there or null.
  virtual bool AddUtilityObject(IBaseWorkFlowObject* object) = 0;

  // Appends a creator; always true. Of two with one name the first added wins. A null creator is not kept.
  virtual bool AddUtilityObjectCreator(IFactoryObjectCreator* creator) = 0;

  // True when a creator of that name is held or a registered object has that type name.
  virtual bool IsUtilityObjectHeld(const char* name) = 0;

  // Replaces the content of `names` by the creators' names in the order of adding.
  virtual bool GetUtilityObjectNames(IOrvPStringList* names) = 0;

 protected:
  ~IUtilityStore() = default;
};

}  // namespace OrvWorkFlow
