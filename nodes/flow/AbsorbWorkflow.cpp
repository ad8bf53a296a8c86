#include "nodes/flow/AbsorbWorkflow.h"

#include <memory>
#include <stdexcept>

#include "OrvWorkFlow/IWorkFlowEngine.h"
#include "OrvWorkFlow/Names.h"
#include "OrvWorkFlow/WorkflowSchema.h"
#include "OrvWorkFlow/sdk/GlobalObject.h"
#include "OrvWorkFlow/sdk/MarshalledHolder.h"

namespace OrvWorkFlow::Nodes {

namespace {

constexpr NodeInput kInputs[] = {
    {"absorb", "takes it in"},
};
constexpr NodeOutput kOutputs[] = {
    {"absorbed", false, "behind the start signal of the absorbed workflow"},
    {"failed", false, "the user was told why"},
};
constexpr NodeParameter kParameters[] = {
    TextParameterRow("File", "", "the other workflow's file"),
    BooleanParameterRow("Start", true, "whether its start signal is queued"),
};

struct Releaser {
  void operator()(IDictionary* dictionary) const { dictionary->Release(); }
};

// Why no workflow could be taken from the file; "" where that is not known from the file alone.
std::string ProblemOf(IDictionary& workflow, const std::string& file) {
  const std::unique_ptr<IDictionary, Releaser> flow(workflow.MakeDictionary());
  if (flow == nullptr) return {};
  if (flow->LoadFile(file.c_str())) {
    const std::string name =
        Sdk::TextFrom([&](IOrvPString* text) { return flow->GetValue(WorkflowSchema::kWorkFlowName, text); });
    return name.empty() ? "it is no workflow: " + std::string(WorkflowSchema::kWorkFlowName) + " is missing" : "";
  }
  FileReport report;
  const std::string reason = Sdk::TextFrom([&](IOrvPString* text) { return flow->GetLoadReport(&report, text); });
  // Without its key an enciphered file cannot be told from a damaged one.
  if (report.failure == FileFailure::NotDeciphered || report.failure == FileFailure::NotStarted) return {};
  return report.line == 0 ? reason : "line " + std::to_string(report.line) + ": " + reason;
}

}  // namespace

constinit const NodeDescription AbsorbWorkflow::kDescription = {
    .sentence = "Takes another workflow into the running one",
    .inputs = kInputs,
    .outputs = kOutputs,
    .parameters = kParameters,
    .state_in_dictionary = true,
    .acts_outside = false,
};

bool AbsorbWorkflow::OnSignal(std::string_view /*signal*/) {
  auto* engine = Sdk::FindGlobal<IWorkFlowEngine>(ObjectNames::kWorkFlowEngine, InterfaceNames::kWorkFlowEngine);
  if (engine == nullptr) throw std::runtime_error("the host has no global workflow engine");
  const std::string file = TextParameter("File");
  if (engine->AbsorbFlow(file.c_str(), BooleanParameter("Start"))) {
    FireOutput("absorbed");
  } else {
    const std::string said = Sdk::TextFrom([&](IOrvPString* text) { return engine->GetLastErrorText(text); });
    const std::string problem = file.empty() ? "no File is given" : ProblemOf(WorkflowDictionary(), file);
    TellUser("cannot absorb \"" + file + "\": " + (problem.empty() ? said : problem));
    FireOutput("failed");
  }
  return true;
}

}  // namespace OrvWorkFlow::Nodes
