#include "dictionary/tree/EntryPath.h"

#include <utility>

namespace OrvWorkFlow::Core::Dictionary {

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
std::pair<std::string_view, std::string_view> SplitLast(ElementTree& tree, std::string_view path) {
  const std::size_t known = tree.last_parent().SizeAbove(path);
  const std::size_t cut = known != 0 ? known : path.rfind('/') + 1;
  return {path.substr(0, cut), path.substr(cut)};
}

// Where a part of a text begins in it.
std::size_t Offset(std::string_view whole, std::string_view part) {
  return static_cast<std::size_t>(part.data() - whole.data());
}

EntryPlace WalkToPlace(ElementTree& tree, std::string_view path) {
  const auto [above, last] = SplitLast(tree, path);
  ElementId at = tree.root();
  PathComponents components(path);
  std::string_view component;
  while (components.Next(component)) {
    if (component.data() == last.data()) tree.last_parent().Keep(above, at);
    const ElementId child = tree.FindChild(at, component);
    if (child == kNoElement) return {kNoElement, at, path.substr(Offset(path, component))};
    at = child;
  }
  return {at, kNoElement, {}};
}

}  // namespace

ElementId FindEntry(ElementTree& tree, std::string_view path) {
  if (!tree.HasUsualRoot()) return kNoElement;
  const auto [above, last] = SplitLast(tree, path);
  ElementId parent = tree.last_parent().Find(above);
  if (parent == kNoElement) {
    parent = Walk(tree, tree.root(), above);
    if (parent != kNoElement) tree.last_parent().Keep(above, parent);
  }
  return parent == kNoElement || last.empty() ? parent : tree.FindChild(parent, last);
}

EntryPlace FindPlace(ElementTree& tree, std::string_view path) {
  if (!tree.HasUsualRoot()) return {kNoElement, kNoElement, path};
  const auto [above, last] = SplitLast(tree, path);
  const ElementId parent = tree.last_parent().Find(above);
  if (parent == kNoElement) return WalkToPlace(tree, path);
  const ElementId child = last.empty() ? parent : tree.FindChild(parent, last);
  if (child == kNoElement) return {kNoElement, parent, last};
  return {child, kNoElement, {}};
}

// A parent that is made here is likely to get more children.
ElementId MakeEntry(ElementTree& tree, std::string_view path, const EntryPlace& place) {
  ElementId at = place.above;
  if (at == kNoElement) {
    if (tree.root() != kNoElement) return kNoElement;
    at = tree.CreateRoot(kRootName);
  }
  const auto [above, last] = SplitLast(tree, path);
  PathComponents components(place.missing);
  std::string_view component;
  while (components.Next(component)) {
    if (component.data() == last.data()) tree.last_parent().Keep(above, at);
    at = tree.AppendChild(at, component);
  }
  return at;
}

ElementId EnsureEntry(ElementTree& tree, std::string_view path) {
  const EntryPlace place = FindPlace(tree, path);
  return place.element != kNoElement ? place.element : MakeEntry(tree, path, place);
}

}  // namespace OrvWorkFlow::Core::Dictionary
