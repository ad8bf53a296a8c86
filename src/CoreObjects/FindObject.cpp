#include "CoreObjects/FindObject.h"

#include "OrvWorkFlow/WorkFlowFactory.h"

namespace OrvWorkFlow::Core {

RawFound FindGlobal(const char* object_name, const char* interface_name) noexcept {
  try {
    IBaseWorkFlowObject* object = WorkFlowFactory::GetGlobalObj(object_name);
    if (object == nullptr) return {};
    return {nullptr, object->QueryInterface(interface_name)};
  } catch (...) {
    return {};
  }
}

RawFound MakeFromStore(IUtilityStore* store, const char* object_name, const char* interface_name) noexcept {
  if (store == nullptr) return {};
  IBaseWorkFlowObject* object = nullptr;
  try {
    if (!store->IsUtilityObjectPresent(object_name)) return {};
    object = store->GetUtilityObject(object_name);
    if (object == nullptr) return {};
    if (void* face = object->QueryInterface(interface_name)) return {object, face};
  } catch (...) {  // Released below, like an object that does not answer to the interface.
  }
  try {
    if (object != nullptr) object->Release();
  } catch (...) {
  }
  return {};
}

}  // namespace OrvWorkFlow::Core
