#include <sys/mman.h>

#include <cstdint>
#include <cstdlib>

#include "platform/Memory.h"

namespace OrvWorkFlow::Core::System::SystemMemory {
namespace {

std::size_t UpTo(std::size_t value, std::size_t step) { return (value + step - 1) / step * step; }

// The part that will be used begins at a large page; what the system gave before and behind it goes back.
void* TakePages(std::size_t size) {
  if (size > SIZE_MAX - 2 * kLargePage) return nullptr;
  const std::size_t used = UpTo(size, kLargePage);
  void* const all = ::mmap(nullptr, used + kLargePage, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (all == MAP_FAILED) return nullptr;
  auto* const begin = static_cast<char*>(all);
  const auto address = reinterpret_cast<std::uintptr_t>(begin);
  const std::size_t before = UpTo(address, kLargePage) - address;
  if (before > 0) ::munmap(begin, before);
  if (before < kLargePage) ::munmap(begin + before + used, kLargePage - before);
#ifdef MADV_HUGEPAGE
  ::madvise(begin + before, used, MADV_HUGEPAGE);  // A wish: without such pages others serve.
#endif
  return begin + before;
}

}  // namespace

void* Take(std::size_t size) noexcept { return size < kLarge ? std::malloc(size == 0 ? 1 : size) : TakePages(size); }

void GiveBack(void* memory, std::size_t size) noexcept {
  if (memory == nullptr) return;
  if (size < kLarge) {
    std::free(memory);
  } else {
    ::munmap(memory, UpTo(size, kLargePage));
  }
}

}  // namespace OrvWorkFlow::Core::System::SystemMemory
