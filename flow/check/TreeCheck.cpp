// The tree of absorbed workflows: a node gets the read directories of its own workflow and of those above it there.
#include <algorithm>
#include <map>
#include <set>

#include "OrvWorkFlow/WorkflowSchema.h"
#include "base/dictionary/DictionaryReading.h"
#include "base/text/Suggestion.h"
#include "flow/check/Checks.h"
#include "flow/paths/PathLook.h"

namespace OrvWorkFlow::Flow {

namespace {

class TreeCheck {
 public:
  TreeCheck(IDictionary& dictionary, const Workflow& workflow, const CheckOptions& options, Findings& findings)
      : dictionary_(dictionary), workflow_(workflow), findings_(findings) {
    known_.insert(workflow.name);
    for (const FlowBeside& flow : options.beside) known_.insert(flow.workflow.name);
    for (const std::string& name : workflow.directories) known_.insert(name[0] == '_' ? name.substr(1) : name);
    known_.insert(workflow.directories.begin(), workflow.directories.end());
    for (const NodeType& type : workflow.types) {
      for (const Instance& instance : type.instances) {
        known_.insert(Base::TextAt(dictionary_, instance.path + WorkflowSchema::kInstanceWorkFlowName));
      }
    }
  }

  void Check() {
    const std::vector<std::string> paths = Base::PathsFrom(dictionary_, WorkflowSchema::kAbsorbTree);
    if (paths.size() < 2) return CheckMissing();
    if (!dictionary_.Exists(Top().c_str())) {
      return Warn(WorkflowSchema::kAbsorbTree, "has no node0, where the tree begins", "put the workflow's name there");
    }
    for (std::size_t i = 1; i < paths.size(); ++i) CheckEntry(paths[i]);
    if (places_.count(workflow_.name) != 0 || workflow_.name.empty() || is_told_) return;
    Warn(Top(), "is not this workflow, and it is nowhere in the tree: its nodes get no read directories",
         "write " + workflow_.name);
  }

 private:
  static std::string Top() { return std::string(WorkflowSchema::kAbsorbTree) + WorkflowSchema::kAbsorbTopNode; }

  // Harmless, where there is nothing that it gives.
  void CheckMissing() {
    for (const std::string& name : workflow_.directories) {
      const std::string path = std::string(WorkflowSchema::kDirectories) + "/" + name + WorkflowSchema::kReadDirs;
      if (TextsAt(dictionary_, path).empty()) continue;
      return Warn(WorkflowSchema::kAbsorbTree, "is missing, so no node gets the read directories of " + name,
                  "add node0 with the workflow's name");
    }
  }

  void CheckEntry(const std::string& path) {
    const std::string name = Base::TextAt(dictionary_, path);
    if (name.empty()) {
      is_told_ = true;
      return Warn(path, "names no workflow", "write a workflow's name, __type=\"str\", or take the entry out");
    }
    const auto [first, is_new] = places_.try_emplace(name, path);
    if (!is_new) return Warn(path, "names a workflow that stands at " + first->second + ", which counts", "remove one");
    if (known_.count(name) != 0) return;
    const std::string nearest = Base::NearestName(name, {known_.begin(), known_.end()});
    if (path == Top() && nearest.empty()) return;  // Told by what is not in the tree then.
    is_told_ = true;
    Warn(path, "names a workflow of which nothing is here: " + name,
         nearest.empty() ? "take the entry out" : "did you mean " + nearest + "?");
  }

  void Warn(const std::string& path, std::string what, std::string remedy) {
    findings_.push_back({Severity::Warning, Area::Wiring, path, std::move(what), std::move(remedy)});
  }

  IDictionary& dictionary_;
  const Workflow& workflow_;
  Findings& findings_;
  std::set<std::string> known_;
  std::map<std::string, std::string> places_;  // of each workflow in the tree
  bool is_told_ = false;
};

}  // namespace

void CheckTree(IDictionary& dictionary, const Workflow& workflow, const CheckOptions& options, Findings& findings) {
  // One that is taken in gets its place in the tree of the other.
  if (!options.is_guest) TreeCheck(dictionary, workflow, options, findings).Check();
}

}  // namespace OrvWorkFlow::Flow
