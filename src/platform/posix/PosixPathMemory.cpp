#include "platform/posix/KeptPaths.h"

namespace OrvWorkFlow::Core::System {
namespace {

constinit thread_local PathMemory* innermost = nullptr;

}  // namespace

PathMemory::PathMemory() noexcept : outer_(innermost) { innermost = this; }
PathMemory::~PathMemory() { innermost = outer_; }

KeptPaths* PathMemory::OfThread() {
  if (innermost == nullptr) return nullptr;
  if (innermost->paths_ == nullptr) innermost->paths_ = std::make_unique<KeptPaths>();
  return innermost->paths_.get();
}

}  // namespace OrvWorkFlow::Core::System
