#include <cstdlib>

#include "platform/Memory.h"

// Large pages want a privilege here that few processes have, so the heap serves all sizes.
namespace OrvWorkFlow::Core::System::SystemMemory {

void* Take(std::size_t size) noexcept { return std::malloc(size == 0 ? 1 : size); }

void GiveBack(void* memory, std::size_t) noexcept { std::free(memory); }

}  // namespace OrvWorkFlow::Core::System::SystemMemory
