// The items of a list value: children "__item0", "__item1", ... of the entry's child "__ListEntries".
#pragma once

#include <array>
#include <cstddef>
#include <string_view>

#include "dictionary/tree/ElementTree.h"
#include "dictionary/xml/Bytes.h"

namespace OrvWorkFlow::Core::Dictionary {

// Reads the items by their numbers, whatever their order is; a gap in the numbers ends the list. The tree must not
// change meanwhile. All items together take time linear in their number.
class ListReader {
 public:
  // An entry without "__ListEntries" has no items.
  ListReader(ElementTree& tree, ElementId entry);
  // False behind the last item. The text is valid until that element changes.
  bool Next(std::string_view& text);

 private:
  ElementTree& tree_;
  ElementId holder_;
  ElementId expected_;  // Where the next item stands if the items are in order.
  std::size_t number_ = 0;
};

// Replaces the items of an entry: the old ones go, and the new ones stand behind the entry's other children.
class ListWriter {
 public:
  // Throws std::bad_alloc.
  ListWriter(ElementTree& tree, ElementId entry);
  // Throws std::bad_alloc; the items written before stay.
  void Add(std::string_view text);

 private:
  ElementTree& tree_;
  ElementId holder_;
  std::size_t number_ = 0;
};

// Whether the entry's items are these values (of which `format` makes texts), just as a ListWriter would write them: in
// order, nothing else among them, behind the entry's other children.
template <class Values, class Format>
bool HasItems(ElementTree& tree, ElementId entry, const Values& values, Format format) {
  const ElementId holder = tree.FindChild(entry, kListEntriesName);
  if (holder == kNoElement || tree.next_sibling(holder) != kNoElement || tree.child_count(holder) != values.size()) {
    return false;
  }
  ListReader items(tree, entry);
  ElementId item = tree.first_child(holder);
  for (const auto& value : values) {
    std::string_view text;
    if (!items.Next(text) || !SameText(text, format(value))) return false;
    const bool is_plain = tree.attributes_id(item) == AttributeTable::kEmpty && tree.first_child(item) == kNoElement;
    if (!is_plain || tree.text(item).data() != text.data()) return false;
    item = tree.next_sibling(item);
  }
  return true;
}

}  // namespace OrvWorkFlow::Core::Dictionary
