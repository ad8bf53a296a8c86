#include "signalmediator/nodes/ContentDirectories.h"
#include "base/dictionary/DictionaryReading.h"

#include <algorithm>
#include <iterator>
#include <new>

#include "CoreObjects/Marshalled.h"
#include "OrvWorkFlow/WorkflowSchema.h"
#include "base/lock/Mutex.h"
#include "signalmediator/definitions/DictionaryAccess.h"

namespace OrvWorkFlow::Core::Mediator {
namespace {

// False for a type or an instance whose name holds a "/" or is empty: its entry is not where those of others are.
bool IsWatched(const std::string& definition) {
  constexpr int kSeparators = 5;  // of "/WorkFlowEngine/WorkNodes/TYPE/Instances/INSTANCE"
  return std::count(definition.begin(), definition.end(), '/') == kSeparators &&
         definition.find("//") == std::string::npos && !definition.ends_with('/');
}

// From the workflow's own entry, at `path`, to the tree.
FlowDirectories ReadFlowDirectories(IDictionary& dictionary, const std::string& workflow_name, std::string path) {
  FlowDirectories flow;
  flow.workflow_name = workflow_name;
  flow.in_absorb_tree = true;
  while (path != WorkflowSchema::kAbsorbTree) {
    std::string name;
    if (ReadEntryText(dictionary, path, name)) {
      std::vector<std::string> directories = EntryTexts(dictionary, DirectorySetPath(name) + WorkflowSchema::kReadDirs);
      flow.directories.insert(flow.directories.end(), std::make_move_iterator(directories.begin()),
                              std::make_move_iterator(directories.end()));
    }
    const std::size_t cut = path.rfind('/');
    if (cut == std::string::npos) break;
    path.resize(cut);
  }
  return flow;
}

}  // namespace

// Of the entries below the tree, in pre-order; the tree itself is none.
ContentDirectories::Places ContentDirectories::ReadTree(IDictionary& dictionary) {
  std::vector<std::string> paths = Base::PathsFrom(dictionary, WorkflowSchema::kAbsorbTree);
  Places places;
  std::string name;
  for (std::size_t i = 1; i < paths.size(); ++i) {
    if (ReadEntryText(dictionary, paths[i], name)) places.try_emplace(name, std::move(paths[i]));
  }
  return places;
}

void ContentDirectories::TakeFresh(OfNode& kept) {
  const Base::Hold lock(mutex_);
  kept.known_ = std::move(kept.fresh_);
  kept.has_fresh_.store(false, std::memory_order_relaxed);
}

ContentDirectories::Flow ContentDirectories::Read(const Recalled& recalled, const std::string& definition,
                                                  OfNode& kept) {
  IDictionary& dictionary = *recalled.state.dictionary;
  const std::string name = EntryText(dictionary, definition + WorkflowSchema::kInstanceWorkFlowName);
  Known found{recalled.state, Find(name, recalled.state)};
  if (found.flow == nullptr) {
    const std::shared_ptr<const Places> places = FindPlaces(dictionary, recalled.tree);
    const auto place = places->find(name);
    found.flow = std::make_shared<const FlowDirectories>(place == places->end()
                                                             ? FlowDirectories{name, false, {}}
                                                             : ReadFlowDirectories(dictionary, name, place->second));
  }
  if (IsWatched(definition)) Keep(name, found, kept);
  return found.flow;
}

std::shared_ptr<const ContentDirectories::Places> ContentDirectories::FindPlaces(IDictionary& dictionary,
                                                                                 const WatchedState& tree) {
  {
    const Base::Hold lock(mutex_);
    if (places_ != nullptr && places_state_ == tree) return places_;
  }
  const auto places = std::make_shared<const Places>(ReadTree(dictionary));
  if (tree.dictionary != &dictionary) return places;  // There has come another one just now.
  const Base::Hold lock(mutex_);
  places_ = places;
  places_state_ = tree;
  return places;
}

// What was kept for another state of the dictionary is forgotten.
ContentDirectories::Flow ContentDirectories::Find(const std::string& workflow_name, const WatchedState& state) {
  const Base::Hold lock(mutex_);
  if (state_ != state) {
    by_workflow_.clear();
    state_ = state;
  }
  const auto found = by_workflow_.find(workflow_name);
  return found == by_workflow_.end() ? nullptr : found->second;
}

void ContentDirectories::Keep(const std::string& workflow_name, const Known& found, OfNode& kept) {
  const Base::Hold lock(mutex_);
  if (state_ == found.state) by_workflow_.try_emplace(workflow_name, found.flow);
  kept.fresh_ = found;
  kept.has_fresh_.store(true, std::memory_order_relaxed);
}

}  // namespace OrvWorkFlow::Core::Mediator
