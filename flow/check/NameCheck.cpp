// Names that no path can hold, or that a path takes for something else.
#include <algorithm>

#include "OrvWorkFlow/WorkflowSchema.h"
#include "flow/check/Checks.h"
#include "flow/paths/PathLook.h"

namespace OrvWorkFlow::Flow {

bool CanStandInAPath(const std::string& name) {
  return !name.empty() && std::all_of(name.begin(), name.end(), [](char c) {
    return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_' || c == '-';
  });
}

// Names of entries are told with what else is doubtful in the file's text.
void CheckNames(const Workflow& workflow, Findings& findings) {
  const std::string& name = workflow.name;
  if (name.empty()) return;
  const auto warn = [&](std::string what, std::string remedy) {
    findings.push_back(
        {Severity::Warning, Area::Wiring, WorkflowSchema::kWorkFlowName, std::move(what), std::move(remedy)});
  };
  if (!CanStandInAPath(name)) warn("no path can hold this name, so the workflow can have no directories", kNameForm);
  const std::string macro = MacroAtBeginOf(name);
  if (macro.empty()) return;
  warn("begins with " + macro + ", so a path with $" + name + " leads to the folder $" + macro +
           " and not to that of the workflow",
       "give it another name");
}

}  // namespace OrvWorkFlow::Flow
