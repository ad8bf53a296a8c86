#include "dictionary/tree/Subtree.h"

#include <algorithm>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "dictionary/values/AttributeText.h"
#include "dictionary/values/ListItems.h"
#include "dictionary/values/ValueTypes.h"
#include "dictionary/xml/XmlWriter.h"

namespace OrvWorkFlow::Core::Dictionary {
namespace {

// Goes through what is below `top`, parents before children, and along in another tree: `partner_of(partner, child)`
// gives the partner of a child, seen from its parent's, or kNoElement for a child to leave out. It may add elements to
// either tree.
template <class PartnerOf>
void WalkBelow(const ElementTree& tree, ElementId top, const ElementTree& other, ElementId partner,
               PartnerOf partner_of) {
  ElementId at = top;
  ElementId child = tree.first_child(at);
  for (;;) {
    while (child != kNoElement) {
      const ElementId below = partner_of(partner, child);
      if (below == kNoElement) {
        child = tree.next_sibling(child);
        continue;
      }
      at = child;
      partner = below;
      child = tree.first_child(at);
    }
    if (at == top) return;
    child = tree.next_sibling(at);
    at = tree.parent(at);
    partner = other.parent(partner);
  }
}

bool IsHolder(const ElementTree& tree, ElementId id) { return tree.name(id) == kListEntriesName; }

std::string ContentAttributes(const ElementTree& tree, ElementId id) {
  if (id == tree.root()) return WithoutAttribute(tree.attributes(id), kFileVersionAttribute);
  return std::string(tree.attributes(id));
}

void CopyAttributes(const ElementTree& source, ElementId from, ElementTree& target, ElementId to) {
  if (from == source.root()) {
    target.SetAttributes(to, ContentAttributes(source, from));
  } else {
    target.SetAttributes(to, source.attributes(from));
  }
}

void CopyContent(const ElementTree& source, ElementId from, ElementTree& target, ElementId to) {
  target.SetText(to, std::string(source.text(from)));
  CopyAttributes(source, from, target, to);
}

// Those but the type, which an entry with a value keeps. Of equal names the first counts, as in reading.
void MergeAttributes(const ElementTree& source, ElementId from, ElementTree& target, ElementId to) {
  if (target.attributes(to).empty()) return CopyAttributes(source, from, target, to);
  if (target.attributes(to) == source.attributes(from)) return;
  const std::string added = ContentAttributes(source, from);
  std::string merged(target.attributes(to));
  const bool has_value = target.type(to) != ValueType::Nil;
  AttributeReader reader(added);
  std::string_view name;
  std::string_view value;
  while (reader.Next(name, value)) {
    const bool is_first = FindAttribute(added, name)->data() == value.data();
    if (is_first && (name != kTypeAttribute || !has_value)) merged = WithAttribute(merged, name, value);
  }
  target.SetAttributes(to, merged);
}

void MergeContent(ElementTree& source, ElementId from, ElementTree& target, ElementId to) {
  const ValueType type = source.type(from);
  const bool is_value = type != ValueType::Nil;
  // Text without a type gives way to a value.
  if (is_value || (target.type(to) == ValueType::Nil && !source.text(from).empty())) {
    target.SetText(to, std::string(source.text(from)));
  }
  MergeAttributes(source, from, target, to);
  if (is_value && target.type(to) != type) target.SetAttributes(to, target.AttributesWithType(to, type));
  if (!IsListType(type)) return;
  ListReader items(source, from);
  ListWriter copies(target, to);
  std::string_view item;
  while (items.Next(item)) copies.Add(std::string(item));
}

using Pairs = std::vector<std::pair<std::string_view, std::string_view>>;

// In alphabetical order, the first of each name only.
Pairs SortedPairs(std::string_view attributes, bool with_type) {
  Pairs pairs;
  AttributeReader reader(attributes);
  std::string_view name;
  std::string_view value;
  while (reader.Next(name, value)) {
    if (with_type || name != kTypeAttribute) pairs.emplace_back(name, value);
  }
  const auto by_name = [](const auto& a, const auto& b) { return a.first < b.first; };
  const auto same_name = [](const auto& a, const auto& b) { return a.first == b.first; };
  std::stable_sort(pairs.begin(), pairs.end(), by_name);
  pairs.erase(std::unique(pairs.begin(), pairs.end(), same_name), pairs.end());
  return pairs;
}

bool HaveSameItems(ElementTree& first, ElementId a, ElementTree& second, ElementId b) {
  ListReader items(first, a);
  ListReader other_items(second, b);
  std::string_view item;
  std::string_view other;
  for (;;) {
    const bool is_item = items.Next(item);
    if (is_item != other_items.Next(other)) return false;
    if (!is_item) return true;
    if (item != other) return false;
  }
}

bool HaveSameContent(ElementTree& first, ElementId a, ElementTree& second, ElementId b) {
  const ValueType type = first.type(a);
  if (type != second.type(b) || first.text(a) != second.text(b)) return false;
  if (IsListType(type) && !HaveSameItems(first, a, second, b)) return false;
  if (first.attributes(a) == second.attributes(b)) return true;
  const std::string attributes = ContentAttributes(first, a);
  const std::string others = ContentAttributes(second, b);
  const bool with_type = type == ValueType::Nil;  // Two spellings of one type are the same.
  return SortedPairs(attributes, with_type) == SortedPairs(others, with_type);
}

class Comparison {
 public:
  Comparison(ElementTree& first, ElementId a, ElementTree& second, ElementId b)
      : first_(first), top_(a), second_(second), other_top_(b) {}

  std::vector<std::string> Run() {
    CompareOne(top_, other_top_);
    WalkBelow(first_, top_, second_, other_top_, [this](ElementId partner, ElementId child) {
      if (IsHolder(first_, child)) return kNoElement;
      const ElementId other = second_.FindChild(partner, first_.name(child));
      if (other == kNoElement) {
        Report(first_, top_, child);
      } else {
        CompareOne(child, other);
      }
      return other;
    });
    return std::move(differences_);
  }

 private:
  // The two themselves, and the children that the first has not.
  void CompareOne(ElementId a, ElementId b) {
    if (!HaveSameContent(first_, a, second_, b)) Report(first_, top_, a);
    for (ElementId child = second_.first_child(b); child != kNoElement; child = second_.next_sibling(child)) {
      if (IsHolder(second_, child) || first_.FindChild(a, second_.name(child)) != kNoElement) continue;
      Report(second_, other_top_, child);
    }
  }

  void Report(const ElementTree& tree, ElementId top, ElementId at) {
    std::vector<std::string_view> names;
    for (; at != top; at = tree.parent(at)) names.push_back(tree.name(at));
    std::string path;
    for (auto name = names.rbegin(); name != names.rend(); ++name) path.append("/").append(*name);
    if (path.size() > kMaxTextSize - total_size_) throw std::length_error("paths of differences");
    total_size_ += path.size();
    differences_.push_back(std::move(path));
  }

  ElementTree& first_;
  const ElementId top_;
  ElementTree& second_;
  const ElementId other_top_;
  std::vector<std::string> differences_;
  std::size_t total_size_ = 0;
};

}  // namespace

void ClearEntry(ElementTree& tree, ElementId entry) {
  while (tree.first_child(entry) != kNoElement) tree.Remove(tree.first_child(entry));
  tree.SetText(entry, {});
  tree.SetAttributes(entry, std::string_view());
}

void CopyEntry(const ElementTree& source, ElementId from, ElementTree& target, ElementId to) {
  CopyContent(source, from, target, to);
  WalkBelow(source, from, target, to, [&](ElementId partner, ElementId child) {
    const ElementId copy = target.AppendChild(partner, source.name(child));
    CopyContent(source, child, target, copy);
    return copy;
  });
}

void MergeEntry(ElementTree& source, ElementId from, ElementTree& target, ElementId to) {
  MergeContent(source, from, target, to);
  WalkBelow(source, from, target, to, [&](ElementId partner, ElementId child) {
    if (IsHolder(source, child)) return kNoElement;
    const ElementId entry = target.EnsureChild(partner, source.name(child));
    MergeContent(source, child, target, entry);
    return entry;
  });
}

std::vector<std::string> CompareEntries(ElementTree& first, ElementId a, ElementTree& second, ElementId b) {
  return Comparison(first, a, second, b).Run();
}

}  // namespace OrvWorkFlow::Core::Dictionary
