#include "nodes/flow/Counter.h"

#include <limits>

namespace OrvWorkFlow::Nodes {

namespace {

constexpr NodeInput kInputs[] = {
    {"count", "counts one more"},
    {"reset", "begins anew"},
};
constexpr NodeOutput kOutputs[] = {
    {"counted", false, "it is counted, and the limit is not reached"},
    {"reached", false, "it is counted, and the limit is reached; the next one begins anew"},
};
constexpr NodeParameter kParameters[] = {
    NumberParameterRow("Start", "0", std::numeric_limits<std::int32_t>::min(), "the number to begin with"),
    NumberParameterRow("Step", "1", std::numeric_limits<std::int32_t>::min(), "what a signal adds"),
    NumberParameterRow("Limit", "0", 0, "after how many signals it is reached; 0 for never"),
};

constexpr char kCount[] = "Count";
constexpr char kSignals[] = "Signals";

}  // namespace

constinit const NodeDescription Counter::kDescription = {
    .sentence = "Counts signals, up to a limit",
    .inputs = kInputs,
    .outputs = kOutputs,
    .parameters = kParameters,
    .state_in_dictionary = true,
    .acts_outside = false,
};

bool Counter::OnSignal(std::string_view signal) {
  Sdk::NodeRecord record = Record();
  const std::int64_t limit = NumberParameter("Limit");
  std::int64_t signals = record.Number(kSignals);
  if (signal == "reset" || !record.Has(kCount) || (limit > 0 && signals >= limit)) {
    signals = 0;
    record.SetNumber(kSignals, 0);
    record.SetNumber(kCount, NumberParameter("Start"));
    if (signal == "reset") return true;
  }
  record.SetNumber(kCount, record.Number(kCount) + NumberParameter("Step"));
  record.SetNumber(kSignals, signals + 1);
  FireOutput(limit > 0 && signals + 1 >= limit ? "reached" : "counted");
  return true;
}

}  // namespace OrvWorkFlow::Nodes
