#include "dictionary/values/ListItems.h"

#include <algorithm>
#include <charconv>

namespace OrvWorkFlow::Core::Dictionary {
namespace {

constexpr std::string_view kItemPrefix = "__item";
using ItemNameBuffer = std::array<char, 32>;

std::string_view ItemName(std::size_t number, ItemNameBuffer& buffer) {
  char* const digits = std::copy(kItemPrefix.begin(), kItemPrefix.end(), buffer.data());
  const char* const end = std::to_chars(digits, buffer.data() + buffer.size(), number).ptr;
  return {buffer.data(), static_cast<std::size_t>(end - buffer.data())};
}

}  // namespace

ListReader::ListReader(ElementTree& tree, ElementId entry)
    : tree_(tree),
      holder_(tree.FindChild(entry, kListEntriesName)),
      expected_(holder_ == kNoElement ? kNoElement : tree.first_child(holder_)) {}

bool ListReader::Next(std::string_view& text) {
  if (holder_ == kNoElement) return false;
  ItemNameBuffer buffer;
  const std::string_view name = ItemName(number_, buffer);
  ElementId item = expected_;
  if (item == kNoElement || tree_.name(item) != name) item = tree_.FindChild(holder_, name);
  if (item == kNoElement) return false;
  ++number_;
  expected_ = tree_.next_sibling(item);
  text = tree_.text(item);
  return true;
}

ListWriter::ListWriter(ElementTree& tree, ElementId entry) : tree_(tree) {
  const ElementId old = tree.FindChild(entry, kListEntriesName);
  if (old != kNoElement) tree.Remove(old);
  holder_ = tree.AppendChild(entry, kListEntriesName);
}

void ListWriter::Add(std::string_view text) {
  ItemNameBuffer buffer;
  const ElementId item = tree_.AppendChild(holder_, ItemName(number_, buffer));
  tree_.SetText(item, text);
  ++number_;
}

}  // namespace OrvWorkFlow::Core::Dictionary
