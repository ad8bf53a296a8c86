// Where the last path led: many operations in a row name entries of one parent.
#pragma once

#include <array>
#include <cstddef>
#include <cstring>
#include <string_view>

#include "dictionary/tree/Element.h"

namespace OrvWorkFlow::Core::Dictionary {

// Not synchronised. Long paths are not kept.
class LastParent {
 public:
  // The element that Keep was given last for the same text; else kNoElement.
  ElementId Find(std::string_view path) const {
    const bool is_same = path.size() == length_ && std::memcmp(path.data(), path_.data(), length_) == 0;
    return is_same ? element_ : kNoElement;
  }

  // How long the text that Keep was given last is, if what follows it in the path is the name of a child; else 0.
  std::size_t SizeAbove(std::string_view path) const {
    if (length_ > path.size() || std::memcmp(path.data(), path_.data(), length_) != 0) return 0;
    return std::memchr(path.data() + length_, '/', path.size() - length_) == nullptr ? length_ : 0;
  }

  void Keep(std::string_view path, ElementId element) {
    if (path.empty() || path.size() > path_.size()) return;
    std::memcpy(path_.data(), path.data(), path.size());
    length_ = path.size();
    element_ = element;
  }

  // To be called whenever an element goes.
  void Forget() { element_ = kNoElement; }

 private:
  std::array<char, 160> path_;
  std::size_t length_ = static_cast<std::size_t>(-1);
  ElementId element_ = kNoElement;
};

}  // namespace OrvWorkFlow::Core::Dictionary
