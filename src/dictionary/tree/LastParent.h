// Where the last path led: many operations in a row name entries of one parent.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <string_view>

#include "dictionary/tree/Element.h"
#include "dictionary/xml/Bytes.h"

namespace OrvWorkFlow::Core::Dictionary {

// Not synchronised. Long paths are not kept.
class LastParent {
 public:
  // What Keep was given last; kNoElement, and no path, when it was forgotten.
  ElementId element() const { return element_; }
  std::string_view path() const { return {path_.data(), element_ == kNoElement ? 0 : length_}; }

  // How long that path is, if what follows it in this one is the name of a child, or nothing; else 0.
  std::size_t SizeAbove(std::string_view path) const {
    if (element_ == kNoElement || length_ > path.size()) return 0;
    if (std::memcmp(path.data(), path_.data(), length_) != 0) return 0;
    return std::memchr(path.data() + length_, '/', path.size() - length_) == nullptr ? length_ : 0;
  }

  // How much both paths have in common, up to a "/".
  std::size_t SizeShared(std::string_view path) const {
    const std::string_view kept = this->path();
    std::size_t size = CommonSize(kept.data(), path.data(), std::min(kept.size(), path.size()));
    while (size > 0 && kept[size - 1] != '/') --size;
    return size;
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
  std::size_t length_ = 0;
  ElementId element_ = kNoElement;
};

}  // namespace OrvWorkFlow::Core::Dictionary
