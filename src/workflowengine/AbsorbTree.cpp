#include "workflowengine/AbsorbTree.h"

#include <algorithm>
#include <new>
#include <string_view>

#include "CoreObjects/Marshalled.h"
#include "OrvWorkFlow/WorkflowSchema.h"
#include "workflowengine/Entries.h"

namespace OrvWorkFlow {
namespace {

constexpr char kNodePrefix[] = "node";  // followed by a number

struct TreeEntry {
  std::string path;
  std::string workflow_name;
};

std::string TopPath() { return std::string(WorkflowSchema::kAbsorbTree) + WorkflowSchema::kAbsorbTopNode; }

// What is below `path`, and the entry itself, in pre-order. Throws std::bad_alloc when it is there and cannot be read.
std::vector<TreeEntry> ReadTree(IDictionary& dictionary, const std::string& path) {
  const Marshalled<IOrvPStringList> list;
  std::vector<std::string> paths;
  if (!list || !dictionary.EnumeratePaths(path.c_str(), list.get()) || !ReadTexts(list.get(), paths)) {
    if (dictionary.Exists(path.c_str())) throw std::bad_alloc();
    return {};
  }
  std::vector<TreeEntry> tree;
  tree.reserve(paths.size());
  for (std::string& entry : paths) {
    std::string name = ReadString(dictionary, entry);
    tree.push_back({std::move(entry), std::move(name)});
  }
  return tree;
}

// The first of that name; null when there is none.
const TreeEntry* FindName(const std::vector<TreeEntry>& tree, const std::string& workflow_name) {
  const auto found = std::find_if(tree.begin(), tree.end(),
                                  [&](const TreeEntry& entry) { return entry.workflow_name == workflow_name; });
  return found == tree.end() || workflow_name.empty() ? nullptr : &*found;
}

bool IsSameOrBelow(std::string_view path, std::string_view ancestor) {
  return path.starts_with(ancestor) && (path.size() == ancestor.size() || path[ancestor.size()] == '/');
}

// A path below `parent` that does not exist: the one with the lowest number.
std::string FreePlace(IDictionary& dictionary, const std::string& parent) {
  return parent + "/" + kNodePrefix + std::to_string(LowestFreeNumber(ChildrenOf(dictionary, parent), kNodePrefix));
}

// Throws std::bad_alloc when the dictionary refuses.
void Name(IDictionary& dictionary, const std::string& path, const std::string& workflow_name) {
  if (!dictionary.SetValue(path.c_str(), workflow_name.c_str())) throw std::bad_alloc();
}

}  // namespace

bool IsInAbsorbTree(IDictionary& dictionary, const std::string& workflow_name) {
  return FindName(ReadTree(dictionary, TopPath()), workflow_name) != nullptr;
}

TreeChange PutInAbsorbTree(IDictionary& dictionary, const std::string& workflow_name,
                           const std::vector<std::string>& absorbers) {
  const std::string top = TopPath();
  if (!dictionary.Exists(top.c_str())) {
    Name(dictionary, top, ReadString(dictionary, WorkflowSchema::kWorkFlowName));
  }
  const std::vector<TreeEntry> tree = ReadTree(dictionary, WorkflowSchema::kAbsorbTree);
  const TreeEntry* absorber = nullptr;
  for (auto name = absorbers.begin(); name != absorbers.end() && absorber == nullptr; ++name) {
    absorber = FindName(tree, *name);
  }
  const std::string parent = absorber != nullptr ? absorber->path : top;
  const TreeEntry* known = FindName(tree, workflow_name);
  if (known == nullptr) {
    Name(dictionary, FreePlace(dictionary, parent), workflow_name);
    return TreeChange::Added;
  }
  const std::string& place = known->path;
  if (place == top || IsSameOrBelow(parent, place) || place.substr(0, place.rfind('/')) == parent) {
    return TreeChange::None;
  }
  if (!dictionary.MoveSubtree(place.c_str(), FreePlace(dictionary, parent).c_str())) throw std::bad_alloc();
  return TreeChange::Moved;
}

}  // namespace OrvWorkFlow
