// Paths of entries: components separated by "/", empty ones ignored, "IDictionaryRoot" implied before the first.
#pragma once

#include <string_view>

#include "dictionary/ElementTree.h"

namespace OrvWorkFlow {

// Walks the components that a path names below the root. The path must outlive it.
class PathComponents {
 public:
  explicit PathComponents(std::string_view path) : rest_(path) {}
  // False behind the last; `component` is untouched then.
  bool Next(std::string_view& component);

 private:
  std::string_view rest_;
};

// True when each component consists of ASCII letters and digits, "_" and "-". The empty path, the root's, is valid.
bool IsValidPath(std::string_view path);

// The element that the path names; kNoElement when there is none, and always when the root has another name.
ElementId FindEntry(ElementTree& tree, std::string_view path);

// The same, with every missing element made, without text and attributes. kNoElement when the root has another name.
// Does not validate. Throws std::bad_alloc; what was made by then stays.
ElementId EnsureEntry(ElementTree& tree, std::string_view path);

}  // namespace OrvWorkFlow
