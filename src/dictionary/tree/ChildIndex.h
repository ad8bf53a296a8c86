// Finds a child by parent and name without a walk over its siblings.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "platform/Memory.h"

namespace OrvWorkFlow::Core::Dictionary {

// One child as the index knows it. It stands beside the elements, so that a search reads these only for its result.
struct IndexedChild {
  std::uint32_t name_hash = 0;
  std::uint32_t parent = 0;
  std::uint32_t element = 0xFFFFFFFF;
  std::uint32_t name = 0;
};

// One table for the children of all elements, hashed by parent and name. Of two children with one parent and name only
// one may be in the table. Not synchronised.
class ChildIndex {
 public:
  static constexpr std::uint32_t kNone = 0xFFFFFFFF;

  // The child of that parent and name hash that `is_it` says yes to; kNone when there is none.
  template <class IsIt>
  std::uint32_t Find(std::uint32_t parent, std::uint32_t name_hash, IsIt&& is_it) const {
    if (slots_.empty()) return kNone;
    for (std::size_t at = Home(parent, name_hash);; at = Next(at)) {
      const IndexedChild& child = slots_[at];
      if (child.element == kNone) return kNone;
      if (child.name_hash == name_hash && child.parent == parent && is_it(child)) return child.element;
    }
  }

  // After this, `count` children more can be added without a failure. Throws std::bad_alloc.
  void Reserve(std::size_t count) {
    std::size_t size = slots_.empty() ? 16 : slots_.size();
    while ((used_ + count) * 3 > size * 2) size *= 2;
    if (size == slots_.size()) return;
    Slots larger(size);
    larger.swap(slots_);
    for (const IndexedChild& child : larger) {
      if (child.element != kNone) Place(child);
    }
  }

  // Room must have been reserved.
  void Add(const IndexedChild& child) {
    Place(child);
    ++used_;
  }

  // The child must be there. What follows its place moves up.
  void Remove(std::uint32_t parent, std::uint32_t name_hash, std::uint32_t element) {
    std::size_t hole = Home(parent, name_hash);
    while (slots_[hole].element != element) hole = Next(hole);
    const std::size_t mask = slots_.size() - 1;
    for (std::size_t at = Next(hole); slots_[at].element != kNone; at = Next(at)) {
      const std::size_t home = Home(slots_[at].parent, slots_[at].name_hash);
      if (((at - home) & mask) >= ((at - hole) & mask)) {
        slots_[hole] = slots_[at];
        hole = at;
      }
    }
    slots_[hole] = {};
    --used_;
  }

  void Clear() {
    slots_ = {};
    used_ = 0;
  }

 private:
  using Slots = std::vector<IndexedChild, System::LargeAllocator<IndexedChild>>;

  std::size_t Home(std::uint32_t parent, std::uint32_t name_hash) const {
    std::uint64_t hash = (std::uint64_t{parent} << 32 | name_hash) * 0x9E3779B97F4A7C15u;
    hash ^= hash >> 32;
    hash *= 0x9E3779B97F4A7C15u;
    return static_cast<std::size_t>(hash >> 32) & (slots_.size() - 1);
  }
  std::size_t Next(std::size_t at) const { return (at + 1) & (slots_.size() - 1); }
  void Place(const IndexedChild& child) {
    std::size_t at = Home(child.parent, child.name_hash);
    while (slots_[at].element != kNone) at = Next(at);
    slots_[at] = child;
  }

  Slots slots_;  // A power of two, at most two thirds full; linear probing.
  std::size_t used_ = 0;
};

}  // namespace OrvWorkFlow::Core::Dictionary
