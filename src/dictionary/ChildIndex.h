// Finds a child by parent and name without a walk over its siblings.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace OrvWorkFlow {

// One table for the children of all elements that have many: the elements' numbers, hashed by (parent, name). `Tree`
// knows both of an element (`parent(id)`, `name_id(id)`). Of two children with one parent and name only one may be in
// the table. Not synchronised.
class ChildIndex {
 public:
  static constexpr std::uint32_t kNone = 0xFFFFFFFF;

  template <class Tree>
  std::uint32_t Find(const Tree& tree, std::uint32_t parent, std::uint32_t name) const {
    if (slots_.empty()) return kNone;
    for (std::size_t at = Home(parent, name);; at = Next(at)) {
      const std::uint32_t element = slots_[at];
      if (element == kNone || (tree.parent(element) == parent && tree.name_id(element) == name)) return element;
    }
  }

  // After this, `count` elements more can be added without a failure. Throws std::bad_alloc.
  template <class Tree>
  void Reserve(const Tree& tree, std::size_t count) {
    std::size_t size = slots_.empty() ? 64 : slots_.size();
    while ((used_ + count) * 3 > size * 2) size *= 2;
    if (size == slots_.size()) return;
    std::vector<std::uint32_t> larger(size, kNone);
    larger.swap(slots_);
    for (const std::uint32_t element : larger) {
      if (element != kNone) Place(tree, element);
    }
  }

  template <class Tree>
  void Add(const Tree& tree, std::uint32_t element) {
    Place(tree, element);
    ++used_;
  }

  // The element must be there, and still know its parent and name. What follows its place moves up.
  template <class Tree>
  void Remove(const Tree& tree, std::uint32_t element) {
    std::size_t hole = Home(tree.parent(element), tree.name_id(element));
    while (slots_[hole] != element) hole = Next(hole);
    for (std::size_t at = Next(hole); slots_[at] != kNone; at = Next(at)) {
      const std::size_t home = Home(tree.parent(slots_[at]), tree.name_id(slots_[at]));
      const std::size_t mask = slots_.size() - 1;
      if (((at - home) & mask) >= ((at - hole) & mask)) {
        slots_[hole] = slots_[at];
        hole = at;
      }
    }
    slots_[hole] = kNone;
    --used_;
  }

  void Clear() {
    slots_ = {};
    used_ = 0;
  }

 private:
  std::size_t Home(std::uint32_t parent, std::uint32_t name) const {
    std::uint64_t hash = (std::uint64_t{parent} << 32 | name) * 0x9E3779B97F4A7C15u;
    hash ^= hash >> 32;
    hash *= 0x9E3779B97F4A7C15u;
    return static_cast<std::size_t>(hash >> 32) & (slots_.size() - 1);
  }
  std::size_t Next(std::size_t at) const { return (at + 1) & (slots_.size() - 1); }
  template <class Tree>
  void Place(const Tree& tree, std::uint32_t element) {
    std::size_t at = Home(tree.parent(element), tree.name_id(element));
    while (slots_[at] != kNone) at = Next(at);
    slots_[at] = element;
  }

  std::vector<std::uint32_t> slots_;  // A power of two, at most two thirds full; linear probing.
  std::size_t used_ = 0;
};

}  // namespace OrvWorkFlow
