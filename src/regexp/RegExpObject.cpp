#include "regexp/RegExpObject.h"

#include <cstring>

namespace OrvWorkFlow {

void* CRegExp::QueryInterface(const char* interface_name) {
  if (interface_name == nullptr || std::strcmp(interface_name, InterfaceNames::kRegExp) != 0) return nullptr;
  return static_cast<IRegExp*>(this);
}

}  // namespace OrvWorkFlow
