// The utility object "Encryption". Base protocol only: its cipher operations are declared when they are built.
#pragma once

#include "OrvWorkFlow/IBaseWorkFlowObject.h"

namespace OrvWorkFlow {

class IEncryption : public IBaseWorkFlowObject {
 protected:
  ~IEncryption() = default;
};

}  // namespace OrvWorkFlow
