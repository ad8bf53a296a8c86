// Where foreign code or a lack of memory may throw, and an answer is wanted all the same.
#pragma once

namespace OrvWorkFlow::Base {

// What the operation returns; false, null, zero or an empty value when it throws.
template <class Operation>
auto Guarded(Operation&& operation) noexcept -> decltype(operation()) {
  try {
    return operation();
  } catch (...) {
    return decltype(operation())();
  }
}

}  // namespace OrvWorkFlow::Base
