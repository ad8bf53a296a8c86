#include "signalmediator/objects/UtilityObjects.h"

#include "OrvWorkFlow/WorkFlowFactory.h"
#include "OrvWorkFlow/WorkflowSchema.h"
#include "signalmediator/definitions/DictionaryAccess.h"

namespace OrvWorkFlow::Core::Mediator {

std::string UtilityObjectPath(const char* parent, const std::string& name) { return std::string(parent) + "/" + name; }

std::string WorkNodeTypePath(const std::string& type) { return std::string(WorkflowSchema::kWorkNodes) + "/" + type; }

void LoadUtilityLibrary(IDictionary& dictionary, const std::string& definition) {
  const std::string library = EntryText(dictionary, definition + WorkflowSchema::kWin32Binary);
  WorkFlowFactory::LoadSharedLibrary(library.c_str());
}

IBaseWorkFlowObject* GetOrMakeGlobalObject(const std::string& name) noexcept {
  try {
    if (!WorkFlowFactory::IsObjectPresent(name.c_str())) return nullptr;
    IBaseWorkFlowObject* object = WorkFlowFactory::GetGlobalObj(name.c_str());
    return object != nullptr ? object : WorkFlowFactory::CreateNewGlobalObject(name.c_str());
  } catch (...) {
    return nullptr;
  }
}

void GiveUtilityStore(IBaseWorkFlowObject* object, IUtilityStore* store) noexcept {
  if (object == nullptr || store == nullptr) return;
  try {
    object->SetUtilityStore(store);
  } catch (...) {
  }
}

}  // namespace OrvWorkFlow::Core::Mediator
