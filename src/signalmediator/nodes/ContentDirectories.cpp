#include "signalmediator/nodes/ContentDirectories.h"

#include <algorithm>
#include <iterator>
#include <optional>

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

WatchedState ContentDirectories::RecallTree() {
  const WatchedState state = tree_.Get();
  const Base::Hold lock(mutex_);
  tree_.GetChanges(tree_changes_);
  return state;
}

void ContentDirectories::TakeFresh(OfNode& kept) {
  const Base::Hold lock(mutex_);
  kept.known_ = std::move(kept.fresh_);
  kept.has_fresh_.store(false, std::memory_order_relaxed);
}

ContentDirectories::Flow ContentDirectories::Read(const Recalled& recalled, const std::string& definition,
                                                  OfNode& kept) {
  const std::string name = EntryText(*recalled.state.dictionary, definition + WorkflowSchema::kInstanceWorkFlowName);
  Known found{recalled.state, Find(name, recalled.state)};
  if (found.flow == nullptr) found.flow = ReadFlow(recalled, name);
  if (IsWatched(definition)) Keep(name, found, kept);
  return found.flow;
}

ContentDirectories::Flow ContentDirectories::ReadFlow(const Recalled& recalled, const std::string& workflow_name) {
  IDictionary& dictionary = *recalled.state.dictionary;
  WatchedChanges changes;
  {
    const Base::Hold lock(mutex_);
    changes = tree_changes_;
  }
  const std::optional<std::string> place = places_.Find(dictionary, recalled.tree, changes, workflow_name);
  return std::make_shared<const FlowDirectories>(place ? ReadFlowDirectories(dictionary, workflow_name, *place)
                                                       : FlowDirectories{workflow_name, false, {}});
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
