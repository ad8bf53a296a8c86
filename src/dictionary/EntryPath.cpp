#include "dictionary/EntryPath.h"

#include <algorithm>

#include "dictionary/Bytes.h"

namespace OrvWorkFlow {
bool PathComponents::Next(std::string_view& component) {
  const char* at = rest_.data();
  const char* const end = at + rest_.size();
  while (at != end && *at == '/') ++at;
  if (at == end) {
    rest_ = {};
    return false;
  }
  const char* const begin = at;
  while (at != end && *at != '/') ++at;
  component = {begin, static_cast<std::size_t>(at - begin)};
  rest_ = {at, static_cast<std::size_t>(end - at)};
  return true;
}

bool IsValidPath(std::string_view path) {
  return std::all_of(path.begin(), path.end(),
                     [](char c) { return IsLetter(c) || IsDigit(c) || c == '/' || c == '_' || c == '-'; });
}

ElementId FindEntry(ElementTree& tree, std::string_view path) {
  if (!tree.HasUsualRoot()) return kNoElement;
  ElementId at = tree.root();
  PathComponents components(path);
  std::string_view component;
  while (at != kNoElement && components.Next(component)) at = tree.FindChild(at, component);
  return at;
}

ElementId EnsureEntry(ElementTree& tree, std::string_view path) {
  if (tree.root() == kNoElement) tree.CreateRoot(kRootName);
  if (!tree.HasUsualRoot()) return kNoElement;
  ElementId at = tree.root();
  PathComponents components(path);
  std::string_view component;
  while (components.Next(component)) at = tree.EnsureChild(at, component);
  return at;
}

}  // namespace OrvWorkFlow
