#include "encryption/EncryptionObject.h"

#include <cstring>

namespace OrvWorkFlow {

void* CEncryption::QueryInterface(const char* interface_name) {
  if (interface_name == nullptr || std::strcmp(interface_name, InterfaceNames::kEncryption) != 0) return nullptr;
  return static_cast<IEncryption*>(this);
}

}  // namespace OrvWorkFlow
