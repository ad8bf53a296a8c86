// Loading a workflow: utility objects at once, work-node libraries and instances on their first signal.
#include <algorithm>
#include <string>
#include <vector>

#include "OrvWorkFlow/WorkFlowFactory.h"
#include "OrvWorkFlow/WorkflowSchema.h"
#include "signalmediator/MediatorBox.h"
#include "signalmediator/MediatorMessages.h"
#include "signalmediator/SignalMediatorObject.h"
#include "signalmediator/definitions/DictionaryAccess.h"
#include "signalmediator/definitions/UtilityObjects.h"
#include "signalmediator/nodes/ConfigureNode.h"

namespace OrvWorkFlow::Core::Mediator {

bool CSignalMediator::LoadState(const char* /*path*/) {
  if (GlobalDictionary() == nullptr) return true;
  try {
    const AccessLock::Hold hold(access_lock_);
    LoadUtilityObjects();
    nodes_.Clear();
    loaded_types_.clear();
    LoadRebootSignals();
    ObtainLogger();
    tracer_.Log(MediatorCategories::kLoadState, MediatorLines::kStateLoaded);
    return true;
  } catch (...) {
    return false;
  }
}

void CSignalMediator::LoadUtilityObjects() {
  IDictionary* dictionary = GlobalDictionary(MediatorOperations::kLoadUtilityObjects);
  if (dictionary == nullptr) return;
  LoadGlobalUtilityObjects(*dictionary);
  InitHostApp();
  for (const std::string& name : EntryNames(*dictionary, WorkflowSchema::kLocalUtilityObjects)) {
    LogLoadedObject(UtilityKind::Local, name);
    LoadUtilityLibrary(*dictionary, UtilityObjectPath(WorkflowSchema::kLocalUtilityObjects, name));
  }
  ObtainLogger();
  tracer_.Log(MediatorCategories::kLoadState, MediatorLines::kUtilityObjectsLoaded);
}

void CSignalMediator::LoadGlobalUtilityObjects(IDictionary& dictionary) {
  global_utility_objects_.clear();
  const std::vector<std::string> names = EntryNames(dictionary, WorkflowSchema::kGlobalUtilityObjects);
  for (const std::string& name : names) {
    LogLoadedObject(UtilityKind::Global, name);
    const std::string definition = UtilityObjectPath(WorkflowSchema::kGlobalUtilityObjects, name);
    LoadUtilityLibrary(dictionary, definition);
    IBaseWorkFlowObject* object = GetOrMakeGlobalObject(name);
    if (object == nullptr) continue;
    ConfigureWorkNodeObject(dictionary, *object, definition, Configuring::DirectoriesOnly);
    KeepGlobalUtilityObject(*object);
  }
  // Once all are there each can find the others.
  for (const std::string& name : names) GiveUtilityStore(WorkFlowFactory::GetGlobalObj(name.c_str()), utility_store());
}

// The host application takes the directories of the mediator's own entry.
void CSignalMediator::InitHostApp() {
  IDictionary* dictionary = GlobalDictionary(MediatorOperations::kInitHostApp);
  if (dictionary == nullptr) return;
  IBaseWorkFlowObject* host = WorkFlowFactory::GetGlobalObj(ObjectNames::kHostApp);
  if (host == nullptr) host = Host();
  if (host == nullptr) return;
  ConfigureWorkNodeObject(*dictionary, *host,
                          UtilityObjectPath(WorkflowSchema::kGlobalUtilityObjects, ObjectNames::kSignalMediator),
                          Configuring::DirectoriesOnly);
}

// Repeated before each line of a load: a utility object may have brought the logger with it.
void CSignalMediator::ObtainLogger() noexcept {
  if (tracer_) return;
  tracer_.SetLogger(logger_.Get(utility_store()));
  tracer_.Log(MediatorCategories::kLoadState, MediatorLines::kLoggerCreated);
}

void CSignalMediator::LogLoadedObject(UtilityKind kind, const std::string& name) noexcept {
  ObtainLogger();
  const char* text =
      kind == UtilityKind::Global ? MediatorLines::kLoadingGlobalObject : MediatorLines::kLoadingLocalObject;
  tracer_.Log(MediatorCategories::kLoadState, text, name.c_str());
}

void CSignalMediator::KeepGlobalUtilityObject(IBaseWorkFlowObject& object) {
  if (std::find(global_utility_objects_.begin(), global_utility_objects_.end(), &object) ==
      global_utility_objects_.end()) {
    global_utility_objects_.push_back(&object);
  }
}

bool CSignalMediator::LoadWorkNodesNow(bool instantiate) {
  try {
    LoadWorkNodes(instantiate);
  } catch (...) {  // The dictionary could not be listed.
  }
  return true;
}

void CSignalMediator::LoadWorkNodes(bool instantiate) {
  IDictionary* dictionary = GlobalDictionary(MediatorOperations::kLoadWorkNodes);
  if (dictionary == nullptr) return;
  for (const std::string& type : EntryNames(*dictionary, WorkflowSchema::kWorkNodes)) {
    bool loaded = false;
    try {
      loaded = LoadWorknode(type, instantiate);
    } catch (...) {  // The other types still load.
      ShowMediatorBox(MediatorBoxes::kLoadThrew, type);
    }
    if (!loaded) ++failures_;
  }
}

bool CSignalMediator::LoadWorknode(const std::string& type, bool instantiate) {
  IDictionary* dictionary = GlobalDictionary(MediatorOperations::kLoadWorknode);
  if (dictionary == nullptr) return false;
  const AccessLock::Hold hold(access_lock_);
  const std::string type_path = WorkNodeTypePath(type);
  const std::string library = EntryText(*dictionary, type_path + WorkflowSchema::kWin32Binary);
  if (!WorkFlowFactory::LoadSharedLibrary(library.c_str()) &&
      !WorkFlowFactory::LoadSharedLibrary((WorkflowSchema::kPluginPrefix + library).c_str())) {
    tracer_.Log(MediatorCategories::kLoadWorkNodes, MediatorLines::kNotFound, type.c_str());
    return false;
  }
  loaded_types_.insert(type);
  if (!instantiate) return true;
  for (const std::string& instance : EntryNames(*dictionary, type_path + WorkflowSchema::kInstances)) {
    // One node for each instance: those that signals have already made stay as they are.
    if (nodes_.Find(type, instance) == nullptr) InstantiateWorknodeInstance(type, instance);
  }
  return true;
}

void CSignalMediator::InstantiateWorknodeInstance(const std::string& type, const std::string& instance) {
  IDictionary* dictionary = GlobalDictionary(MediatorOperations::kInstantiateWorknodeInstance);
  if (dictionary == nullptr) return;
  {
    const AccessLock::Hold hold(access_lock_);
    if (!MakeNode(*dictionary, type, instance)) return;
    tracer_.Log(MediatorCategories::kInstantiate, MediatorLines::kAboutToUnlock);
  }
  tracer_.Log(MediatorCategories::kInstantiate, MediatorLines::kAfterUnlock);
}

// What the node throws while it is made passes through, and the node is gone then.
bool CSignalMediator::MakeNode(IDictionary& dictionary, const std::string& type, const std::string& instance) {
  const std::string instances = WorkNodeTypePath(type) + WorkflowSchema::kInstances;
  if (!HasEntry(dictionary, instances, instance)) {
    tracer_.Log(MediatorCategories::kLoadWorkNodes, MediatorLines::kNotFound, instance.c_str());
    return false;
  }
  const auto entry = std::make_shared<WorkNodeEntry>(instances + "/" + instance);
  entry->node = WorkFlowFactory::CreateNewWorkNode(type.c_str(), instance.c_str());
  if (entry->node == nullptr) {
    tracer_.Log(MediatorCategories::kLoadWorkNodes, MediatorLines::kNodeNotCreated, type.c_str(), instance.c_str());
    return false;
  }
  ConfigureWorkNodeObject(dictionary, *entry->node, entry->definition, Configuring::WithKeyAndState);
  entry->node->SetOutgoingSignalHandler(this);
  entry->RememberNames();
  nodes_.Append(entry);
  ++made_;
  observer_.Tell(&IRunObserver::NodeMade, type.c_str(), instance.c_str());
  tracer_.Log(MediatorCategories::kLoadWorkNodes, MediatorLines::kNodeCreated, type.c_str(), instance.c_str());
  return true;
}

}  // namespace OrvWorkFlow::Core::Mediator
