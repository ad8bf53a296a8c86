#include "OrvWorkFlow/WorkFlowFactory.h"
#include "OrvWorkFlow/Names.h"

#include <string>
#include <vector>

#include "base/guard/Guarded.h"
#include "runtime/factory/CreatorRegistry.h"
#include "runtime/factory/GlobalObjects.h"
#include "runtime/plugin/PluginLoader.h"

namespace OrvWorkFlow {

namespace {

// Releases an object of foreign code; what it throws is of no use to anybody.
void ReleaseQuietly(IBaseWorkFlowObject* object) noexcept {
  try {
    object->Release();
  } catch (...) {
    // The object is gone or leaked; the caller's own failure is the one to report.
  }
}

}  // namespace

WorkFlowFactory::WorkFlowFactory(IFactoryObjectCreator* creator) noexcept : creator_(creator) {
  if (creator_ == nullptr) {
    Runtime::RegistrationScope::NoteLost();  // As a rule it could not be made.
    return;
  }
  try {
    Runtime::CreatorRegistry::Get().Add(creator_);
  } catch (...) {
    // The creator is kept and never found.
    Runtime::RegistrationScope::NoteLost();
  }
}

WorkFlowFactory::~WorkFlowFactory() {
  if (creator_ == nullptr) {
    return;
  }
  Runtime::CreatorRegistry::Get().Remove(creator_);
  try {
    creator_->Destroy();
  } catch (...) {
    // A library's unload must go on.
  }
}

IBaseWorkFlowObject* WorkFlowFactory::CreateNewObject(const char* name) {
  if (name == nullptr) {
    return nullptr;
  }
  IFactoryObjectCreator* const creator =
      Runtime::CreatorRegistry::Get().Find(name, Runtime::CreatorRegistry::Kind::kObject);
  return creator != nullptr ? creator->Create() : nullptr;
}

IBaseWorkFlowObject* WorkFlowFactory::CreateNewGlobalObject(const char* name) {
  IBaseWorkFlowObject* const present = GetGlobalObj(name);
  if (present != nullptr) {
    return present;
  }
  IBaseWorkFlowObject* const made = CreateNewObject(name);
  if (made == nullptr) {
    return nullptr;
  }
  IBaseWorkFlowObject* kept = nullptr;
  try {
    kept = Runtime::GlobalObjects::Get().Add(name, made, true);
  } catch (...) {
    kept = nullptr;
  }
  if (kept != made) {
    ReleaseQuietly(made);  // Another thread was first, or there is no memory.
  }
  return kept;
}

IBaseWorkFlowObject* WorkFlowFactory::GetGlobalObj(const char* name) {
  return name != nullptr ? Runtime::GlobalObjects::Get().Find(name) : nullptr;
}

std::uint64_t WorkFlowFactory::GetGlobalsChangeCount() noexcept { return Runtime::GlobalObjects::GetChangeCount(); }

bool WorkFlowFactory::IsObjectPresent(const char* name) {
  return name != nullptr &&
         (Runtime::CreatorRegistry::Get().Find(name, Runtime::CreatorRegistry::Kind::kObject) != nullptr ||
          Runtime::GlobalObjects::Get().Find(name) != nullptr);
}

bool WorkFlowFactory::IsWorkNodePresent(const char* type_name) {
  return type_name != nullptr &&
         Runtime::CreatorRegistry::Get().Find(type_name, Runtime::CreatorRegistry::Kind::kWorkNode) != nullptr;
}

IWorkNode* WorkFlowFactory::CreateNewWorkNode(const char* type_name, const char* instance_name) {
  if (type_name == nullptr) {
    return nullptr;
  }
  IFactoryObjectCreator* const creator =
      Runtime::CreatorRegistry::Get().Find(type_name, Runtime::CreatorRegistry::Kind::kWorkNode);
  IBaseWorkFlowObject* const object = creator != nullptr ? creator->Create() : nullptr;
  if (object == nullptr) {
    return nullptr;
  }
  try {
    auto* const node = static_cast<IWorkNode*>(object->QueryInterface(InterfaceNames::kWorkNode));
    if (node != nullptr && node->Initialise(instance_name != nullptr ? instance_name : "")) {
      return node;
    }
  } catch (...) {
    ReleaseQuietly(object);
    throw;
  }
  ReleaseQuietly(object);
  return nullptr;
}

bool WorkFlowFactory::LoadSharedLibrary(const char* path) { return Runtime::PluginLoader::Load(path); }

bool WorkFlowFactory::GetObjectTypeNames(IOrvPStringList* names) {
  if (names == nullptr) {
    return false;
  }
  return Base::Guarded([&] {
    const std::vector<std::string> type_names = Runtime::CreatorRegistry::Get().GetNames();
    names->Clear();
    for (const std::string& name : type_names) {
      if (!names->Add(name.data(), name.size())) {
        return false;
      }
    }
    return true;
  });
}

bool WorkFlowFactory::AddGlobalObject(const char* name, IBaseWorkFlowObject* object, bool take_ownership) {
  if (name == nullptr || object == nullptr || GetGlobalObj(name) != nullptr) {
    return false;
  }
  return Base::Guarded([&] { return Runtime::GlobalObjects::Get().Add(name, object, take_ownership) == object; });
}

void WorkFlowFactory::ReleaseGlobalObjects() { Runtime::GlobalObjects::Get().ReleaseAll(); }

void WorkFlowFactory::UnloadSharedLibraries() { Runtime::PluginLoader::UnloadAll(); }

IFactoryObjectCreator* WorkFlowFactory::CloneCreator(const char* name) {
  if (name == nullptr) {
    return nullptr;
  }
  IFactoryObjectCreator* const creator =
      Runtime::CreatorRegistry::Get().Find(name, Runtime::CreatorRegistry::Kind::kAny);
  return Base::Guarded([&] { return creator != nullptr ? creator->Clone() : nullptr; });
}

void WorkFlowFactory::SetRegistrationObserver(RegistrationObserver observer, void* context) {
  Runtime::CreatorRegistry::Get().SetObserver(observer, context);
}

const char* WorkFlowFactory::LastLoadError() { return Runtime::PluginLoader::GetLastError(); }

}  // namespace OrvWorkFlow
