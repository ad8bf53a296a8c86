// This folder holds the utility object "Encryption". Now: the base protocol.
#pragma once

#include "CoreObjects/BaseObject.h"
#include "CoreObjects/ObjectCreator.h"
#include "OrvWorkFlow/IEncryption.h"

namespace OrvWorkFlow {

class CEncryption final : public BaseObject<CEncryption, IEncryption> {
 public:
  static constexpr const char* kTypeName = ObjectNames::kEncryption;

  void* QueryInterface(const char* interface_name) override;
};

using CEncryptionObjectCreator = ObjectCreator<CEncryption, ObjectNames::kEncryption>;

}  // namespace OrvWorkFlow
