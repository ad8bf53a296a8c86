// What stands in two workflows that run as one: the later one is put over the earlier one, entry by entry.
#include <algorithm>

#include "OrvWorkFlow/WorkflowSchema.h"
#include "flow/check/Checks.h"

namespace OrvWorkFlow::Flow {

namespace {

class CollisionCheck {
 public:
  CollisionCheck(const Workflow& workflow, const CheckOptions& options, Findings& findings)
      : workflow_(workflow), options_(options), findings_(findings) {}

  void Check(const FlowBeside& earlier) {
    if (!options_.file.empty() && options_.file == earlier.file) return;  // It is taken in once.
    if (!CheckWorkflowNames(earlier)) return;
    for (const NodeType& type : workflow_.types) {
      const auto& types = earlier.workflow.types;
      const auto same =
          std::find_if(types.begin(), types.end(), [&](const NodeType& t) { return t.name == type.name; });
      if (same != types.end()) CheckTypes(type, *same, earlier.shown_name);
    }
    if (workflow_.name == earlier.workflow.name) return;
    const auto& directories = earlier.workflow.directories;
    for (const std::string& name : workflow_.directories) {
      if (std::find(directories.begin(), directories.end(), name) == directories.end()) continue;
      Warn(std::string(WorkflowSchema::kDirectories) + "/" + name, earlier.shown_name);
    }
  }

 private:
  // False for one that is not taken in at all.
  bool CheckWorkflowNames(const FlowBeside& earlier) {
    if (workflow_.name.empty() || workflow_.name != earlier.workflow.name) return true;
    if (earlier.is_guest) {
      Add(Severity::Error, WorkflowSchema::kWorkFlowName,
          "is the name of " + earlier.shown_name + ", too, so that one is taken in and this one is not",
          "give it another name");
      return false;
    }
    Add(Severity::Warning, WorkflowSchema::kWorkFlowName,
        "is the name of " + earlier.shown_name + ", too, so $" + workflow_.name + " is that one's folder",
        "give it another name");
    return true;
  }

  void CheckTypes(const NodeType& type, const NodeType& earlier, const std::string& shown_name) {
    if (!type.plugin.empty() && !earlier.plugin.empty() && type.plugin != earlier.plugin) {
      Add(Severity::Warning, type.path + WorkflowSchema::kWin32Binary,
          shown_name + " has " + type.name + " from another library, " + earlier.plugin,
          "a type is that of one library; name the same one, or give one of the types another name");
    }
    const auto& others = earlier.instances;
    for (const Instance& instance : type.instances) {
      const bool is_there =
          std::any_of(others.begin(), others.end(), [&](const Instance& i) { return i.name == instance.name; });
      if (is_there) Warn(instance.path, shown_name);
    }
  }

  void Warn(const std::string& path, const std::string& shown_name) {
    Add(Severity::Warning, path, "is in " + shown_name + ", too, where this is put over it",
        "give one of them another name");
  }

  void Add(Severity severity, const std::string& path, std::string what, std::string remedy) {
    findings_.push_back({severity, Area::Wiring, path, std::move(what), std::move(remedy)});
  }

  const Workflow& workflow_;
  const CheckOptions& options_;
  Findings& findings_;
};

}  // namespace

void CheckCollisions(const Workflow& workflow, const CheckOptions& options, Findings& findings) {
  if (options.is_guest && workflow.name.empty()) {
    findings.push_back({Severity::Error, Area::Wiring, WorkflowSchema::kWorkFlowName,
                        "only a workflow with a name can be absorbed", "give it one"});
  }
  CollisionCheck check(workflow, options, findings);
  for (const FlowBeside& flow : options.beside) {
    if (flow.comes_first) check.Check(flow);
  }
}

}  // namespace OrvWorkFlow::Flow
