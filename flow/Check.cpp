#include "flow/Check.h"

#include <algorithm>

#include "OrvWorkFlow/WorkflowSchema.h"
#include "flow/Checks.h"

namespace OrvWorkFlow::Flow {

namespace {

NodeKinds DescribeTypes(const Workflow& workflow) {
  NodeKinds kinds;
  for (const NodeType& type : workflow.types) {
    if (!type.instances.empty()) kinds[type.name] = DescribeNodeType(type.name);
  }
  return kinds;
}

constexpr char kAbsorbingType[] = "AbsorbWorkflow";

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
  if (options.takes_in_others || options.is_guest || workflow.has_absorbed) return true;
  return std::any_of(workflow.types.begin(), workflow.types.end(),
                     [](const NodeType& type) { return type.name == kAbsorbingType && !type.instances.empty(); });
}

Findings Check(IDictionary& dictionary, const CheckOptions& options) {
  Findings findings;
  const Workflow workflow = ReadWorkflow(dictionary);
  CheckSchema(dictionary, workflow, findings);
  // Names that are nearly right explain what is missing.
  if (!options.is_continued && !HasErrors(findings)) CheckThereIsAWorkflow(workflow, options, findings);
  if (HasErrors(findings) && workflow.types.empty()) return findings;
  CheckPlugins(dictionary, workflow, options, findings);
  const NodeKinds kinds = DescribeTypes(workflow);
  CheckWiring(dictionary, workflow, kinds, options, findings);
  CheckRoads(dictionary, workflow, kinds, options, findings);
  CheckParameters(dictionary, workflow, kinds, options, findings);
  if (options.is_continued) {
    for (Finding& finding : findings) {
      if (finding.area == Area::Wiring && finding.severity == Severity::Error) finding.severity = Severity::Warning;
    }
  }
  return findings;
}

}  // namespace OrvWorkFlow::Flow
