#include "orvflow/files/SecretMemory.h"

#include <cstring>

namespace OrvWorkFlow::Program {

namespace {

// Read at each call, so that no compiler knows that the memory is only written to.
void* (*const volatile kSetMemory)(void*, int, std::size_t) = std::memset;

}  // namespace

void WipeMemory(void* bytes, std::size_t size) noexcept {
  if (size != 0) kSetMemory(bytes, 0, size);
}

}  // namespace OrvWorkFlow::Program
