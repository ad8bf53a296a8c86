#include "dictionary/object/Redirection.h"

#include "dictionary/values/ListItems.h"

namespace OrvWorkFlow::Core::Dictionary {
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

std::optional<RedirectedWrite> FollowToWrite(ElementTree& tree, ElementId redirection) {
  for (unsigned followed = 0; followed < kMaxRedirections; ++followed) {
    ListReader targets(tree, redirection);
    std::string_view target;
    if (tree.type(redirection) != ValueType::StringList || !targets.Next(target)) return std::nullopt;
    RedirectedWrite written = {target, FindPlace(tree, target)};
    while (written.place.element == kNoElement && targets.Next(target)) {
      const EntryPlace other = FindPlace(tree, target);
      if (other.element != kNoElement) written = {target, other};
    }
    redirection = written.place.element;
    if (redirection != kNoElement && tree.IsRedirection(redirection)) continue;
    if (!IsValidPath(written.path)) return std::nullopt;
    return written;
  }
  return std::nullopt;
}

}  // namespace OrvWorkFlow::Core::Dictionary
