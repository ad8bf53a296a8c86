#include "dictionary/EntryPath.h"

namespace OrvWorkFlow {

bool IsValidPath(std::string_view path) {
  const char* const end = path.data() + path.size();
  return FindFirst<AllBut<PathBytes>>(path.data(), end) == end;
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
