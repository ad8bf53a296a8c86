// Finds a child by parent and name without a walk over its siblings.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "platform/Memory.h"

namespace OrvWorkFlow {

// One table for the children of all elements: their numbers, hashed by (parent, name). Not synchronised.
class ChildIndex {
 public:
  static constexpr std::uint32_t kNone = 0xFFFFFFFF;

  // `name_hash` is that of the child's name, whatever hash function the names have.
  static std::uint32_t Hash(std::uint32_t parent, std::uint32_t name_hash) {
    std::uint64_t hash = (std::uint64_t{parent} << 32 | name_hash) * 0x9E3779B97F4A7C15u;
    hash ^= hash >> 32;
    hash *= 0x9E3779B97F4A7C15u;
    return static_cast<std::uint32_t>(hash >> 32);
  }

  // The element of that hash that `is_it` says yes to.
  template <class IsIt>
  std::uint32_t Find(std::uint32_t hash, IsIt&& is_it) const {
    if (slots_.empty()) return kNone;
    for (std::size_t at = Home(hash);; at = Next(at)) {
      const Slot slot = slots_[at];
      if (slot.element == kNone || (slot.hash == hash && is_it(slot.element))) return slot.element;
    }
  }

  // After this, `count` elements more can be added without a failure. Throws std::bad_alloc.
  void Reserve(std::size_t count) {
    std::size_t size = slots_.empty() ? 16 : slots_.size();
    while ((used_ + count) * 3 > size * 2) size *= 2;
    if (size == slots_.size()) return;
    Slots larger(size);
    larger.swap(slots_);
    for (const Slot slot : larger) {
      if (slot.element != kNone) Place(slot);
    }
  }

  // Room must have been reserved.
  void Add(std::uint32_t hash, std::uint32_t element) {
    Place({hash, element});
    ++used_;
  }

  // The element must be there. What follows its place moves up.
  void Remove(std::uint32_t hash, std::uint32_t element) {
    std::size_t hole = Home(hash);
    while (slots_[hole].element != element) hole = Next(hole);
    const std::size_t mask = slots_.size() - 1;
    for (std::size_t at = Next(hole); slots_[at].element != kNone; at = Next(at)) {
      if (((at - Home(slots_[at].hash)) & mask) >= ((at - hole) & mask)) {
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
  struct Slot {
    std::uint32_t hash = 0;
    std::uint32_t element = kNone;
  };
  using Slots = std::vector<Slot, LargeAllocator<Slot>>;

  std::size_t Home(std::uint32_t hash) const { return hash & (slots_.size() - 1); }
  std::size_t Next(std::size_t at) const { return (at + 1) & (slots_.size() - 1); }
  void Place(Slot slot) {
    std::size_t at = Home(slot.hash);
    while (slots_[at].element != kNone) at = Next(at);
    slots_[at] = slot;
  }

  Slots slots_;  // A power of two, at most two thirds full; linear probing.
  std::size_t used_ = 0;
};

}  // namespace OrvWorkFlow
