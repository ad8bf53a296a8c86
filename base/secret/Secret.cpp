#include "base/secret/Secret.h"

namespace OrvWorkFlow::Base {
namespace {

// Read at each call, so that no compiler knows that the function called only writes to memory about to be freed.
void* (*const volatile kSetMemory)(void*, int, std::size_t) = std::memset;

}  // namespace

void Wipe(void* bytes, std::size_t size) noexcept {
  if (size != 0) kSetMemory(bytes, 0, size);
}

}  // namespace OrvWorkFlow::Base
