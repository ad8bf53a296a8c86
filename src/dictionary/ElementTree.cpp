#include "dictionary/ElementTree.h"

#include <new>

namespace OrvWorkFlow {

ElementTree::ElementTree() : names_(MakeNames()), attributes_(std::make_unique<AttributeTable>()) {}

std::unique_ptr<NameTable> ElementTree::MakeNames() {
  auto names = std::make_unique<NameTable>();
  names->Intern(kRootName);
  return names;
}

ElementId ElementTree::FindChild(ElementId parent, std::string_view name) {
  const NameTable::Id id = names_->Find(name);
  return id == NameTable::kNone ? kNoElement : FindChildById(parent, id);
}

ElementId ElementTree::FindChildById(ElementId parent, NameTable::Id name) {
  if (node(parent).child_count > kWalkedChildren) {
    if (!node(parent).is_indexed) IndexChildren(parent);
    return children_.Find(*this, parent, name);
  }
  ElementId child = node(parent).first_child;
  while (child != kNoElement && node(child).name != name) child = node(child).next;
  return child;
}

void ElementTree::IndexChildren(ElementId parent) {
  children_.Reserve(*this, node(parent).child_count);
  for (ElementId child = node(parent).first_child; child != kNoElement; child = node(child).next) {
    children_.Add(*this, child);
  }
  node(parent).is_indexed = 1;
}

ElementId ElementTree::CreateRoot(std::string_view name) {
  const NameTable::Id name_id = names_->Intern(name);
  root_ = TakeNode();
  node(root_).name = name_id;
  return root_;
}

ElementId ElementTree::EnsureChild(ElementId parent, std::string_view name) {
  return EnsureChild(parent, names_->Intern(name));
}

ElementId ElementTree::EnsureChild(ElementId parent, NameTable::Id name) {
  const ElementId child = FindChildById(parent, name);
  return child != kNoElement ? child : Append(parent, name);
}

ElementId ElementTree::AppendChild(ElementId parent, std::string_view name) {
  return Append(parent, names_->Intern(name));
}

ElementId ElementTree::Append(ElementId parent, NameTable::Id name) {
  if (node(parent).is_indexed) children_.Reserve(*this, 1);
  const ElementId id = TakeNode();
  Node& child = node(id);
  Node& above = node(parent);
  child.name = name;
  child.parent = parent;
  child.previous = above.last_child;
  if (above.last_child == kNoElement) {
    above.first_child = id;
  } else {
    node(above.last_child).next = id;
  }
  above.last_child = id;
  above.child_count = (above.child_count + 1) & 0x7FFFFFFF;
  if (above.is_indexed) children_.Add(*this, id);
  return id;
}

ElementId ElementTree::TakeNode() {
  ElementId id = free_;
  if (id != kNoElement) {
    free_ = node(id).next;
    node(id).next = kNoElement;
  } else {
    if (fresh_ >= 0x7FFFFFFF) throw std::bad_alloc();
    if ((fresh_ >> kBlockBits) == blocks_.size()) blocks_.push_back(std::make_unique<Node[]>(kBlockSize));
    id = fresh_++;
  }
  ++live_;
  return id;
}

void ElementTree::FreeNode(ElementId id) {
  Node& freed = node(id);
  freed.text.Clear();
  freed.name = NameTable::kNone;
  freed.attributes = AttributeTable::kEmpty;
  freed.parent = freed.first_child = freed.last_child = freed.previous = kNoElement;
  freed.child_count = 0;
  freed.is_indexed = 0;
  freed.next = free_;
  free_ = id;
  --live_;
}

void ElementTree::Unlink(ElementId id) {
  const Node& gone = node(id);
  Node& above = node(gone.parent);
  if (above.is_indexed) children_.Remove(*this, id);
  (gone.previous == kNoElement ? above.first_child : node(gone.previous).next) = gone.next;
  (gone.next == kNoElement ? above.last_child : node(gone.next).previous) = gone.previous;
  above.child_count = (above.child_count - 1) & 0x7FFFFFFF;
}

// Goes down to the leaves and frees from there, so that each element is freed after its children.
void ElementTree::Remove(ElementId id) {
  if (id == root_) {
    Clear();
    return;
  }
  ElementId at = id;
  for (;;) {
    if (node(at).first_child != kNoElement) {
      at = node(at).first_child;
      continue;
    }
    const ElementId above = node(at).parent;
    Unlink(at);
    FreeNode(at);
    if (at == id) return;
    at = above;
  }
}

void ElementTree::Clear() {
  blocks_.clear();
  root_ = free_ = kNoElement;
  fresh_ = 0;
  live_ = 0;
  children_.Clear();
  kept_.reset();
  ReplaceTexts();
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

void ElementTree::ShedUnusedTexts() noexcept {
  const std::size_t many = live_ * 2 + 1024;
  if (names_->size() <= many && attributes_->size() <= many) return;
  try {
    auto names = MakeNames();
    auto attributes = std::make_unique<AttributeTable>();
    std::vector<NameTable::Id> new_names(names_->size(), NameTable::kNone);
    std::vector<AttributeTable::Id> new_attributes(attributes_->size(), NameTable::kNone);
    const auto each_live = [&](auto&& visit) {
      for (ElementId id = 0; id < fresh_; ++id) {
        if (node(id).name != NameTable::kNone) visit(node(id));
      }
    };
    each_live([&](const Node& live) {
      new_names[live.name] = names->Intern(names_->Text(live.name));
      new_attributes[live.attributes] = attributes->Intern(attributes_->Text(live.attributes));
    });
    each_live([&](Node& live) {
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

}  // namespace OrvWorkFlow
