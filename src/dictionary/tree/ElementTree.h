// The tree of named elements that a dictionary holds: each with a text, a raw attribute text and children in the order
// in which they were added.
//
// Elements never move and are known by number. Names and attribute texts are kept once each, however many elements
// have them. A text may be a view of the file it was loaded from, which the tree keeps. Nothing recurses: a tree may be
// as deep as memory allows. Not synchronised.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>
#include <utility>
#include <vector>

#include "dictionary/tree/AttributeTable.h"
#include "dictionary/tree/ChildIndex.h"
#include "dictionary/tree/Element.h"
#include "dictionary/tree/LastParent.h"
#include "dictionary/tree/NameTable.h"
#include "dictionary/tree/StableArray.h"

namespace OrvWorkFlow::Core::Dictionary {

inline constexpr std::string_view kRootName = "IDictionaryRoot";
inline constexpr std::string_view kListEntriesName = "__ListEntries";

// Operations that make or change something throw std::bad_alloc, with the tree as it was. An `ElementId` is valid until
// the element is removed, a `NameTable::Id` or attribute id until ShedUnusedTexts or Clear.
class ElementTree {
 public:
  ElementTree();
  ElementTree(const ElementTree&) = delete;
  ElementTree& operator=(const ElementTree&) = delete;
  ~ElementTree() { FreeOwnedTexts(); }

  // kNoElement for an empty tree.
  ElementId root() const { return root_; }
  // False for an empty tree and for a root of another name than kRootName.
  bool HasUsualRoot() const { return root_ != kNoElement && elements_[root_].name == kUsualRoot; }

  std::string_view name(ElementId id) const { return names_->Text(elements_[id].name); }
  std::string_view text(ElementId id) const { return elements_[id].text(); }
  std::string_view attributes(ElementId id) const { return attributes_->Text(elements_[id].attributes); }
  ValueType type(ElementId id) const { return attributes_->Type(elements_[id].attributes); }
  bool IsRedirection(ElementId id) const { return attributes_->IsRedirection(elements_[id].attributes); }
  // False when no element is a redirection. May be true although none is any more.
  bool HasRedirections() const { return attributes_->has_redirections(); }
  // Each kNoElement when there is none.
  ElementId parent(ElementId id) const { return elements_[id].parent; }
  ElementId first_child(ElementId id) const { return elements_[id].first_child; }
  ElementId next_sibling(ElementId id) const { return elements_[id].next; }
  std::size_t child_count(ElementId id) const { return elements_[id].child_count; }

  // The first child of that name. From the second call for an element on, as fast with many children as with few. Few
  // are walked: they need no place in the index.
  ElementId FindChild(ElementId parent, std::string_view name) { return FindChild(parent, name, HashOf(name)); }
  // The same with the name's hash, which is valid until ShedUnusedTexts or Clear.
  ElementId FindChild(ElementId parent, std::string_view name, std::uint32_t name_hash);
  std::uint32_t HashOf(std::string_view name) const { return names_->Hash(name); }

  // The tree must be empty.
  ElementId CreateRoot(std::string_view name);
  // The child of that name, added behind the others when there is none.
  ElementId EnsureChild(ElementId parent, std::string_view name);
  // Adds a child without looking for one of that name, which must not be there.
  ElementId AppendChild(ElementId parent, std::string_view name) { return AppendChild(parent, name, HashOf(name)); }
  ElementId AppendChild(ElementId parent, std::string_view name, std::uint32_t name_hash) {
    return Append(parent, names_->Intern(name, name_hash), name_hash);
  }

  void SetText(ElementId id, std::string_view text) {
    elements_[id].SetTextCopy(text);
    owns_texts_ = owns_texts_ || elements_[id].OwnsText();
  }
  // Without a copy: `text` lies in what KeepAlive was given last.
  void SetTextView(ElementId id, std::string_view text) { elements_[id].SetTextView(text); }
  void SetAttributes(ElementId id, std::string_view text) { elements_[id].attributes = attributes_->Intern(text); }
  void SetAttributes(ElementId id, AttributeTable::Id attributes) { elements_[id].attributes = attributes; }
  // What the element's attributes are with "__type" set to the type's tag.
  AttributeTable::Id AttributesWithType(ElementId id, ValueType type) {
    return attributes_->WithType(elements_[id].attributes, type);
  }

  // For those who look paths up: forgotten when an element is removed.
  LastParent& last_parent() { return last_parent_; }

  // Frees the element with its subtree; of the root, empties the tree.
  void Remove(ElementId id);
  // Gives `top` the text, the attributes and the children of `below`, an element somewhere below it; all else below
  // `top` goes.
  void Raise(ElementId below, ElementId top) noexcept;
  // `moved`, with all that it holds, gets the place and the name of `gone`, which goes with its subtree. Neither is
  // below the other. Takes no longer for what holds much.
  void MoveInto(ElementId moved, ElementId gone) noexcept;
  void Clear();

  // For building by number.
  NameTable::Id InternName(std::string_view name) { return names_->Intern(name); }
  std::string_view NameText(NameTable::Id id) const { return names_->Text(id); }
  AttributeTable::Id attributes_id(ElementId id) const { return elements_[id].attributes; }
  std::string_view attributes_text(AttributeTable::Id id) const { return attributes_->Text(id); }
  std::size_t attributes_count() const { return attributes_->size(); }
  std::size_t name_count() const { return names_->size(); }
  NameTable::Id name_id(ElementId id) const { return elements_[id].name; }
  // As above, with a name that InternName gave.
  ElementId AppendChild(ElementId parent, NameTable::Id name) {
    return Append(parent, name, elements_[parent].is_indexed ? names_->Hash(names_->Text(name)) : 0);
  }
  // Elements made until now, and how many there is room for before memory has to be taken.
  std::size_t element_count() const { return elements_.size(); }
  std::size_t capacity() const { return elements_.capacity(); }
  // Takes memory for `count` elements in all, as far as there is any.
  void Reserve(std::size_t count) noexcept { elements_.Reserve(count); }
  AttributeTable::Id InternAttributes(std::string_view text) { return attributes_->Intern(text); }

  // Keeps the owner of a text that SetTextView is going to use, until the tree is cleared.
  void KeepAlive(std::shared_ptr<const void> owner) { kept_ = std::move(owner); }

  // Drops names and attribute texts that no element has any more, when they have become many. Fails silently for lack
  // of memory.
  void ShedUnusedTexts() noexcept {
    const std::size_t many = live_ * 2 + 1024;
    if (names_->size() > many || attributes_->size() > many) RebuildTexts();
  }

 private:
  // Every table of names begins with kRootName.
  static constexpr NameTable::Id kUsualRoot = 0;
  static constexpr std::size_t kWalkedChildren = 8;
  static std::unique_ptr<NameTable> MakeNames();

  ElementId Append(ElementId parent, NameTable::Id name, std::uint32_t name_hash);
  ElementId TakeElement();
  void FreeElement(ElementId id);
  void IndexChildren(ElementId parent);
  void Unlink(ElementId id);
  void FreeSubtree(ElementId id);
  void ReplaceTexts();
  void RebuildTexts() noexcept;
  void FreeOwnedTexts();

  std::unique_ptr<NameTable> names_;
  std::unique_ptr<AttributeTable> attributes_;
  StableArray<Element, 8> elements_;
  ElementId root_ = kNoElement;
  ElementId free_ = kNoElement;  // First of the elements that were used before.
  std::size_t live_ = 0;
  bool owns_texts_ = false;  // An element has had a text of its own.
  ChildIndex children_;
  LastParent last_parent_;
  std::shared_ptr<const void> kept_;
};

}  // namespace OrvWorkFlow::Core::Dictionary
