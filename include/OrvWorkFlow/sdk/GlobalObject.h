// Finding the host's global objects.
#pragma once

#include "OrvWorkFlow/WorkFlowFactory.h"

namespace OrvWorkFlow::Sdk {

// The global object of that name, seen through an interface; null when the host has none.
template <class Interface>
Interface* FindGlobal(const char* object_name, const char* interface_name) {
  IBaseWorkFlowObject* object = WorkFlowFactory::GetGlobalObj(object_name);
  return object == nullptr ? nullptr : static_cast<Interface*>(object->QueryInterface(interface_name));
}

}  // namespace OrvWorkFlow::Sdk
