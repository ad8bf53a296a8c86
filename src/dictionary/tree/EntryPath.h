// Paths of entries: components separated by "/", empty ones ignored, "IDictionaryRoot" implied before the first.
#pragma once

#include <string_view>

#include "dictionary/tree/ElementTree.h"
#include "dictionary/xml/ByteScan.h"

namespace OrvWorkFlow::Core::Dictionary {

// Walks the components that a path names below the root. The path must outlive it.
class PathComponents {
 public:
  // From a place on, which is no part of a component or its beginning.
  explicit PathComponents(std::string_view path, std::size_t from = 0)
      : begin_(path.data()), at_(path.data() + from), end_(path.data() + path.size()) {}

  // False behind the last; `component` is untouched then.
  bool Next(std::string_view& component) {
    while (at_ != end_ && *at_ == '/') ++at_;
    if (at_ == end_) return false;
    const char* const begin = at_;
    at_ = FindFirst<OneByte<'/'>>(begin_, begin, end_);
    component = {begin, static_cast<std::size_t>(at_ - begin)};
    return true;
  }

 private:
  const char* begin_;
  const char* at_;
  const char* end_;
};

// True when each component consists of ASCII letters and digits, "_" and "-". The empty path, the root's, is valid.
bool IsValidPath(std::string_view path);

// The element that the path names; kNoElement when there is none, and always when the root has another name. A path is
// found from the deepest element that it shares with the parent of the one before.
ElementId FindEntry(ElementTree& tree, std::string_view path);

// Where a path ends: at an element, or on the way to one.
struct EntryPlace {
  ElementId element = kNoElement;  // kNoElement when it is missing: then
  ElementId above = kNoElement;  // the last one on the way that is there, kNoElement without a root of the usual name,
  std::string_view missing;      // and the rest of the path, below it.
  // Whether that is one name and nothing else; its hash then.
  bool misses_child = false;
  std::uint32_t child_hash = 0;
};

// As FindEntry. The place is valid until the tree is changed, and as long as the path.
EntryPlace FindPlace(ElementTree& tree, std::string_view path);

// Makes the elements that are missing at the place that FindPlace gave for this path, without text and attributes.
// kNoElement when the root has another name. Does not validate. Throws std::bad_alloc; what was made by then stays.
ElementId MakeEntry(ElementTree& tree, std::string_view path, const EntryPlace& place);

// The element that the path names, made where it is missing, in the same way.
ElementId EnsureEntry(ElementTree& tree, std::string_view path);

}  // namespace OrvWorkFlow::Core::Dictionary
