// The system takes paths as they are: there is nothing to be kept.
#include "platform/PathMemory.h"

namespace OrvWorkFlow::Core::System {

struct KeptPaths {};

PathMemory::PathMemory() noexcept : outer_(nullptr) {}
PathMemory::~PathMemory() = default;

KeptPaths* PathMemory::OfThread() { return nullptr; }

}  // namespace OrvWorkFlow::Core::System
