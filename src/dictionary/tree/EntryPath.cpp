#include "dictionary/tree/EntryPath.h"

#include <utility>

namespace OrvWorkFlow::Core::Dictionary {

bool IsValidPath(std::string_view path) {
  const char* const end = path.data() + path.size();
  return FindFirst<AllBut<PathBytes>>(path.data(), end) == end;
}

namespace {

ElementId Walk(ElementTree& tree, ElementId at, PathComponents components) {
  std::string_view component;
  while (at != kNoElement && components.Next(component)) at = tree.FindChild(at, component);
  return at;
}

// The path up to its last "/", and the component behind it, which may be empty.
std::pair<std::string_view, std::string_view> SplitLast(std::string_view path) {
  const std::size_t cut = path.rfind('/') + 1;
  return {path.substr(0, cut), path.substr(cut)};
}

// Where a part of a text begins in it.
std::size_t Offset(std::string_view whole, std::string_view part) {
  return static_cast<std::size_t>(part.data() - whole.data());
}

// Where the walk along a path begins: an element on it, and how much of the path leads there. Going up from the parent
// that was kept takes a fraction of going down from the root (saved_queues of signals_bench).
struct WalkStart {
  ElementId element;
  std::size_t size;
};

WalkStart StartOf(ElementTree& tree, std::string_view path) {
  const LastParent& last = tree.last_parent();
  const std::size_t shared = last.SizeShared(path);
  if (shared == 0) return {tree.root(), 0};
  ElementId at = last.element();
  PathComponents above(last.path(), shared);
  std::string_view component;
  while (above.Next(component)) at = tree.parent(at);
  return {at, shared};
}

EntryPlace PlaceOfChild(ElementTree& tree, ElementId parent, std::string_view name) {
  const std::uint32_t hash = tree.HashOf(name);
  const ElementId child = tree.FindChild(parent, name, hash);
  if (child == kNoElement) return {kNoElement, parent, name, true, hash};
  return {child, kNoElement, {}};
}

EntryPlace WalkToPlace(ElementTree& tree, std::string_view path) {
  const auto [above, last] = SplitLast(path);
  auto [at, size] = StartOf(tree, path);
  PathComponents components(path, size);
  std::string_view component;
  while (components.Next(component)) {
    if (component.data() == last.data()) {
      tree.last_parent().Keep(above, at);
      return PlaceOfChild(tree, at, component);
    }
    const ElementId child = tree.FindChild(at, component);
    if (child == kNoElement) return {kNoElement, at, path.substr(Offset(path, component))};
    at = child;
  }
  return {at, kNoElement, {}};
}

}  // namespace

ElementId FindEntry(ElementTree& tree, std::string_view path) {
  if (!tree.HasUsualRoot()) return kNoElement;
  if (const std::size_t known = tree.last_parent().SizeAbove(path); known != 0) {
    const ElementId parent = tree.last_parent().element();
    return known == path.size() ? parent : tree.FindChild(parent, path.substr(known));
  }
  const auto [above, last] = SplitLast(path);
  const auto [start, size] = StartOf(tree, above);
  const ElementId parent = Walk(tree, start, PathComponents(above, size));
  if (parent != kNoElement) tree.last_parent().Keep(above, parent);
  return parent == kNoElement || last.empty() ? parent : tree.FindChild(parent, last);
}

EntryPlace FindPlace(ElementTree& tree, std::string_view path) {
  if (!tree.HasUsualRoot()) return {kNoElement, kNoElement, path};
  const std::size_t known = tree.last_parent().SizeAbove(path);
  if (known == 0) return WalkToPlace(tree, path);
  const ElementId parent = tree.last_parent().element();
  if (known == path.size()) return {parent, kNoElement, {}};
  return PlaceOfChild(tree, parent, path.substr(known));
}

// A parent that is made here is likely to get more children.
ElementId MakeEntry(ElementTree& tree, std::string_view path, const EntryPlace& place) {
  ElementId at = place.above;
  if (place.misses_child) return tree.AppendChild(at, place.missing, place.child_hash);
  if (at == kNoElement) {
    if (tree.root() != kNoElement) return kNoElement;
    at = tree.CreateRoot(kRootName);
  }
  const auto [above, last] = SplitLast(path);
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
