// How often this thread holds the mediator's access lock.
#pragma once

namespace OrvWorkFlow::Core {

// Counted by the mediator, read by the engine: whoever holds the mediator's lock must not wait for the engine's mutex,
// since the pump takes the two in the other order.
inline int& MediatorLockDepth() noexcept {
  static constinit thread_local int depth = 0;
  return depth;
}

}  // namespace OrvWorkFlow::Core
