#include "nodes/flow/TimeLimitNode.h"

namespace OrvWorkFlow::Nodes {

namespace {

constexpr NodeInput kInputs[] = {
    {"start", "the work begins"},
    {"done", "the work is done"},
    {"resume", "goes on after a stop"},
};
constexpr NodeOutput kOutputs[] = {
    {"begin", true, "the other node is to begin"},
    {"done", false, "the work was done in time"},
    {"expired", true, "the time is over and the work is not done"},
    {"late", false, "the work was done behind its time"},
};
constexpr NodeParameter kParameters[] = {
    NumberParameterRow("Milliseconds", "60000", 1, "the time"),
};

}  // namespace

constinit const NodeDescription TimeLimitNode::kDescription = {
    .sentence = "Puts a time limit around the work of another node",
    .inputs = kInputs,
    .outputs = kOutputs,
    .parameters = kParameters,
    .state_in_dictionary = true,
    .acts_outside = false,
};

bool TimeLimitNode::OnInput(std::string_view signal, Outputs& outputs) {
  if (signal == "start") {
    RemoveAll();
    Add(Now() + NumberParameter("Milliseconds"));
    outputs.push_back("begin");
    return true;
  }
  outputs.push_back(Waiting() == 0 ? "late" : "done");
  RemoveAll();
  return true;
}

void TimeLimitNode::OnDue(std::int64_t /*time*/, Outputs& outputs) { outputs.push_back("expired"); }

}  // namespace OrvWorkFlow::Nodes
