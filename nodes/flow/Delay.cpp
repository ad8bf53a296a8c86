#include "nodes/flow/Delay.h"

namespace OrvWorkFlow::Nodes {

namespace {

constexpr NodeInput kInputs[] = {
    {"start", "is passed on after the time"},
    {"cancel", "nothing that waits is passed on"},
    {"resume", "goes on after a stop"},
};
constexpr NodeOutput kOutputs[] = {
    {"passed", false, "the time is over"},
};
constexpr NodeParameter kParameters[] = {
    NumberParameterRow("Milliseconds", "1000", 0, "the time"),
};

}  // namespace

constinit const NodeDescription Delay::kDescription = {
    .sentence = "Passes each signal on after a time",
    .inputs = kInputs,
    .outputs = kOutputs,
    .parameters = kParameters,
    .state_in_dictionary = true,
    .acts_outside = false,
};

bool Delay::OnInput(std::string_view signal, Outputs& /*outputs*/) {
  if (signal == "cancel") {
    RemoveAll();
  } else {
    Add(Now() + NumberParameter("Milliseconds"));
  }
  return true;
}

void Delay::OnDue(std::int64_t /*time*/, Outputs& outputs) { outputs.push_back("passed"); }

}  // namespace OrvWorkFlow::Nodes
