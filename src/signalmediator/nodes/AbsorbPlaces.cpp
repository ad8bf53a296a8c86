#include "signalmediator/nodes/AbsorbPlaces.h"

#include <algorithm>
#include <cstddef>
#include <utility>

#include "OrvWorkFlow/WorkflowSchema.h"
#include "base/dictionary/DictionaryReading.h"
#include "signalmediator/definitions/DictionaryAccess.h"

namespace OrvWorkFlow::Core::Mediator {
namespace {

// False for one that is written in another way than the tree is listed, and for what a listing leaves out.
bool IsListedBelowTree(std::string_view path) {
  const std::string_view tree = WorkflowSchema::kAbsorbTree;
  return path.size() > tree.size() && path.starts_with(tree) && path[tree.size()] == '/' && !path.ends_with('/') &&
         path.find("//") == path.npos && path.find(WorkflowSchema::kListEntries) == path.npos;
}

std::optional<std::string> NameAt(IDictionary& dictionary, const std::string& path) {
  std::string name;
  return ReadEntryText(dictionary, path, name) ? std::optional(std::move(name)) : std::nullopt;
}

}  // namespace

void AbsorbPlaces::Places::Add(std::string path, std::optional<std::string> name) {
  for (std::size_t end = path.rfind('/'); end > std::string_view(WorkflowSchema::kAbsorbTree).size();
       end = path.rfind('/', end - 1)) {
    if (!paths.insert(path.substr(0, end)).second) break;
  }
  if (name) by_name.try_emplace(std::move(*name), path);
  paths.insert(std::move(path));
}

AbsorbPlaces::Places AbsorbPlaces::ReadTree(IDictionary& dictionary) {
  std::vector<std::string> paths = Base::PathsFrom(dictionary, WorkflowSchema::kAbsorbTree);
  Places places;
  for (std::size_t i = 1; i < paths.size(); ++i) {
    std::optional<std::string> name = NameAt(dictionary, paths[i]);
    places.Add(std::move(paths[i]), std::move(name));
  }
  return places;
}

std::optional<std::string> AbsorbPlaces::Places::Find(const std::string& name) const {
  const auto found = by_name.find(name);
  return found == by_name.end() ? std::nullopt : std::optional(found->second);
}

// Entries that were there already may have changed with all below them; and of two with one name the first counts.
bool AbsorbPlaces::Places::MayTake(const std::vector<Leaf>& leaves) const {
  std::unordered_set<std::string_view> names;
  return std::all_of(leaves.begin(), leaves.end(), [&](const Leaf& leaf) {
    const bool has_own_name = !leaf.name || (by_name.count(*leaf.name) == 0 && names.insert(*leaf.name).second);
    return has_own_name && paths.count(leaf.path) == 0;
  });
}

// Nothing when one of the paths leads to something else than a leaf of the tree.
std::optional<std::vector<AbsorbPlaces::Leaf>> AbsorbPlaces::ReadLeaves(IDictionary& dictionary,
                                                                        std::vector<std::string> paths) {
  std::sort(paths.begin(), paths.end());
  paths.erase(std::unique(paths.begin(), paths.end()), paths.end());
  std::vector<Leaf> leaves;
  for (std::string& path : paths) {
    std::size_t children = 0;
    if (!IsListedBelowTree(path) || !dictionary.CountEntries(path.c_str(), &children) || children > 0) return {};
    std::optional<std::string> name = NameAt(dictionary, path);
    leaves.push_back({std::move(path), std::move(name)});
  }
  return leaves;
}

// Makes what is remembered that of the present tree if nothing but leaves has come to it, and looks the name up.
bool AbsorbPlaces::FindGrown(IDictionary& dictionary, const WatchedChanges& changes, const std::string& name,
                             std::optional<std::string>& place) {
  WatchedState before;
  {
    const Base::Hold lock(mutex_);
    before = state_;
  }
  WatchedState now = before;
  std::vector<std::string> paths;
  if (before.dictionary != &dictionary || !changes.Since(now, paths)) return false;
  std::optional<std::vector<Leaf>> leaves = ReadLeaves(dictionary, std::move(paths));
  const Base::Hold lock(mutex_);
  if (!leaves || state_ != before || !places_.MayTake(*leaves)) return false;
  state_ = {};  // If there is no memory for a half of it.
  for (Leaf& leaf : *leaves) places_.Add(std::move(leaf.path), std::move(leaf.name));
  state_ = now;
  place = places_.Find(name);
  return true;
}

std::optional<std::string> AbsorbPlaces::Find(IDictionary& dictionary, const WatchedState& tree,
                                              const WatchedChanges& changes, const std::string& workflow_name) {
  {
    const Base::Hold lock(mutex_);
    if (state_ == tree) return places_.Find(workflow_name);
  }
  std::optional<std::string> place;
  if (FindGrown(dictionary, changes, workflow_name, place)) return place;
  Places places = ReadTree(dictionary);
  place = places.Find(workflow_name);
  if (tree.dictionary != &dictionary) return place;  // There has come another one just now.
  const Base::Hold lock(mutex_);
  state_ = {};
  std::swap(places_, places);
  state_ = tree;
  return place;
}

}  // namespace OrvWorkFlow::Core::Mediator
