#include "signalmediator/ContentDirectories.h"

#include <iterator>

#include "CoreObjects/Marshalled.h"
#include "OrvWorkFlow/WorkflowSchema.h"
#include "signalmediator/DictionaryAccess.h"

namespace OrvWorkFlow {
namespace {

// The first entry below the absorb tree, in pre-order, whose value is the name; "" when there is none.
std::string FindInAbsorbTree(IDictionary& dictionary, const std::string& workflow_name) {
  const Marshalled<IOrvPStringList> list;
  std::vector<std::string> paths;
  if (!list || !dictionary.EnumeratePaths(WorkflowSchema::kAbsorbTree, list.get()) || !ReadTexts(list.get(), paths)) {
    return {};
  }
  std::string value;
  for (std::size_t i = 1; i < paths.size(); ++i) {  // the first path is the tree itself
    if (ReadEntryText(dictionary, paths[i], value) && value == workflow_name) return paths[i];
  }
  return {};
}

}  // namespace

FlowDirectories ReadFlowDirectories(IDictionary& dictionary, const std::string& workflow_name) {
  FlowDirectories flow;
  flow.workflow_name = workflow_name;
  std::string path = FindInAbsorbTree(dictionary, workflow_name);
  if (path.empty()) return flow;
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

ContentDirectories::Flow ContentDirectories::Recall(IDictionary& dictionary, OfNode& kept) {
  if (kept.has_fresh.load(std::memory_order_relaxed)) {
    const std::scoped_lock lock(mutex_);
    kept.known = std::move(kept.fresh);
    kept.has_fresh.store(false, std::memory_order_relaxed);
  }
  const Known& known = kept.known;
  const bool holds = known.dictionary == &dictionary && known.change_count == dictionary.GetChangeCount();
  return holds ? known.flow : nullptr;
}

ContentDirectories::Flow ContentDirectories::Read(IDictionary& dictionary, const std::string& definition,
                                                  OfNode& kept) {
  // The count is taken before anything is read: a change in between makes what is kept out of date, never wrong.
  Known known{&dictionary, dictionary.GetChangeCount(), nullptr};
  const std::string name = EntryText(dictionary, definition + WorkflowSchema::kInstanceWorkFlowName);
  known.flow = Find(name, known);
  if (known.flow == nullptr)
    known.flow = std::make_shared<const FlowDirectories>(ReadFlowDirectories(dictionary, name));
  Keep(name, known, kept);
  return known.flow;
}

// What was kept for another state of the dictionary is forgotten.
ContentDirectories::Flow ContentDirectories::Find(const std::string& workflow_name, const Known& state) {
  const std::scoped_lock lock(mutex_);
  if (!state_.IsOfSameState(state)) {
    by_workflow_.clear();
    state_ = state;
  }
  const auto found = by_workflow_.find(workflow_name);
  return found == by_workflow_.end() ? nullptr : found->second;
}

void ContentDirectories::Keep(const std::string& workflow_name, const Known& state, OfNode& kept) {
  const std::scoped_lock lock(mutex_);
  if (state_.IsOfSameState(state)) by_workflow_.try_emplace(workflow_name, state.flow);
  kept.fresh = state;
  kept.has_fresh.store(true, std::memory_order_relaxed);
}

}  // namespace OrvWorkFlow
