// The utility object "Encryption". Base protocol only: its cipher operations are declared when they are built.
#pragma once

#include <cstddef>

#include "OrvWorkFlow/IBaseWorkFlowObject.h"

namespace OrvWorkFlow {

// In bytes. A longer key is refused by every cipher operation.
inline constexpr std::size_t kMaxKeyLength = 240;

class IEncryption : public IBaseWorkFlowObject {
 protected:
  ~IEncryption() = default;
};

}  // namespace OrvWorkFlow
