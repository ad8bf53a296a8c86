// Replaces this program's operator new by one that counts, and fails when told to. For one file of a program; what
// other modules allocate counts too where they share the operator (not on Windows).
#pragma once

#include <cstdlib>
#include <limits>
#include <new>

namespace orv_test {

// Of this thread.
inline thread_local std::size_t allocation_count = 0;
inline thread_local std::size_t allocations_allowed = std::numeric_limits<std::size_t>::max();

inline thread_local std::size_t failures_left = std::numeric_limits<std::size_t>::max();  // Behind those allowed.

inline void* AllocateOrFail(std::size_t size) noexcept {
  if (allocations_allowed > 0) {
    --allocations_allowed;
  } else if (failures_left > 0) {
    --failures_left;
    return nullptr;
  }
  ++allocation_count;
  return std::malloc(size != 0 ? size : 1);
}

// Lets so many allocations of this thread succeed while it lives.
class AllocationLimit {
 public:
  explicit AllocationLimit(std::size_t limit) { allocations_allowed = limit; }
  ~AllocationLimit() { allocations_allowed = std::numeric_limits<std::size_t>::max(); }
  AllocationLimit(const AllocationLimit&) = delete;
  AllocationLimit& operator=(const AllocationLimit&) = delete;
};

// While it lives the n-th allocation of this thread fails, counted from 1, and no other.
class FailedAllocation {
 public:
  explicit FailedAllocation(std::size_t n) : limit_(n - 1) { failures_left = 1; }
  ~FailedAllocation() { failures_left = std::numeric_limits<std::size_t>::max(); }
  FailedAllocation(const FailedAllocation&) = delete;
  FailedAllocation& operator=(const FailedAllocation&) = delete;

  bool fired() const { return failures_left == 0; }

 private:
  AllocationLimit limit_;
};

}  // namespace orv_test

// Not inlined: the compiler would take the two halves for a mismatch.
[[gnu::noinline]] void* operator new(std::size_t size) {
  if (void* memory = orv_test::AllocateOrFail(size)) return memory;
  throw std::bad_alloc();
}
[[gnu::noinline]] void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
  return orv_test::AllocateOrFail(size);
}
void* operator new[](std::size_t size) { return operator new(size); }
void* operator new[](std::size_t size, const std::nothrow_t& tag) noexcept { return operator new(size, tag); }
[[gnu::noinline]] void operator delete(void* memory) noexcept { std::free(memory); }
[[gnu::noinline]] void operator delete(void* memory, std::size_t /*size*/) noexcept { std::free(memory); }
[[gnu::noinline]] void operator delete(void* memory, const std::nothrow_t& /*tag*/) noexcept { std::free(memory); }
[[gnu::noinline]] void operator delete[](void* memory) noexcept { std::free(memory); }
[[gnu::noinline]] void operator delete[](void* memory, std::size_t /*size*/) noexcept { std::free(memory); }
[[gnu::noinline]] void operator delete[](void* memory, const std::nothrow_t& /*tag*/) noexcept { std::free(memory); }
