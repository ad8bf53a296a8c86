#include "workflowengine/Collaborators.h"

#include "OrvWorkFlow/WorkFlowFactory.h"
#include "base/lock/Mutex.h"

namespace OrvWorkFlow::Core::Engine {

bool Collaborators::SetStore(IUtilityStore* store) noexcept {
  IUtilityStore* none = nullptr;
  return store_.compare_exchange_strong(none, store);
}

IDictionary* Collaborators::Dictionary() noexcept {
  return FindGlobalObject<IDictionary>(ObjectNames::kDictionary, InterfaceNames::kDictionary).get();
}

Found<IDictionary> Collaborators::MakeDictionary(const IDictionary* global) {
  IUtilityStore* store = store_.load();
  Found<IDictionary> made =
      MakeObjectFromStore<IDictionary>(store, ObjectNames::kDictionary, InterfaceNames::kDictionary);
  if (made && made.get() != global) return made;
  made.Forget();
  IBaseWorkFlowObject* const object = WorkFlowFactory::CreateNewObject(ObjectNames::kDictionary);
  if (object == nullptr) return made;
  made = Found<IDictionary>(object, static_cast<IDictionary*>(object->QueryInterface(InterfaceNames::kDictionary)));
  if (made && store != nullptr) made->SetUtilityStore(store);
  return made;
}

void Collaborators::GiveNewKey(ISignalMediator& mediator) noexcept {
  if (!key_is_new_.exchange(false)) return;
  try {
    GiveKey(mediator);
  } catch (...) {
    key_is_new_ = true;  // The next call tries again.
  }
}

IFileSystemA* Collaborators::FileSystem() noexcept { return file_system_.Get(store_.load()); }

IHostApp* Collaborators::HostApp() noexcept { return host_app_.Get(store_.load()); }

void Collaborators::SetKey(const char* key) noexcept {
  {
    const Base::Hold lock(key_mutex_);
    key_is_lost_ = false;
    try {
      key_.Assign(key != nullptr ? key : "");
    } catch (...) {
      key_is_lost_ = true;
    }
    key_is_new_ = true;
  }
  Mediator();
}

bool Collaborators::CopyKey(Base::SecretText& key) const {
  const Base::Hold lock(key_mutex_);
  if (!key_is_lost_) key.Assign(key_.view());
  return !key_is_lost_;
}

bool Collaborators::GiveKey(IBaseWorkFlowObject& object) const {
  Base::SecretText key;
  if (!CopyKey(key)) return false;
  object.SetEncryptionKey(key.c_str());
  return true;
}

void Collaborators::UseLogger(ILogger& logger) noexcept {
  if (!logger_announced_.exchange(true)) tracer_.SetLogger(&logger);
}

}  // namespace OrvWorkFlow::Core::Engine
