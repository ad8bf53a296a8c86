#include "host/LibraryObjects.h"

#include <atomic>
#include <new>
#include <string>

#include "OrvWorkFlow/Names.h"
#include "OrvWorkFlow/WorkFlowFactory.h"
#include "OrvWorkFlow/host/HostError.h"
#include "runtime/plugin/PluginLoader.h"

namespace OrvWorkFlow::Host {

namespace {

constexpr char kLibrary[] = "CoreObjects";
// What the utility store makes afresh for each asker. The engine and the mediator are not among them: there is one of
// each.
constexpr const char* kStoreObjects[] = {ObjectNames::kDictionary, ObjectNames::kEncryption, ObjectNames::kFileSystem,
                                         ObjectNames::kRegExp};

std::atomic<bool> is_there = false;

// What the library has and cannot make is made when there is memory again.
[[noreturn]] void FailForLack(const char* object_name) {
  if (WorkFlowFactory::IsObjectPresent(object_name)) throw std::bad_alloc();
  throw HostError(HostError::Kind::PluginBroken,
                  std::string(kLibrary) + ": the library has no usable " + object_name + "; install the program again");
}

template <class Interface>
Interface* AskFor(IBaseWorkFlowObject* object, const char* object_name, const char* interface_name) {
  auto* face = object == nullptr ? nullptr : static_cast<Interface*>(object->QueryInterface(interface_name));
  if (face == nullptr) FailForLack(object_name);
  return face;
}

}  // namespace

LibraryObjects::LibraryObjects(IRunObserver& observer, DeliveryWatch& deliveries) {
  if (is_there.exchange(true)) {
    throw HostError(HostError::Kind::InUse, "this process has a workflow host already; end that first");
  }
  try {
    if (!WorkFlowFactory::LoadSharedLibrary(kLibrary)) {
      const std::string reason = WorkFlowFactory::LastLoadError();
      if (reason == Runtime::PluginLoader::kNoMemory) throw std::bad_alloc();
      throw HostError(HostError::Kind::PluginBroken, reason);
    }
    MakeGlobals(observer, deliveries);
    MakeStore();
    GiveStore();
  } catch (...) {
    TakeDown();
    throw;
  }
}

LibraryObjects::~LibraryObjects() { TakeDown(); }

template <class Interface>
Interface* LibraryObjects::MakeGlobal(const char* object_name, const char* interface_name) {
  return AskFor<Interface>(WorkFlowFactory::CreateNewGlobalObject(object_name), object_name, interface_name);
}

void LibraryObjects::MakeGlobals(IRunObserver& observer, DeliveryWatch& deliveries) {
  dictionary_ = MakeGlobal<IDictionary>(ObjectNames::kDictionary, InterfaceNames::kDictionary);
  MakeGlobal<void>(ObjectNames::kFileSystem, InterfaceNames::kFileSystemA);
  engine_ = MakeGlobal<IWorkFlowEngine>(ObjectNames::kWorkFlowEngine, InterfaceNames::kWorkFlowEngine);
  mediator_ = MakeGlobal<ISignalMediator>(ObjectNames::kSignalMediator, InterfaceNames::kSignalMediator);
  host_app_ = HostApp::New();
  if (host_app_ == nullptr) throw std::bad_alloc();
  if (!WorkFlowFactory::AddGlobalObject(ObjectNames::kHostApp, host_app_, false)) throw std::bad_alloc();
  host_app_->SetRefusal([](void* watch) { return static_cast<DeliveryWatch*>(watch)->Refuses(); }, &deliveries);
  engine_->SetRunObserver(&observer);
  mediator_->SetRunObserver(&observer);
  engine_->SetHandOverLimit(1);  // A stop waits for the delivery that runs, and for no other.
}

void LibraryObjects::MakeStore() {
  IBaseWorkFlowObject* const object = WorkFlowFactory::CreateNewObject(ObjectNames::kUtilityStore);
  store_ = AskFor<IUtilityStore>(object, ObjectNames::kUtilityStore, InterfaceNames::kUtilityStore);
  for (const char* name : kStoreObjects) {
    IFactoryObjectCreator* const creator = WorkFlowFactory::CloneCreator(name);
    if (creator == nullptr) FailForLack(name);
    store_creators_.push_back(creator);
    store_->AddUtilityObjectCreator(creator);
  }
}

void LibraryObjects::GiveStore() {
  for (const char* name : {ObjectNames::kDictionary, ObjectNames::kFileSystem, ObjectNames::kWorkFlowEngine,
                           ObjectNames::kSignalMediator, ObjectNames::kHostApp}) {
    if (!WorkFlowFactory::GetGlobalObj(name)->SetUtilityStore(store_)) FailForLack(name);
  }
}

void LibraryObjects::TakeDown() noexcept {
  if (host_app_ != nullptr) {
    host_app_->Close();
    host_app_->DeliverQueued();
  }
  WorkFlowFactory::ReleaseGlobalObjects();
  if (store_ != nullptr) store_->Release();
  for (IFactoryObjectCreator* const creator : store_creators_) creator->Destroy();
  if (host_app_ != nullptr) host_app_->Release();
  WorkFlowFactory::UnloadSharedLibraries();
  is_there = false;
}

IDictionary* LibraryObjects::MakeDictionary() const {
  IDictionary* const dictionary = AskFor<IDictionary>(WorkFlowFactory::CreateNewObject(ObjectNames::kDictionary),
                                                      ObjectNames::kDictionary, InterfaceNames::kDictionary);
  dictionary->SetUtilityStore(store_);
  return dictionary;
}

}  // namespace OrvWorkFlow::Host
