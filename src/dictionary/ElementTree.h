// The tree of named elements that a dictionary holds: each with a text, a raw attribute text and children in the order
// in which they were added.
//
// Elements lie in blocks and are known by number. Names and attribute texts are kept once each, however many elements
// have them. A text may be a view of the file it was loaded from, which the tree keeps. Nothing recurses: a tree may be
// as deep as memory allows. Not synchronised.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>
#include <utility>
#include <vector>

#include "dictionary/AttributeTable.h"
#include "dictionary/ChildIndex.h"
#include "dictionary/NameTable.h"
#include "dictionary/StoredText.h"

namespace OrvWorkFlow {

using ElementId = std::uint32_t;
inline constexpr ElementId kNoElement = 0xFFFFFFFF;

inline constexpr std::string_view kRootName = "IDictionaryRoot";
inline constexpr std::string_view kListEntriesName = "__ListEntries";

// Operations that make or change something throw std::bad_alloc, with the tree as it was. An `ElementId` is valid until
// the element is removed, a `NameTable::Id` or attribute id until ShedUnusedTexts or Clear.
class ElementTree {
 public:
  ElementTree();
  ElementTree(const ElementTree&) = delete;
  ElementTree& operator=(const ElementTree&) = delete;

  // kNoElement for an empty tree.
  ElementId root() const { return root_; }
  // False for an empty tree and for a root of another name than kRootName.
  bool HasUsualRoot() const { return root_ != kNoElement && node(root_).name == kUsualRoot; }

  std::string_view name(ElementId id) const { return names_->Text(node(id).name); }
  std::string_view text(ElementId id) const { return node(id).text.view(); }
  std::string_view attributes(ElementId id) const { return attributes_->Text(node(id).attributes); }
  ValueType type(ElementId id) const { return attributes_->Type(node(id).attributes); }
  bool IsRedirection(ElementId id) const { return attributes_->IsRedirection(node(id).attributes); }
  // Each kNoElement when there is none.
  ElementId parent(ElementId id) const { return node(id).parent; }
  ElementId first_child(ElementId id) const { return node(id).first_child; }
  ElementId next_sibling(ElementId id) const { return node(id).next; }
  std::size_t child_count(ElementId id) const { return node(id).child_count; }

  // The first child of that name. After the first call for an element with many children, as fast as with few.
  ElementId FindChild(ElementId parent, std::string_view name);

  // The tree must be empty.
  ElementId CreateRoot(std::string_view name);
  // The child of that name, added behind the others when there is none.
  ElementId EnsureChild(ElementId parent, std::string_view name);
  // The same with a name that InternName gave.
  ElementId EnsureChild(ElementId parent, NameTable::Id name);
  // Adds a child without looking for one of that name, which must not be there.
  ElementId AppendChild(ElementId parent, std::string_view name);

  void SetText(ElementId id, std::string_view text) { node(id).text.SetCopy(text); }
  // Without a copy: `text` lies in what KeepAlive was given last.
  void SetTextView(ElementId id, std::string_view text) { node(id).text.SetView(text); }
  void SetAttributes(ElementId id, std::string_view text) { node(id).attributes = attributes_->Intern(text); }
  void SetAttributes(ElementId id, AttributeTable::Id attributes) { node(id).attributes = attributes; }
  // What the element's attributes are with "__type" set to the type's tag.
  AttributeTable::Id AttributesWithType(ElementId id, ValueType type) {
    return attributes_->WithType(node(id).attributes, type);
  }

  // Frees the element with its subtree; of the root, empties the tree.
  void Remove(ElementId id);
  void Clear();

  // For building by number.
  NameTable::Id InternName(std::string_view name) { return names_->Intern(name); }
  std::string_view NameText(NameTable::Id id) const { return names_->Text(id); }
  NameTable::Id name_id(ElementId id) const { return node(id).name; }
  AttributeTable::Id InternAttributes(std::string_view text) { return attributes_->Intern(text); }

  // Keeps the owner of a text that SetTextView is going to use, until the tree is cleared.
  void KeepAlive(std::shared_ptr<const void> owner) { kept_ = std::move(owner); }

  // Drops names and attribute texts that no element has any more, when they have become many. Fails silently for lack
  // of memory.
  void ShedUnusedTexts() noexcept;

 private:
  struct Node {
    NameTable::Id name = NameTable::kNone;  // kNone marks a free node; `next` is then the next free one.
    AttributeTable::Id attributes = AttributeTable::kEmpty;
    ElementId parent = kNoElement;
    ElementId first_child = kNoElement;
    ElementId last_child = kNoElement;
    ElementId previous = kNoElement;
    ElementId next = kNoElement;
    std::uint32_t child_count : 31 = 0;
    std::uint32_t is_indexed : 1 = 0;  // All children are in children_.
    StoredText text;
  };
  // Every table of names begins with kRootName.
  static constexpr NameTable::Id kUsualRoot = 0;
  static std::unique_ptr<NameTable> MakeNames();

  static constexpr unsigned kBlockBits = 8;
  static constexpr std::size_t kBlockSize = std::size_t{1} << kBlockBits;
  // Up to this number of children a walk is faster than a look into the table.
  static constexpr std::uint32_t kWalkedChildren = 16;

  const Node& node(ElementId id) const { return blocks_[id >> kBlockBits][id & (kBlockSize - 1)]; }
  Node& node(ElementId id) { return blocks_[id >> kBlockBits][id & (kBlockSize - 1)]; }
  ElementId FindChildById(ElementId parent, NameTable::Id name);
  ElementId Append(ElementId parent, NameTable::Id name);
  ElementId TakeNode();
  void FreeNode(ElementId id);
  void IndexChildren(ElementId parent);
  void Unlink(ElementId id);
  void ReplaceTexts();

  std::unique_ptr<NameTable> names_;
  std::unique_ptr<AttributeTable> attributes_;
  std::vector<std::unique_ptr<Node[]>> blocks_;
  ElementId root_ = kNoElement;
  ElementId free_ = kNoElement;  // First of the nodes that were used before.
  ElementId fresh_ = 0;          // First node that was never used.
  std::size_t live_ = 0;
  ChildIndex children_;
  std::shared_ptr<const void> kept_;
};

}  // namespace OrvWorkFlow
