// Containers whose memory is wiped before it is given back.
#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "base/secret/Secret.h"

namespace OrvWorkFlow::Base {

template <class T>
struct WipingAllocator {
  using value_type = T;

  WipingAllocator() = default;
  template <class Other>
  WipingAllocator(const WipingAllocator<Other>& /*other*/) noexcept {}

  T* allocate(std::size_t count) { return std::allocator<T>().allocate(count); }
  void deallocate(T* block, std::size_t count) noexcept {
    Wipe(block, count * sizeof(T));
    std::allocator<T>().deallocate(block, count);
  }
  bool operator==(const WipingAllocator& /*other*/) const { return true; }
};

// Grows. A vector and no string: that would keep a short text in itself, where no allocator wipes it.
using WipedText = std::vector<char, WipingAllocator<char>>;

}  // namespace OrvWorkFlow::Base
