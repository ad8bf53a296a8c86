// The utility objects of a workflow: loaded at once, when its state is, absorbed with another workflow, and saved.
#pragma once

#include <string>
#include <vector>

#include "CoreObjects/LazyObject.h"
#include "OrvWorkFlow/ILogger.h"
#include "signalmediator/MediatorContext.h"

namespace OrvWorkFlow::Core::Mediator {

// Utility objects and their libraries are foreign code, called with the access lock held. The operations marked
// "locked" want that held already.
class UtilityObjectLoader {
 public:
  // Must outlive this.
  explicit UtilityObjectLoader(MediatorContext& context) : context_(context) {}

  // Locked. Those of the global dictionary.
  void LoadAll();
  // Locked. Those of another dictionary, with their definitions. False when there is no global one.
  bool Absorb(IDictionary& absorbed);
  // Every global one, but the mediator and the engine, which save themselves elsewhere.
  void SaveAll();

  // Once there is a logger the mediator's lines go there. A utility object may bring it.
  void ObtainLogger() noexcept;

 private:
  enum class Kind { Global, Local };

  void LoadGlobalObjects(IDictionary& dictionary) ORV_REQUIRES(context_.access_lock);
  void InitHostApp();
  void AbsorbGlobalObject(IDictionary& absorbed, IDictionary& global, const std::string& name)
      ORV_REQUIRES(context_.access_lock);
  void SaveObject(IBaseWorkFlowObject& object);
  void LogLoadedObject(Kind kind, const std::string& name) noexcept;
  void Keep(IBaseWorkFlowObject& object) ORV_REQUIRES(context_.access_lock);

  MediatorContext& context_;
  LazyObject<ILogger> logger_{FindOrder::GlobalFirst, ObjectNames::kLogger, InterfaceNames::kLogger};
  std::vector<IBaseWorkFlowObject*> global_objects_ ORV_GUARDED_BY(context_.access_lock);  // the factory's
};

}  // namespace OrvWorkFlow::Core::Mediator
