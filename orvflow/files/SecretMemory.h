// Memory for keys and for texts in the clear: wiped before it is given back.
#pragma once

#include <cstddef>
#include <memory>
#include <string_view>
#include <vector>

namespace OrvWorkFlow::Program {

// Overwrites the bytes with zeros, also when nobody reads them again.
void WipeMemory(void* bytes, std::size_t size) noexcept;

template <class T>
struct WipingAllocator {
  using value_type = T;

  WipingAllocator() = default;
  template <class Other>
  WipingAllocator(const WipingAllocator<Other>& /*other*/) noexcept {}

  T* allocate(std::size_t count) { return std::allocator<T>().allocate(count); }
  void deallocate(T* block, std::size_t count) noexcept {
    WipeMemory(block, count * sizeof(T));
    std::allocator<T>().deallocate(block, count);
  }
  bool operator==(const WipingAllocator& /*other*/) const { return true; }
};

// A vector and no string: that would keep a short text in itself, where no allocator wipes it.
using SecretText = std::vector<char, WipingAllocator<char>>;

inline std::string_view ViewOf(const SecretText& text) { return {text.data(), text.size()}; }
inline void Append(SecretText& text, std::string_view more) { text.insert(text.end(), more.begin(), more.end()); }

}  // namespace OrvWorkFlow::Program
