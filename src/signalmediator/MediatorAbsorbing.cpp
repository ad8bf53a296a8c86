// Taking another workflow's definitions into the global dictionary.
#include "OrvWorkFlow/WorkFlowFactory.h"
#include "OrvWorkFlow/WorkflowSchema.h"
#include "signalmediator/MediatorMessages.h"
#include "signalmediator/SignalMediatorObject.h"
#include "signalmediator/definitions/DictionaryAccess.h"
#include "signalmediator/definitions/DictionaryCopy.h"
#include "signalmediator/definitions/UtilityObjects.h"
#include "signalmediator/nodes/ConfigureNode.h"

namespace OrvWorkFlow::Core::Mediator {

bool CSignalMediator::Absorb(IDictionary* dictionary) {
  if (dictionary == nullptr) return false;
  try {
    const AccessLock::Hold hold(access_lock_);
    const bool objects_absorbed = AbsorbUtilityObjects(*dictionary);
    return AbsorbWorknodes(*dictionary) && objects_absorbed;
  } catch (...) {
    return false;
  }
}

bool CSignalMediator::AbsorbUtilityObjects(IDictionary& absorbed) {
  IDictionary* global = GlobalDictionary(MediatorOperations::kAbsorbUtilityObjects);
  if (global == nullptr) return false;
  for (const std::string& name : EntryNames(absorbed, WorkflowSchema::kGlobalUtilityObjects)) {
    AbsorbGlobalUtilityObject(absorbed, *global, name);
  }
  for (const std::string& name : EntryNames(absorbed, WorkflowSchema::kLocalUtilityObjects)) {
    const std::string definition = UtilityObjectPath(WorkflowSchema::kLocalUtilityObjects, name);
    MergeSubtree(absorbed, *global, definition);
    LogLoadedObject(UtilityKind::Local, name);
    LoadUtilityLibrary(absorbed, definition);
  }
  return true;
}

// The object is configured from the absorbed dictionary: the workflow's directories and key reach the global one only
// afterwards. It loads its state at once, so it gets the store before.
void CSignalMediator::AbsorbGlobalUtilityObject(IDictionary& absorbed, IDictionary& global, const std::string& name) {
  const std::string definition = UtilityObjectPath(WorkflowSchema::kGlobalUtilityObjects, name);
  MergeSubtree(absorbed, global, definition);
  LogLoadedObject(UtilityKind::Global, name);
  LoadUtilityLibrary(absorbed, definition);
  IBaseWorkFlowObject* object = GetOrMakeGlobalObject(name);
  if (object == nullptr) return;
  GiveUtilityStore(object, utility_store());
  ConfigureWorkNodeObject(absorbed, *object, definition, Configuring::WithKeyAndState);
  KeepGlobalUtilityObject(*object);
}

// The absorbed work nodes are loaded on their first signal, like all others.
bool CSignalMediator::AbsorbWorknodes(IDictionary& absorbed) {
  IDictionary* global = GlobalDictionary(MediatorOperations::kAbsorbWorknodes);
  if (global == nullptr) return false;
  MergeSubtree(absorbed, *global, WorkflowSchema::kWorkNodes);
  MergeSubtree(absorbed, *global, WorkflowSchema::kDirectories);
  return true;
}

}  // namespace OrvWorkFlow::Core::Mediator
