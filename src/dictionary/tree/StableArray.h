// An array that grows at its end and never moves what it holds.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <new>
#include <type_traits>
#include <vector>

#include "platform/Memory.h"

namespace OrvWorkFlow::Core::Dictionary {

// Items lie in blocks of 2^kBlockBits, and these in slabs of memory that grow with the array. Not synchronised. Items
// are plain data: a new one is what its default constructor makes, and nothing is destroyed.
template <class T, unsigned kBlockBits>
class StableArray {
  static_assert(std::is_trivially_destructible_v<T> && alignof(T) <= System::SystemMemory::kAlignment);

 public:
  T& operator[](std::uint32_t at) { return blocks_[at >> kBlockBits][at & (kBlockSize - 1)]; }
  const T& operator[](std::uint32_t at) const { return blocks_[at >> kBlockBits][at & (kBlockSize - 1)]; }
  std::uint32_t size() const { return size_; }
  // Items for which there is room.
  std::size_t capacity() const { return (blocks_.size() + free_blocks_) << kBlockBits; }

  // Adds one. Throws std::bad_alloc, with the array as it was.
  T& Add() {
    if ((size_ >> kBlockBits) == blocks_.size()) AddBlock();
    return *new (&(*this)[size_++]) T;
  }
  void DropLast() { --size_; }

  // Room for `count` items in all; one that is not enough is no failure, and neither is a lack of memory.
  void Reserve(std::size_t count) noexcept {
    if (count <= capacity()) return;
    const std::size_t blocks = ((count - capacity()) >> kBlockBits) + 1;
    try {
      // What is left of the last slab is used first, so this one has to wait behind it.
      if (free_blocks_ == 0) AddSlab(blocks);
    } catch (const std::bad_alloc&) {
    }
  }

  void Clear() {
    blocks_ = {};
    slabs_ = std::vector<System::MemoryBlock>();
    free_ = nullptr;
    free_blocks_ = 0;
    size_ = 0;
  }

 private:
  static constexpr std::size_t kBlockSize = std::size_t{1} << kBlockBits;
  static constexpr std::size_t kBlockBytes = kBlockSize * sizeof(T);

  void AddBlock() {
    if (free_blocks_ == 0) AddSlab(NextSlab());
    blocks_.push_back(free_);
    free_ += kBlockSize;
    --free_blocks_;
  }
  // A quarter of what there is, and where that is much, a large page at least.
  std::size_t NextSlab() const {
    const std::size_t quarter = std::max<std::size_t>(1, blocks_.size() / 4);
    const bool is_much = blocks_.size() * kBlockBytes > System::SystemMemory::kLargePage / 2;
    return is_much ? std::max(quarter, System::SystemMemory::kLargePage / kBlockBytes) : quarter;
  }
  void AddSlab(std::size_t blocks) {
    System::MemoryBlock slab(blocks * kBlockBytes);
    T* const first = reinterpret_cast<T*>(slab.data());
    slabs_.push_back(std::move(slab));
    free_ = first;
    free_blocks_ = blocks;
  }

  std::vector<T*> blocks_;
  std::vector<System::MemoryBlock> slabs_;
  T* free_ = nullptr;  // The blocks of the last slab that are not in use.
  std::size_t free_blocks_ = 0;
  std::uint32_t size_ = 0;
};

}  // namespace OrvWorkFlow::Core::Dictionary
