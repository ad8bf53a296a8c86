// The items of a list value: children "__item0", "__item1", ... of the entry's child "__ListEntries".
#pragma once

#include <array>
#include <cstddef>
#include <string_view>

#include "dictionary/ElementTree.h"

namespace OrvWorkFlow {

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

}  // namespace OrvWorkFlow
