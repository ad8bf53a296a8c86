// The store's operations on whole subtrees.
#include "dictionary/object/DataStore.h"
#include "dictionary/tree/EntryPath.h"
#include "dictionary/tree/Subtree.h"

namespace OrvWorkFlow::Core::Dictionary {
namespace {

// True when `outer` names the entry `inner` or one above it.
bool IsPrefix(const char* outer, const char* inner) {
  PathComponents outer_components(outer);
  PathComponents inner_components(inner);
  std::string_view component;
  std::string_view other;
  while (outer_components.Next(component)) {
    if (!inner_components.Next(other) || component != other) return false;
  }
  return true;
}

bool IsComponent(std::string_view name) {
  return !name.empty() && IsValidPath(name) && name.find('/') == std::string_view::npos;
}

// Of the entry above: one that is renamed comes and goes below it.
std::string_view ParentPath(std::string_view path) {
  path = path.substr(0, path.find_last_not_of('/') + 1);
  return path.substr(0, path.rfind('/') + 1);
}

void CopyAsRoot(const ElementTree& source, ElementId from, ElementTree& copy) {
  CopyEntry(source, from, copy, copy.CreateRoot(kRootName));
}

}  // namespace

// The source does not lie in what is replaced, nor the other way round.
void DataStore::Replace(const char* path, const ElementTree& source, ElementId from) {
  const ElementId entry = EnsureEntry(tree_, path);
  ClearEntry(tree_, entry);
  CopyEntry(source, from, tree_, entry);
}

bool DataStore::Rename(const char* path, const char* new_name) {
  if (!IsWritable(path) || new_name == nullptr || !IsComponent(new_name)) return false;
  WriteScope scope(*this, ParentPath(path));
  scope.Redirect(path);
  const ElementId entry = FindEntry(tree_, path);
  if (entry == kNoElement || entry == tree_.root()) return scope.Refuse();
  const ElementId sibling = tree_.FindChild(tree_.parent(entry), new_name);
  if (sibling != kNoElement) {
    scope.ChangeNothing();
    return sibling == entry;
  }
  const ElementId renamed = tree_.AppendChild(tree_.parent(entry), new_name);
  try {
    CopyEntry(tree_, entry, tree_, renamed);
  } catch (...) {
    tree_.Remove(renamed);
    throw;
  }
  tree_.Remove(entry);
  scope.Tell(Operation::Rename, new_name);
  return true;
}

bool DataStore::CopySubtree(const char* from, const char* to) {
  if (from == nullptr || !IsWritable(to)) return false;
  WriteScope scope(*this, to);
  const ElementId source = FindEntry(tree_, from);
  if (source == kNoElement) return scope.Refuse();
  const bool is_below = IsPrefix(from, to);
  const bool is_above = IsPrefix(to, from);
  if (is_below && is_above) {
    scope.ChangeNothing();
    return true;
  }
  if (is_above) {
    tree_.Raise(source, FindEntry(tree_, to));
  } else if (is_below) {
    ElementTree copy;
    CopyAsRoot(tree_, source, copy);
    Replace(to, copy, copy.root());
  } else {
    Replace(to, tree_, source);
  }
  scope.Tell(Operation::Copy, from);
  return true;
}

bool DataStore::MoveSubtree(const char* from, const char* to) {
  if (!IsWritable(from) || !IsWritable(to)) return false;
  WriteScope scope(*this, from);
  NoteChange(to);
  scope.Redirect(to);
  const ElementId source = FindEntry(tree_, from);
  if (source == kNoElement) return scope.Refuse();
  const bool is_above = IsPrefix(to, from);
  if (IsPrefix(from, to)) {
    scope.ChangeNothing();
    return is_above;
  }
  if (is_above) {
    tree_.Raise(source, FindEntry(tree_, to));
  } else {
    tree_.MoveInto(source, EnsureEntry(tree_, to));
  }
  scope.Tell(Operation::Move, from);
  return true;
}

bool DataStore::CompareSubtrees(const char* path, DataStore& other, const char* other_path,
                                std::vector<std::string>& paths) {
  if (path == nullptr || other_path == nullptr) return false;
  ElementTree copy;
  if (&other != this && !other.TakeSubtree(other_path, copy)) return false;
  const std::scoped_lock lock(mutex_);
  const ElementId entry = FindEntry(tree_, path);
  ElementTree& other_tree = &other == this ? tree_ : copy;
  const ElementId other_entry = &other == this ? FindEntry(tree_, other_path) : copy.root();
  if (entry == kNoElement || other_entry == kNoElement) return false;
  paths = CompareEntries(tree_, entry, other_tree, other_entry);
  return true;
}

bool DataStore::MergeSubtree(DataStore& source, const char* from, const char* to) {
  if (from == nullptr || !IsWritable(to)) return false;
  ElementTree copy;
  const bool is_copied = &source != this || IsPrefix(from, to) || IsPrefix(to, from);
  if (is_copied && !source.TakeSubtree(from, copy)) return false;
  WriteScope scope(*this, to);
  const ElementId entry = is_copied ? copy.root() : FindEntry(tree_, from);
  if (entry == kNoElement) return scope.Refuse();
  const ElementId target = EnsureEntry(tree_, to);
  if (target == kNoElement) return scope.Refuse();
  if (!is_copied && teller_) CopyAsRoot(tree_, entry, copy);
  MergeEntry(is_copied ? copy : tree_, entry, tree_, target);
  scope.TellTree(Operation::Merge, copy);
  return true;
}

bool DataStore::CopySubtreeFrom(DataStore& source, const char* from, const char* to) {
  if (&source == this) return CopySubtree(from, to);
  ElementTree copy;
  return IsWritable(to) && source.TakeSubtree(from, copy) && PutSubtree(to, copy);
}

bool DataStore::TakeSubtree(const char* path, ElementTree& copy) {
  if (path == nullptr) return false;
  const std::scoped_lock lock(mutex_);
  const ElementId entry = FindEntry(tree_, path);
  if (entry != kNoElement) CopyAsRoot(tree_, entry, copy);
  return entry != kNoElement;
}

bool DataStore::PutSubtree(const char* path, const ElementTree& tree) {
  if (!IsWritable(path) || tree.root() == kNoElement) return false;
  WriteScope scope(*this, path);
  if (EnsureEntry(tree_, path) == kNoElement) return scope.Refuse();
  Replace(path, tree, tree.root());
  scope.TellTree(Operation::Replace, tree);
  return true;
}

}  // namespace OrvWorkFlow::Core::Dictionary
