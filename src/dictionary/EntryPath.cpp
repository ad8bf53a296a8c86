#include "dictionary/EntryPath.h"

#include <utility>

namespace OrvWorkFlow {

bool IsValidPath(std::string_view path) {
  const char* const end = path.data() + path.size();
  return FindFirst<AllBut<PathBytes>>(path.data(), end) == end;
}

namespace {

ElementId Walk(ElementTree& tree, ElementId at, std::string_view path) {
  PathComponents components(path);
  std::string_view component;
  while (at != kNoElement && components.Next(component)) at = tree.FindChild(at, component);
  return at;
}

// The path up to its last "/", and the component behind it, which may be empty.
std::pair<std::string_view, std::string_view> SplitLast(std::string_view path) {
  const std::size_t cut = path.rfind('/') + 1;
  return {path.substr(0, cut), path.substr(cut)};
}

}  // namespace

ElementId FindEntry(ElementTree& tree, std::string_view path) {
  if (!tree.HasUsualRoot()) return kNoElement;
  const auto [above, last] = SplitLast(path);
  ElementId parent = tree.last_parent().Find(above);
  if (parent == kNoElement) {
    parent = Walk(tree, tree.root(), above);
    if (parent != kNoElement) tree.last_parent().Keep(above, parent);
  }
  return parent == kNoElement || last.empty() ? parent : tree.FindChild(parent, last);
}

ElementId EnsureEntry(ElementTree& tree, std::string_view path) {
  if (tree.root() == kNoElement) tree.CreateRoot(kRootName);
  if (!tree.HasUsualRoot()) return kNoElement;
  const auto [above, last] = SplitLast(path);
  ElementId at = tree.last_parent().Find(above);
  PathComponents components(at == kNoElement ? path : last);
  if (at == kNoElement) at = tree.root();
  std::string_view component;
  while (components.Next(component)) at = tree.EnsureChild(at, component);
  return at;
}

}  // namespace OrvWorkFlow
