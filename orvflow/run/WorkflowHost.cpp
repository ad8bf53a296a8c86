#include "orvflow/run/WorkflowHost.h"
#include "OrvWorkFlow/Names.h"

#include <new>
#include <stdexcept>
#include <string>

#include "OrvWorkFlow/IRunReport.h"
#include "OrvWorkFlow/WorkFlowFactory.h"
#include "runtime/PluginLoader.h"

namespace OrvWorkFlow::Program {

namespace {

constexpr char kLibrary[] = "CoreObjects";
// What the utility store makes afresh for each asker. The engine and the mediator are not among them: there is one of
// each.
constexpr const char* kStoreObjects[] = {ObjectNames::kDictionary, ObjectNames::kEncryption, ObjectNames::kFileSystem,
                                         ObjectNames::kRegExp};

// What the library has and cannot make is made when there is memory again.
[[noreturn]] void FailForLack(const char* object_name) {
  if (WorkFlowFactory::IsObjectPresent(object_name)) throw std::bad_alloc();
  throw std::runtime_error(std::string(kLibrary) + ": the library has no usable " + object_name +
                           "; install the program again");
}

template <class Interface>
Interface* AskFor(IBaseWorkFlowObject* object, const char* object_name, const char* interface_name) {
  auto* face = object == nullptr ? nullptr : static_cast<Interface*>(object->QueryInterface(interface_name));
  if (face == nullptr) FailForLack(object_name);
  return face;
}

class FirstBusyNode final : public IRunReport {
 public:
  void NodeAtWork(const Work& /*work*/) override {}
  void NodeThere(const Node& node) override {
    if (node.busy && name_.empty()) name_ = std::string(node.type) + " " + node.instance;
  }
  void SignalWaiting(const Waiting& /*signal*/) override {}

  const std::string& name() const { return name_; }

 private:
  std::string name_;
};

}  // namespace

WorkflowHost::WorkflowHost() {
  if (!WorkFlowFactory::LoadSharedLibrary(kLibrary)) {
    const std::string reason = WorkFlowFactory::LastLoadError();
    if (reason == PluginLoader::kNoMemory) throw std::bad_alloc();
    throw std::runtime_error(reason);
  }
  try {
    MakeGlobals();
    MakeStore();
    GiveStore();
  } catch (...) {
    TakeDown();
    throw;
  }
}

WorkflowHost::~WorkflowHost() { TakeDown(); }

template <class Interface>
Interface* WorkflowHost::MakeGlobal(const char* object_name, const char* interface_name) {
  return AskFor<Interface>(WorkFlowFactory::CreateNewGlobalObject(object_name), object_name, interface_name);
}

void WorkflowHost::MakeGlobals() {
  dictionary_ = MakeGlobal<IDictionary>(ObjectNames::kDictionary, InterfaceNames::kDictionary);
  MakeGlobal<void>(ObjectNames::kFileSystem, InterfaceNames::kFileSystemA);
  engine_ = MakeGlobal<IWorkFlowEngine>(ObjectNames::kWorkFlowEngine, InterfaceNames::kWorkFlowEngine);
  mediator_ = MakeGlobal<ISignalMediator>(ObjectNames::kSignalMediator, InterfaceNames::kSignalMediator);
  host_app_ = HostApp::New();
  if (host_app_ == nullptr) throw std::bad_alloc();
  if (!WorkFlowFactory::AddGlobalObject(ObjectNames::kHostApp, host_app_, false)) throw std::bad_alloc();
  host_app_->SetRefusal([](void* watch) { return static_cast<DeliveryWatch*>(watch)->Refuses(); }, &deliveries_);
  observers_.Add(deliveries_);
  engine_->SetRunObserver(&observers_);
  mediator_->SetRunObserver(&observers_);
  engine_->SetHandOverLimit(1);  // A stop waits for the delivery that runs, and for no other.
}

void WorkflowHost::MakeStore() {
  IBaseWorkFlowObject* const object = WorkFlowFactory::CreateNewObject(ObjectNames::kUtilityStore);
  store_ = AskFor<IUtilityStore>(object, ObjectNames::kUtilityStore, InterfaceNames::kUtilityStore);
  for (const char* name : kStoreObjects) {
    IFactoryObjectCreator* const creator = WorkFlowFactory::CloneCreator(name);
    if (creator == nullptr) FailForLack(name);
    store_creators_.push_back(creator);
    store_->AddUtilityObjectCreator(creator);
  }
}

void WorkflowHost::GiveStore() {
  for (const char* name : {ObjectNames::kDictionary, ObjectNames::kFileSystem, ObjectNames::kWorkFlowEngine,
                           ObjectNames::kSignalMediator, ObjectNames::kHostApp}) {
    if (!WorkFlowFactory::GetGlobalObj(name)->SetUtilityStore(store_)) FailForLack(name);
  }
}

void WorkflowHost::TakeDown() noexcept {
  if (host_app_ != nullptr) {
    host_app_->Close();
    host_app_->DeliverQueued();
  }
  WorkFlowFactory::ReleaseGlobalObjects();
  if (store_ != nullptr) store_->Release();
  for (IFactoryObjectCreator* const creator : store_creators_) creator->Destroy();
  if (host_app_ != nullptr) host_app_->Release();
  WorkFlowFactory::UnloadSharedLibraries();
}

void WorkflowHost::UseKey(const char* key) {
  key_ = key;
  engine_->SetEncryptionKey(key);
}

WorkflowHost::OwnedDictionary WorkflowHost::MakeDictionary() const {
  OwnedDictionary dictionary(AskFor<IDictionary>(WorkFlowFactory::CreateNewObject(ObjectNames::kDictionary),
                                                 ObjectNames::kDictionary, InterfaceNames::kDictionary));
  dictionary->SetUtilityStore(store_);
  if (key_ != nullptr) dictionary->SetEncryptionKey(key_);
  return dictionary;
}

void WorkflowHost::UseLogger(ILogger& logger) {
  if (!WorkFlowFactory::AddGlobalObject(ObjectNames::kLogger, &logger, false)) throw std::bad_alloc();
}

std::string WorkflowHost::NodeAtWork() const {
  std::string node = deliveries_.NodeAtWork();
  if (!node.empty()) return node;
  FirstBusyNode busy;
  mediator_->Report(&busy);
  return busy.name();
}

WorkflowHost::Result WorkflowHost::Run(const Limits& limits) {
  return RunLoop(*engine_, *mediator_, *dictionary_, *host_app_, bell_, deliveries_, limits).Run();
}

ISignalMediator::Statistics WorkflowHost::GetStatistics() const {
  ISignalMediator::Statistics statistics;
  mediator_->GetStatistics(&statistics);
  return statistics;
}

}  // namespace OrvWorkFlow::Program
