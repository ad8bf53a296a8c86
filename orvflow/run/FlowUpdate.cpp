#include "orvflow/run/FlowUpdate.h"

#include <algorithm>
#include <cstdio>

#include "OrvWorkFlow/WorkflowSchema.h"
#include "base/dictionary/DictionaryReading.h"
#include "orvflow/files/DictionaryText.h"
#include "orvflow/terminal/Terminal.h"

namespace OrvWorkFlow::Program {

namespace {

constexpr const char* kDefinitions[] = {
    WorkflowSchema::kWorkNodes,
    WorkflowSchema::kGlobalUtilityObjects,
    WorkflowSchema::kLocalUtilityObjects,
    WorkflowSchema::kDirectories,
};

std::string ValueIn(IDictionary& dictionary, const std::string& path) {
  constexpr std::size_t kLongest = 60;
  std::string text = ReadValue(dictionary, path).value_or("no value");
  while (text.ends_with('\n')) text.pop_back();
  std::replace(text.begin(), text.end(), '\n', ' ');
  if (text.size() > kLongest) text = text.substr(0, kLongest) + "...";
  return text;
}

void Compare(IDictionary& state, const std::vector<IDictionary*>& flows, const std::string& root, FlowChanges& found) {
  IDictionary& flow = *flows.front();
  const auto add = [&](const std::string& path) {
    if (!state.Exists(path.c_str())) {
      found.added.push_back(path);
    } else if (flow.Exists(path.c_str())) {
      found.changed.push_back(path);
    } else if (std::none_of(flows.begin(), flows.end(),
                            [&](IDictionary* other) { return other->Exists(path.c_str()); })) {
      found.removed.push_back(path);
    }
  };
  const Sdk::TextListHolder differences;
  if (state.CompareSubtrees(root.c_str(), &flow, root.c_str(), differences.get())) {
    for (const std::string& below : differences.Texts()) add(root + below);
  } else if (state.Exists(root.c_str()) || flow.Exists(root.c_str())) {
    add(root);
  }
}

}  // namespace

FlowChanges FindFlowChanges(IDictionary& state, const std::vector<IDictionary*>& flows) {
  FlowChanges changes;
  for (const char* root : kDefinitions) Compare(state, flows, root, changes);
  return changes;
}

bool TakeFlowChanges(IDictionary& state, IDictionary& flow) {
  return std::all_of(std::begin(kDefinitions), std::end(kDefinitions),
                     [&](const char* root) { return !flow.Exists(root) || state.MergeSubtree(&flow, root, root); });
}

std::vector<std::string> DescribeFlowChanges(const FlowChanges& changes, IDictionary& state, IDictionary& flow) {
  std::vector<std::string> lines;
  for (const std::string& path : changes.added) {
    lines.push_back("added " + path + (ReadValue(flow, path) ? ": " + ValueIn(flow, path) : ""));
  }
  for (const std::string& path : changes.changed) {
    lines.push_back("changed " + path + ": " + ValueIn(state, path) + " -> " + ValueIn(flow, path));
  }
  for (const std::string& path : changes.removed) lines.push_back("removed " + path);
  return lines;
}

void ShowFlowUpdate(const Host::WorkflowHost& host, IDictionary& state, const std::string& flow,
                    const std::string& shown_flow, const Host::StateFile& file) {
  std::vector<Host::WorkflowHost::OwnedDictionary> dictionaries;
  std::vector<IDictionary*> flows;
  std::vector<std::string> paths = {flow};
  for (const std::string& entry : Base::NamesBelow(state, WorkflowSchema::kWorkFlows)) {
    const std::string record = std::string(WorkflowSchema::kWorkFlows) + "/" + entry;
    paths.push_back(Base::TextAt(state, record + WorkflowSchema::kWorkFlowRecordFilePath));
  }
  for (const std::string& path : paths) {
    dictionaries.push_back(host.MakeDictionary());
    if (!dictionaries.back()->LoadFile(path.c_str())) {
      throw FileError(ExitCode::Failed, path, "", "cannot be read, so --update cannot tell what has changed");
    }
    flows.push_back(dictionaries.back().get());
  }
  const FlowChanges changes = FindFlowChanges(state, flows);
  for (const std::string& line : DescribeFlowChanges(changes, state, *flows.front())) std::puts(line.c_str());
  std::fflush(stdout);
  if (!changes.removed.empty()) {
    throw FileError(ExitCode::Failed, shown_flow, changes.removed.front(),
                    "was removed from the flow, but " + file.shown_name() +
                        " cannot lose it while it runs; put it back, or begin anew with --fresh");
  }
  if (!TakeFlowChanges(state, *flows.front())) {
    throw FileError(ExitCode::Failed, shown_flow, "", "its changes cannot be taken into the saved state");
  }
}

void UpdateSavedState(const Host::WorkflowHost& host, const Host::StateFile& file, const std::string& workflow_name,
                      const std::string& flow) {
  const Host::WorkflowHost::OwnedDictionary state = host.MakeDictionary();
  file.Read(*state, workflow_name);
  const Host::WorkflowHost::OwnedDictionary changed = host.MakeDictionary();
  if (!changed->LoadFile(flow.c_str()) || !TakeFlowChanges(*state, *changed) || !state->SaveFile(file.path().c_str())) {
    throw FileError(ExitCode::Failed, file.shown_name(), "", "the state cannot be written; it is as it was");
  }
}

}  // namespace OrvWorkFlow::Program
