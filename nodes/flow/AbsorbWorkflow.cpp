#include "nodes/flow/AbsorbWorkflow.h"
#include "OrvWorkFlow/Names.h"

#include <stdexcept>

#include "OrvWorkFlow/IWorkFlowEngine.h"
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
    TellUser("cannot absorb \"" + file +
             "\": " + Sdk::TextFrom([&](IOrvPString* text) { return engine->GetLastErrorText(text); }));
    FireOutput("failed");
  }
  return true;
}

}  // namespace OrvWorkFlow::Nodes
