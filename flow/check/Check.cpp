#include "flow/check/Check.h"

#include <algorithm>

#include "OrvWorkFlow/WorkflowSchema.h"
#include "flow/check/Checks.h"

namespace OrvWorkFlow::Flow {

namespace {

void DescribeTypes(const Workflow& workflow, NodeKinds& kinds) {
  for (const NodeType& type : workflow.types) {
    if (type.instances.empty() || kinds.count(type.name) != 0) continue;
    kinds[type.name] = DescribeNodeType(type.name);
  }
}

// What is wrong with the libraries of the workflows beside this one is found when these are looked at.
void LoadLibrariesOf(const Workflow& workflow, const CheckOptions& options) {
  for (const NodeType& type : workflow.types) {
    std::string reason;
    if (!type.instances.empty() && !type.plugin.empty()) options.load_library(type.plugin, reason);
  }
}

void CheckThereIsAWorkflow(const Workflow& workflow, const CheckOptions& options, Findings& findings) {
  if (workflow.types.empty() && !options.is_guest) {
    findings.push_back({Severity::Error, Area::Wiring, WorkflowSchema::kWorkNodes,
                        "a dictionary, but no workflow: it has no work nodes", ""});
  } else if (workflow.start.type.empty() && !workflow.has_waiting_signals && !options.is_guest) {
    findings.push_back({Severity::Error, Area::Wiring, WorkflowSchema::kStartSignal, "no signal to begin with",
                        "set ReceiverTypeName, ReceiverInstanceName and IncomingSignalName"});
  }
}

}  // namespace

bool MayTakeOthersIn(const Workflow& workflow, const CheckOptions& options) {
  if (TakesOthersIn(workflow)) return true;
  if (options.beside.empty()) return options.takes_in_others || options.is_guest;
  return std::any_of(options.beside.begin(), options.beside.end(),
                     [](const FlowBeside& flow) { return TakesOthersIn(flow.workflow); });
}

Findings Check(IDictionary& dictionary, const CheckOptions& options) {
  Findings findings;
  const Workflow workflow = ReadWorkflow(dictionary);
  CheckSchema(dictionary, workflow, options, findings);
  // Names that are nearly right explain what is missing.
  if (!options.is_continued && !HasErrors(findings)) CheckThereIsAWorkflow(workflow, options, findings);
  if (HasErrors(findings) && workflow.types.empty()) return findings;
  CheckPlugins(dictionary, workflow, options, findings);
  for (const FlowBeside& flow : options.beside) LoadLibrariesOf(flow.workflow, options);
  NodeKinds kinds;
  DescribeTypes(workflow, kinds);
  for (const FlowBeside& flow : options.beside) DescribeTypes(flow.workflow, kinds);
  CheckWiring(dictionary, workflow, kinds, options, findings);
  CheckRoads(dictionary, workflow, kinds, options, findings);
  CheckParameters(dictionary, workflow, kinds, options, findings);
  CheckNames(workflow, findings);
  CheckFiles(dictionary, workflow, options, findings);
  if (!options.is_continued) {
    CheckTree(dictionary, workflow, options, findings);
    CheckCollisions(workflow, options, findings);
    CheckValues(dictionary, findings);
  }
  if (options.is_continued) {
    for (Finding& finding : findings) {
      if (finding.area == Area::Wiring && finding.severity == Severity::Error) finding.severity = Severity::Warning;
    }
  }
  return findings;
}

}  // namespace OrvWorkFlow::Flow
