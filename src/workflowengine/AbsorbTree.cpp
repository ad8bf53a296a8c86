#include "workflowengine/AbsorbTree.h"
#include "base/dictionary/DictionaryReading.h"

#include <algorithm>
#include <new>
#include <string_view>
#include <utility>

#include "OrvWorkFlow/WorkflowSchema.h"
#include "workflowengine/Entries.h"

namespace OrvWorkFlow::Core::Engine {
namespace {

constexpr char kNodePrefix[] = "node";  // followed by a number

struct TreeEntry {
  std::string path;
  std::string workflow_name;
};

std::string TopPath() { return std::string(WorkflowSchema::kAbsorbTree) + WorkflowSchema::kAbsorbTopNode; }

// What is below `path`, and the entry itself, in pre-order. Throws std::bad_alloc when it is there and cannot be read.
std::vector<TreeEntry> ReadTree(IDictionary& dictionary, const std::string& path) {
  std::vector<std::string> paths = Base::PathsFrom(dictionary, path);
  std::vector<TreeEntry> tree;
  tree.reserve(paths.size());
  for (std::string& entry : paths) {
    std::string name = ReadString(dictionary, entry);
    tree.push_back({std::move(entry), std::move(name)});
  }
  return tree;
}

bool IsSameOrBelow(std::string_view path, std::string_view ancestor) {
  return path.starts_with(ancestor) && (path.size() == ancestor.size() || path[ancestor.size()] == '/');
}

// The child of `parent` that would be made for the number.
std::string ChildPath(const std::string& parent, std::uint64_t number) {
  return parent + "/" + kNodePrefix + std::to_string(number);
}

// Throws std::bad_alloc when the dictionary refuses.
void Name(IDictionary& dictionary, const std::string& path, const std::string& workflow_name) {
  if (!dictionary.SetValue(path.c_str(), workflow_name.c_str())) throw std::bad_alloc();
}

}  // namespace

bool IsInAbsorbTree(IDictionary& dictionary, const std::string& workflow_name) {
  const std::vector<TreeEntry> tree = ReadTree(dictionary, TopPath());
  return !workflow_name.empty() && std::any_of(tree.begin(), tree.end(), [&](const TreeEntry& entry) {
    return entry.workflow_name == workflow_name;
  });
}

TreeChange AbsorbTree::Put(const std::string& workflow_name, const std::vector<std::string>& absorbers) {
  Read();
  const std::string top = TopPath();
  std::string parent = top;
  for (auto name = absorbers.begin(); name != absorbers.end(); ++name) {
    if (const std::string* const place = Find(*name)) {
      parent = *place;
      break;
    }
  }
  const std::string* const known = Find(workflow_name);
  if (known == nullptr) {
    Add(parent, workflow_name);
    return TreeChange::Added;
  }
  const std::string place = *known;  // A listener of the dictionary may absorb too.
  if (place == top || IsSameOrBelow(parent, place) || place.substr(0, place.rfind('/')) == parent) {
    return TreeChange::None;
  }
  const std::string target = ChildPath(parent, LowestFreeBelow(parent));
  IDictionary& dictionary = *std::exchange(state_, {}).dictionary;
  if (!dictionary.MoveSubtree(place.c_str(), target.c_str())) throw std::bad_alloc();
  return TreeChange::Moved;
}

// Makes what is remembered that of the tree as it is now, with a top.
void AbsorbTree::Read() {
  const WatchedState found = dictionary_.Get();
  if (found.dictionary == nullptr) throw std::bad_alloc();
  if (found == state_) return;
  IDictionary& dictionary = *found.dictionary;
  const std::string top = TopPath();
  if (!dictionary.Exists(top.c_str())) {
    Name(dictionary, top, ReadString(dictionary, WorkflowSchema::kWorkFlowName));
  }
  state_ = {};
  const WatchedState now = dictionary_.Get();
  places_.clear();
  all_taken_.clear();
  for (TreeEntry& entry : ReadTree(dictionary, WorkflowSchema::kAbsorbTree)) {
    places_.try_emplace(std::move(entry.workflow_name), std::move(entry.path));
  }
  state_ = now;
}

// Null when there is none of that name.
const std::string* AbsorbTree::Find(const std::string& workflow_name) const {
  const auto found = places_.find(workflow_name);
  return found == places_.end() || workflow_name.empty() ? nullptr : &found->second;
}

// The lowest number that no child of `parent` has.
std::uint64_t AbsorbTree::LowestFreeBelow(const std::string& parent) {
  IDictionary& dictionary = *state_.dictionary;
  const auto [known, is_new] = all_taken_.try_emplace(parent);
  if (is_new) known->second = LowestFreeNumber(ChildrenOf(dictionary, parent), kNodePrefix);
  while (dictionary.Exists(ChildPath(parent, known->second).c_str())) ++known->second;
  return known->second;
}

void AbsorbTree::Add(const std::string& parent, const std::string& workflow_name) {
  const std::uint64_t number = LowestFreeBelow(parent);
  std::string path = ChildPath(parent, number);
  const WatchedState before = std::exchange(state_, {});
  Name(*before.dictionary, path, workflow_name);
  const WatchedState after = dictionary_.Get();
  // One change, this one: what is remembered of the others still holds.
  if (after.dictionary != before.dictionary || after.number != before.number + 1) return;
  places_.try_emplace(workflow_name, std::move(path));
  state_ = after;
}

}  // namespace OrvWorkFlow::Core::Engine
