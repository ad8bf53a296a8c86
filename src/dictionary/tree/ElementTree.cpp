#include "dictionary/tree/ElementTree.h"

#include <new>

#include "dictionary/xml/Bytes.h"

namespace OrvWorkFlow::Core::Dictionary {

ElementTree::ElementTree() : names_(MakeNames()), attributes_(std::make_unique<AttributeTable>()) {}

std::unique_ptr<NameTable> ElementTree::MakeNames() {
  auto names = std::make_unique<NameTable>();
  names->Intern(kRootName);
  return names;
}

ElementId ElementTree::FindChild(ElementId parent, std::string_view name, std::uint32_t name_hash) {
  if (!elements_[parent].is_indexed && elements_[parent].child_count <= kWalkedChildren) {
    const NameTable::Id name_id = names_->Find(name, name_hash);
    if (name_id == NameTable::kNone) return kNoElement;
    ElementId child = elements_[parent].first_child;
    while (child != kNoElement && elements_[child].name != name_id) child = elements_[child].next;
    return child;
  }
  // The element comes while the name is compared: neither is likely to be in a cache.
  const auto is_it = [&](const IndexedChild& child) {
    __builtin_prefetch(&elements_[child.element]);
    return SameText(names_->Text(child.name), name);
  };
  const ElementId child = children_.Find(parent, name_hash, is_it);
  if (child != kNoElement || elements_[parent].is_indexed) return child;
  IndexChildren(parent);
  return children_.Find(parent, name_hash, is_it);
}

void ElementTree::IndexChildren(ElementId parent) {
  children_.Reserve(elements_[parent].child_count);
  for (ElementId child = elements_[parent].first_child; child != kNoElement; child = elements_[child].next) {
    children_.Add({names_->Hash(name(child)), parent, child, elements_[child].name});
  }
  elements_[parent].is_indexed = 1;
}

ElementId ElementTree::CreateRoot(std::string_view name) {
  const NameTable::Id name_id = names_->Intern(name);
  root_ = TakeElement();
  elements_[root_].name = name_id;
  return root_;
}

ElementId ElementTree::EnsureChild(ElementId parent, std::string_view name) {
  const std::uint32_t hash = names_->Hash(name);
  const ElementId child = FindChild(parent, name, hash);
  return child != kNoElement ? child : Append(parent, names_->Intern(name, hash), hash);
}

ElementId ElementTree::Append(ElementId parent, NameTable::Id name, std::uint32_t name_hash) {
  if (elements_[parent].is_indexed) children_.Reserve(1);
  const ElementId id = TakeElement();
  Element& child = elements_[id];
  Element& above = elements_[parent];
  child.name = name;
  child.parent = parent;
  if (above.first_child == kNoElement) {
    above.first_child = child.previous = id;
  } else {
    Element& first = elements_[above.first_child];
    child.previous = first.previous;
    elements_[first.previous].next = id;
    first.previous = id;
  }
  above.child_count = (above.child_count + 1) & kMostChildren;
  if (above.is_indexed) children_.Add({name_hash, parent, id, name});
  return id;
}

ElementId ElementTree::TakeElement() {
  ElementId id = free_;
  if (id != kNoElement) {
    free_ = elements_[id].next;
    elements_[id].next = kNoElement;
  } else {
    if (elements_.size() >= kMostChildren) throw std::bad_alloc();
    elements_.Add();
    id = elements_.size() - 1;
  }
  ++live_;
  return id;
}

void ElementTree::FreeElement(ElementId id) {
  Element& freed = elements_[id];
  freed.ClearText();
  freed = Element();
  freed.next = free_;
  free_ = id;
  --live_;
}

void ElementTree::Unlink(ElementId id) {
  const Element& gone = elements_[id];
  Element& above = elements_[gone.parent];
  if (above.is_indexed) children_.Remove(gone.parent, names_->Hash(name(id)), id);
  const ElementId behind = gone.next != kNoElement ? gone.next : above.first_child;
  (id == above.first_child ? above.first_child : elements_[gone.previous].next) = gone.next;
  elements_[behind].previous = gone.previous;
  above.child_count = (above.child_count - 1) & kMostChildren;
}

void ElementTree::Remove(ElementId id) {
  last_parent_.Forget();
  if (id == root_) {
    Clear();
    return;
  }
  Unlink(id);
  FreeSubtree(id);
}

// Each element is freed after its children, which need not be unlinked from one another.
void ElementTree::FreeSubtree(ElementId id) {
  for (ElementId at = id;;) {
    while (elements_[at].first_child != kNoElement) at = elements_[at].first_child;
    for (ElementId next = kNoElement; next == kNoElement;) {
      const ElementId above = elements_[at].parent;
      next = elements_[at].next;
      if (at != id && elements_[above].is_indexed) children_.Remove(above, names_->Hash(name(at)), at);
      FreeElement(at);
      if (at == id) return;
      at = next != kNoElement ? next : above;
    }
  }
}

void ElementTree::Raise(ElementId below, ElementId top) noexcept {
  Element& source = elements_[below];
  const ElementId first = source.first_child;
  const std::uint32_t count = source.child_count;
  for (ElementId child = first; child != kNoElement; child = elements_[child].next) {
    if (source.is_indexed) children_.Remove(below, names_->Hash(name(child)), child);
    elements_[child].parent = top;
  }
  source.first_child = kNoElement;
  source.child_count = 0;
  Element& target = elements_[top];
  target.TakeText(source);
  target.attributes = source.attributes;
  while (target.first_child != kNoElement) Remove(target.first_child);
  target.first_child = first;
  target.child_count = count & kMostChildren;
  target.is_indexed = 0;
}

void ElementTree::MoveInto(ElementId moved, ElementId gone) noexcept {
  last_parent_.Forget();
  Unlink(moved);
  const Element& old = elements_[gone];
  Element& taker = elements_[moved];
  taker.name = old.name;
  taker.parent = old.parent;
  taker.previous = old.previous;
  taker.next = old.next;
  Element& above = elements_[old.parent];
  (gone == above.first_child ? above.first_child : elements_[old.previous].next) = moved;
  const ElementId behind = old.next != kNoElement ? old.next : above.first_child;
  elements_[behind].previous = moved;
  if (above.is_indexed) {  // What goes leaves room for what comes.
    const std::uint32_t hash = names_->Hash(name(gone));
    children_.Remove(old.parent, hash, gone);
    children_.Add({hash, old.parent, moved, old.name});
  }
  FreeSubtree(gone);
}

void ElementTree::Clear() {
  FreeOwnedTexts();
  elements_.Clear();
  root_ = free_ = kNoElement;
  live_ = 0;
  children_.Clear();
  last_parent_.Forget();
  kept_.reset();
  ReplaceTexts();
}

void ElementTree::FreeOwnedTexts() {
  if (!owns_texts_) return;
  for (ElementId id = 0; id < elements_.size(); ++id) elements_[id].ClearText();
  owns_texts_ = false;
}

// Without memory for new tables the old ones go on serving.
void ElementTree::ReplaceTexts() {
  try {
    auto names = MakeNames();
    auto attributes = std::make_unique<AttributeTable>();
    names_ = std::move(names);
    attributes_ = std::move(attributes);
  } catch (const std::bad_alloc&) {
  }
}

void ElementTree::RebuildTexts() noexcept {
  try {
    auto names = MakeNames();
    auto attributes = std::make_unique<AttributeTable>();
    std::vector<NameTable::Id> new_names(names_->size(), NameTable::kNone);
    std::vector<AttributeTable::Id> new_attributes(attributes_->size(), NameTable::kNone);
    const auto each_live = [&](auto&& visit) {
      for (ElementId id = 0; id < elements_.size(); ++id) {
        if (elements_[id].name != NameTable::kNone) visit(elements_[id]);
      }
    };
    each_live([&](const Element& live) {
      new_names[live.name] = names->Intern(names_->Text(live.name));
      new_attributes[live.attributes] = attributes->Intern(attributes_->Text(live.attributes));
    });
    each_live([&](Element& live) {
      live.name = new_names[live.name];
      live.attributes = new_attributes[live.attributes];
      live.is_indexed = 0;
    });
    children_.Clear();
    names_ = std::move(names);
    attributes_ = std::move(attributes);
  } catch (...) {  // Nothing has been replaced yet: the old tables hold all that is needed.
  }
}

}  // namespace OrvWorkFlow::Core::Dictionary
