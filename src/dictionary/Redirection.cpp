#include "dictionary/Redirection.h"

#include "dictionary/ListItems.h"

namespace OrvWorkFlow {
namespace {

// Recurses no deeper than kMaxRedirections.
ElementId FollowToRead(ElementTree& tree, ElementId entry, ValueType type, unsigned& followed) {
  if (!tree.IsRedirection(entry)) return tree.type(entry) == type ? entry : kNoElement;
  if (tree.type(entry) != ValueType::StringList || ++followed > kMaxRedirections) return kNoElement;
  ListReader targets(tree, entry);
  std::string_view target;
  while (followed <= kMaxRedirections && targets.Next(target)) {
    const ElementId next = FindEntry(tree, target);
    if (next == kNoElement) continue;
    const ElementId found = FollowToRead(tree, next, type, followed);
    if (found != kNoElement) return found;
  }
  return kNoElement;
}

}  // namespace

ElementId FindReadEntry(ElementTree& tree, std::string_view path, ValueType type) {
  const ElementId entry = FindEntry(tree, path);
  unsigned followed = 0;
  return entry == kNoElement ? kNoElement : FollowToRead(tree, entry, type, followed);
}

WrittenEntry FindWrittenEntry(ElementTree& tree, std::string_view path) {
  WrittenEntry written{FindPlace(tree, path), path};
  unsigned followed = 0;
  while (written.place.element != kNoElement && tree.IsRedirection(written.place.element)) {
    ListReader targets(tree, written.place.element);
    std::string_view target;
    const bool is_list = tree.type(written.place.element) == ValueType::StringList;
    if (followed++ == kMaxRedirections || !is_list || !targets.Next(target)) return {{}, {}, true, true};
    written = {FindPlace(tree, target), target, true};
    while (written.place.element == kNoElement && targets.Next(target)) {
      const EntryPlace other = FindPlace(tree, target);
      if (other.element != kNoElement) written = {other, target, true};
    }
  }
  return written;
}

}  // namespace OrvWorkFlow
