// Keeps exceptions inside an interface.
#pragma once

namespace OrvWorkFlow::Core::Dictionary {

// What the operation answers; false without memory and when an object that it was given throws.
template <class Operation>
bool Guarded(Operation&& operation) noexcept {
  try {
    return operation();
  } catch (...) {
    return false;
  }
}

}  // namespace OrvWorkFlow::Core::Dictionary
