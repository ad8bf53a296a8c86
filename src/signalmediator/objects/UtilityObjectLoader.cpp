#include "signalmediator/objects/UtilityObjectLoader.h"

#include <algorithm>

#include "CoreObjects/Marshalled.h"
#include "OrvWorkFlow/WorkFlowFactory.h"
#include "OrvWorkFlow/WorkflowSchema.h"
#include "signalmediator/MediatorBox.h"
#include "signalmediator/MediatorMessages.h"
#include "signalmediator/definitions/DictionaryAccess.h"
#include "signalmediator/definitions/DictionaryCopy.h"
#include "signalmediator/nodes/ConfigureNode.h"
#include "signalmediator/objects/UtilityObjects.h"

namespace OrvWorkFlow::Core::Mediator {

void UtilityObjectLoader::LoadAll() {
  context_.access_lock.MustBeHeld();
  IDictionary* dictionary = MediatorContext::GlobalDictionary(MediatorOperations::kLoadUtilityObjects);
  if (dictionary == nullptr) return;
  LoadGlobalObjects(*dictionary);
  InitHostApp();
  for (const std::string& name : EntryNames(*dictionary, WorkflowSchema::kLocalUtilityObjects)) {
    LogLoadedObject(Kind::Local, name);
    LoadUtilityLibrary(*dictionary, UtilityObjectPath(WorkflowSchema::kLocalUtilityObjects, name));
  }
  ObtainLogger();
  context_.tracer.Log(MediatorCategories::kLoadState, MediatorLines::kUtilityObjectsLoaded);
}

void UtilityObjectLoader::LoadGlobalObjects(IDictionary& dictionary) {
  global_objects_.clear();
  const std::vector<std::string> names = EntryNames(dictionary, WorkflowSchema::kGlobalUtilityObjects);
  for (const std::string& name : names) {
    LogLoadedObject(Kind::Global, name);
    const std::string definition = UtilityObjectPath(WorkflowSchema::kGlobalUtilityObjects, name);
    LoadUtilityLibrary(dictionary, definition);
    IBaseWorkFlowObject* object = GetOrMakeGlobalObject(name);
    if (object == nullptr) continue;
    ConfigureWorkNodeObject(dictionary, *object, definition, Configuring::DirectoriesOnly);
    Keep(*object);
  }
  // Once all are there each can find the others.
  for (const std::string& name : names) GiveUtilityStore(WorkFlowFactory::GetGlobalObj(name.c_str()), context_.store);
}

// The host application takes the directories of the mediator's own entry.
void UtilityObjectLoader::InitHostApp() {
  IDictionary* dictionary = MediatorContext::GlobalDictionary(MediatorOperations::kInitHostApp);
  if (dictionary == nullptr) return;
  IBaseWorkFlowObject* host = WorkFlowFactory::GetGlobalObj(ObjectNames::kHostApp);
  if (host == nullptr) host = context_.Host();
  if (host == nullptr) return;
  ConfigureWorkNodeObject(*dictionary, *host,
                          UtilityObjectPath(WorkflowSchema::kGlobalUtilityObjects, ObjectNames::kSignalMediator),
                          Configuring::DirectoriesOnly);
}

// Repeated before each line of a load: a utility object may have brought the logger with it.
void UtilityObjectLoader::ObtainLogger() noexcept {
  if (context_.tracer) return;
  context_.tracer.SetLogger(logger_.Get(context_.store));
  context_.tracer.Log(MediatorCategories::kLoadState, MediatorLines::kLoggerCreated);
}

void UtilityObjectLoader::LogLoadedObject(Kind kind, const std::string& name) noexcept {
  ObtainLogger();
  const char* text = kind == Kind::Global ? MediatorLines::kLoadingGlobalObject : MediatorLines::kLoadingLocalObject;
  context_.tracer.Log(MediatorCategories::kLoadState, text, name.c_str());
}

void UtilityObjectLoader::Keep(IBaseWorkFlowObject& object) {
  if (std::find(global_objects_.begin(), global_objects_.end(), &object) == global_objects_.end()) {
    global_objects_.push_back(&object);
  }
}

bool UtilityObjectLoader::Absorb(IDictionary& absorbed) {
  context_.access_lock.MustBeHeld();
  IDictionary* global = MediatorContext::GlobalDictionary(MediatorOperations::kAbsorbUtilityObjects);
  if (global == nullptr) return false;
  for (const std::string& name : EntryNames(absorbed, WorkflowSchema::kGlobalUtilityObjects)) {
    AbsorbGlobalObject(absorbed, *global, name);
  }
  for (const std::string& name : EntryNames(absorbed, WorkflowSchema::kLocalUtilityObjects)) {
    const std::string definition = UtilityObjectPath(WorkflowSchema::kLocalUtilityObjects, name);
    MergeSubtree(absorbed, *global, definition);
    LogLoadedObject(Kind::Local, name);
    LoadUtilityLibrary(absorbed, definition);
  }
  return true;
}

// The object is configured from the absorbed dictionary: the workflow's directories and key reach the global one only
// afterwards. It loads its state at once, so it gets the store before.
void UtilityObjectLoader::AbsorbGlobalObject(IDictionary& absorbed, IDictionary& global, const std::string& name) {
  const std::string definition = UtilityObjectPath(WorkflowSchema::kGlobalUtilityObjects, name);
  MergeSubtree(absorbed, global, definition);
  LogLoadedObject(Kind::Global, name);
  LoadUtilityLibrary(absorbed, definition);
  IBaseWorkFlowObject* object = GetOrMakeGlobalObject(name);
  if (object == nullptr) return;
  GiveUtilityStore(object, context_.store);
  ConfigureWorkNodeObject(absorbed, *object, definition, Configuring::WithKeyAndState);
  Keep(*object);
}

void UtilityObjectLoader::SaveAll() {
  if (MediatorContext::GlobalDictionary(MediatorOperations::kSaveGlobalUtilityObjects) == nullptr) return;
  const AccessLock::Hold hold(context_.access_lock);
  const std::vector<IBaseWorkFlowObject*> objects = global_objects_;
  for (IBaseWorkFlowObject* object : objects) SaveObject(*object);
}

// The mediator and the engine are among the utility objects and save themselves elsewhere.
void UtilityObjectLoader::SaveObject(IBaseWorkFlowObject& object) {
  std::string type;
  const Marshalled<IOrvPString> name;
  if (name && object.GetTypeName(name.get())) ReadText(name.get(), type);
  context_.tracer.Log(MediatorCategories::kSaveUtilityObjects, MediatorLines::kSavingUtilityObject, type.c_str());
  if (type == ObjectNames::kSignalMediator || type == ObjectNames::kWorkFlowEngine) return;
  try {
    object.SaveState(nullptr);
  } catch (...) {
    ShowMediatorBox(MediatorBoxes::kUtilityObjectSaveThrew, type);
  }
}

}  // namespace OrvWorkFlow::Core::Mediator
