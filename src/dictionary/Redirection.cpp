#include "dictionary/Redirection.h"

#include "dictionary/EntryPath.h"
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
  WrittenEntry written{FindEntry(tree, path), path};
  for (unsigned followed = 0; written.element != kNoElement && tree.IsRedirection(written.element); ++followed) {
    ListReader targets(tree, written.element);
    std::string_view first;
    const bool is_list = tree.type(written.element) == ValueType::StringList;
    if (followed == kMaxRedirections || !is_list || !targets.Next(first)) return {kNoElement, {}, true};
    written = {FindEntry(tree, first), first};
    std::string_view other;
    while (written.element == kNoElement && targets.Next(other)) written = {FindEntry(tree, other), other};
    if (written.element == kNoElement) written.path = first;
  }
  return written;
}

}  // namespace OrvWorkFlow
