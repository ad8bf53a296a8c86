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

std::shared_ptr<const FlowDirectories> ContentDirectories::Get(IDictionary& dictionary, const std::string& definition) {
  // Taken before anything is read: a change in between makes what is kept out of date, never wrong.
  const Source source{&dictionary, dictionary.GetChangeCount()};
  if (Flow known = Find(by_definition_, definition, source)) return known;
  const std::string name = EntryText(dictionary, definition + WorkflowSchema::kInstanceWorkFlowName);
  Flow flow = Find(by_workflow_, name, source);
  if (flow == nullptr) {
    flow = std::make_shared<const FlowDirectories>(ReadFlowDirectories(dictionary, name));
    Keep(by_workflow_, name, flow, source);
  }
  Keep(by_definition_, definition, flow, source);
  return flow;
}

ContentDirectories::Flow ContentDirectories::Find(const FlowTable& table, const std::string& key,
                                                  const Source& source) {
  const std::scoped_lock lock(mutex_);
  if (source_ != source) {
    by_definition_.clear();
    by_workflow_.clear();
    source_ = source;
  }
  const auto found = table.find(key);
  return found == table.end() ? nullptr : found->second;
}

void ContentDirectories::Keep(FlowTable& table, const std::string& key, const Flow& flow, const Source& source) {
  const std::scoped_lock lock(mutex_);
  if (source_ == source) table.insert_or_assign(key, flow);
}

}  // namespace OrvWorkFlow
