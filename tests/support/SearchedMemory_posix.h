// Replaces this program's operator delete by one that looks for a text in each block that is given back. For one file
// of a program.
#pragma once

#include <malloc.h>

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string_view>

namespace orv_test {

inline std::string_view wanted_text;  // Before BlocksThatHeld runs.
inline std::atomic<bool> is_searching = false;
inline std::atomic<int> found_blocks = 0;

inline void SearchBlock(void* block) noexcept {
  if (!is_searching || block == nullptr) return;
  if (::memmem(block, ::malloc_usable_size(block), wanted_text.data(), wanted_text.size()) != nullptr) ++found_blocks;
}

// How many blocks that hold the text are given back by the work, on all threads.
template <class Work>
int BlocksThatHeld(std::string_view text, const Work& work) {
  wanted_text = text;
  found_blocks = 0;
  is_searching = true;
  work();
  is_searching = false;
  return found_blocks;
}

}  // namespace orv_test

// Not inlined: else the compiler, which knows the ones it would have taken, leaves pairs of them out.
[[gnu::noinline]] void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
  return std::calloc(1, size == 0 ? 1 : size);
}
void* operator new(std::size_t size) {
  if (void* const block = operator new(size, std::nothrow)) return block;
  throw std::bad_alloc();
}
void* operator new[](std::size_t size) { return operator new(size); }
void* operator new[](std::size_t size, const std::nothrow_t& tag) noexcept { return operator new(size, tag); }
[[gnu::noinline]] void operator delete(void* block) noexcept {
  orv_test::SearchBlock(block);
  std::free(block);
}
void operator delete[](void* block) noexcept { operator delete(block); }
void operator delete(void* block, std::size_t /*size*/) noexcept { operator delete(block); }
void operator delete[](void* block, std::size_t /*size*/) noexcept { operator delete(block); }
