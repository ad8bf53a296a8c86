#include "nodes/flow/AbsorbWorkflow.h"

#include <stdexcept>

#include "OrvWorkFlow/IWorkFlowEngine.h"
#include "nodes/GlobalObject.h"
#include "runtime/MarshalledHolder.h"

namespace OrvWorkFlow::Nodes {

bool AbsorbWorkflow::OnSignal(std::string_view signal) {
  if (signal != "absorb") return false;
  auto* engine = FindGlobal<IWorkFlowEngine>("WorkFlowEngine", "IWorkFlowEngine");
  if (engine == nullptr) throw std::runtime_error("the host has no global workflow engine");
  const std::string file = TextParameter("File", "");
  if (engine->AbsorbFlow(file.c_str(), BooleanParameter("Start", true))) {
    FireOutput("absorbed");
  } else {
    TellUser("cannot absorb \"" + file +
             "\": " + TextFrom([&](IOrvPString* text) { return engine->GetLastErrorText(text); }));
    FireOutput("failed");
  }
  return true;
}

}  // namespace OrvWorkFlow::Nodes
