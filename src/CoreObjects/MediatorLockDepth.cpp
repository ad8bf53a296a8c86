#include "CoreObjects/MediatorLockDepth.h"

namespace OrvWorkFlow::Core {

int& MediatorLockDepth() noexcept {
  thread_local int depth = 0;
  return depth;
}

}  // namespace OrvWorkFlow::Core
