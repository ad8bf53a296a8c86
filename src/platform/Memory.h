// Memory for tables and texts that may become large.
#pragma once

#include <cstddef>
#include <limits>
#include <new>
#include <utility>

namespace OrvWorkFlow::Core::System {

namespace SystemMemory {

// From this size on memory lies in large pages.
inline constexpr std::size_t kLarge = std::size_t{3} << 19;
inline constexpr std::size_t kLargePage = std::size_t{1} << 21;
// What the heaps of all platforms give.
inline constexpr std::size_t kAlignment = 8;

// At least `size` bytes, of whose content nothing is said, aligned to kAlignment; null for lack of memory.
// Where the system has large pages to give, first touches and random reads are much cheaper in them. What is never
// touched costs address space only. Any thread.
void* Take(std::size_t size) noexcept;
// `size` is the one that was asked for. Null is fine.
void GiveBack(void* memory, std::size_t size) noexcept;

}  // namespace SystemMemory

// Owns one piece of such memory.
class MemoryBlock {
 public:
  MemoryBlock() = default;
  // Throws std::bad_alloc.
  explicit MemoryBlock(std::size_t size) : data_(SystemMemory::Take(size)), size_(size) {
    if (data_ == nullptr) throw std::bad_alloc();
  }
  MemoryBlock(MemoryBlock&& other) noexcept
      : data_(std::exchange(other.data_, nullptr)), size_(std::exchange(other.size_, 0)) {}
  MemoryBlock& operator=(MemoryBlock&& other) noexcept {
    std::swap(data_, other.data_);
    std::swap(size_, other.size_);
    return *this;
  }
  ~MemoryBlock() { SystemMemory::GiveBack(data_, size_); }

  char* data() const { return static_cast<char*>(data_); }
  std::size_t size() const { return size_; }

 private:
  void* data_ = nullptr;
  std::size_t size_ = 0;
};

// For standard containers.
template <class T>
struct LargeAllocator {
  static_assert(alignof(T) <= SystemMemory::kAlignment);
  using value_type = T;

  LargeAllocator() = default;
  template <class Other>
  LargeAllocator(const LargeAllocator<Other>&) {}

  T* allocate(std::size_t count) {
    if (count > std::numeric_limits<std::size_t>::max() / sizeof(T)) throw std::bad_alloc();
    void* memory = SystemMemory::Take(count * sizeof(T));
    if (memory == nullptr) throw std::bad_alloc();
    return static_cast<T*>(memory);
  }
  void deallocate(T* memory, std::size_t count) noexcept { SystemMemory::GiveBack(memory, count * sizeof(T)); }

  friend bool operator==(const LargeAllocator&, const LargeAllocator&) { return true; }
};

}  // namespace OrvWorkFlow::Core::System
