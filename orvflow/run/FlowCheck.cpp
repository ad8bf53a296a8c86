#include "orvflow/run/FlowCheck.h"

#include <algorithm>
#include <iterator>

#include "flow/check/Check.h"
#include "flow/check/Checks.h"
#include "host/NodeLibraries.h"
#include "orvflow/terminal/Terminal.h"
#include "orvflow/trial/PluginTrial.h"

namespace OrvWorkFlow::Program {

namespace {

constexpr std::size_t kMostLines = 100;

std::string TextOf(const Flow::Finding& finding) {
  const std::string begin = finding.severity == Flow::Severity::Warning ? "warning: " : "";
  return begin + finding.what + (finding.remedy.empty() ? "" : "; " + finding.remedy);
}

ExitCode CodeOf(const Flow::Findings& errors) {
  const bool is_plugin = std::any_of(errors.begin(), errors.end(),
                                     [](const Flow::Finding& error) { return error.area == Flow::Area::Plugins; });
  return is_plugin ? ExitCode::PluginBroken : ExitCode::DictionaryDamaged;
}

Flow::Findings Of(const Flow::Findings& findings, Flow::Severity severity) {
  Flow::Findings some;
  std::copy_if(findings.begin(), findings.end(), std::back_inserter(some),
               [&](const Flow::Finding& finding) { return finding.severity == severity; });
  return some;
}

void PrintFindings(const Flow::Findings& findings, const std::string& shown_name) {
  for (std::size_t i = 0; i < std::min(findings.size(), kMostLines); ++i) {
    const LineTone tone = findings[i].severity == Flow::Severity::Error ? LineTone::Error : LineTone::Warning;
    PrintFindingLine(FileError(ExitCode::Failed, shown_name, findings[i].path, TextOf(findings[i])).what(), tone);
  }
  if (findings.size() > kMostLines) {
    PrintErrorLine(shown_name + ": and " + std::to_string(findings.size() - kMostLines) + " more of these");
  }
}

std::vector<std::string> LibrariesOf(const std::vector<Flow::FlowBeside>& flows) {
  std::vector<std::string> libraries;
  for (const Flow::FlowBeside& flow : flows) {
    for (const Flow::NodeType& type : flow.workflow.types) {
      if (!type.instances.empty() && !type.plugin.empty()) libraries.push_back(type.plugin);
    }
  }
  return libraries;
}

}  // namespace

Flow::Findings FindFaults(IDictionary& dictionary, const FlowUse& use) {
  Flow::CheckOptions options;
  const PluginTrial trial(dictionary, LibrariesOf(use.beside));
  options.load_library = [&trial](const std::string& library, std::string& reason) {
    reason = trial.FaultOf(library);
    return reason.empty() && Host::LoadNodeLibrary(library, reason);
  };
  options.file = use.file;
  options.beside = use.beside;
  options.takes_in_others = use.takes_in_others;
  options.is_guest = use.is_guest;
  options.is_continued = use.is_continued;
  return Flow::Check(dictionary, options);
}

Flow::Proof ProveFlow(IDictionary& dictionary, const FlowUse& use) {
  const Flow::Workflow workflow = Flow::ReadWorkflow(dictionary);
  std::vector<const Flow::Workflow*> workflows = {&workflow};
  for (const Flow::FlowBeside& flow : use.beside) workflows.push_back(&flow.workflow);
  bool endless_is_meant = false;
  if (!dictionary.GetValue(Flow::kEndlessIsMeant, &endless_is_meant)) endless_is_meant = false;
  return Flow::ProveWorkflows(workflows, endless_is_meant);
}

void CheckFlow(IDictionary& dictionary, const std::string& shown_name, const FlowUse& use) {
  const Flow::Findings findings = FindFaults(dictionary, use);
  PrintFindings(Of(findings, Flow::Severity::Warning), shown_name);
  const Flow::Findings errors = Of(findings, Flow::Severity::Error);
  if (errors.empty()) return;
  if (use.is_forced) {
    PrintFindings(errors, shown_name);
    PrintErrorLine(shown_name + ": begun all the same, with --force");
    return;
  }
  if (errors.size() == 1) throw FileError(CodeOf(errors), shown_name, errors[0].path, TextOf(errors[0]));
  PrintFindings(errors, shown_name);
  throw FileError(CodeOf(errors), shown_name, "", "not started: " + std::to_string(errors.size()) + " errors");
}

}  // namespace OrvWorkFlow::Program
