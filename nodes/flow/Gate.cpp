#include "nodes/flow/Gate.h"

namespace OrvWorkFlow::Nodes {

namespace {

constexpr NodeInput kInputs[] = {
    {"pass", "passes, waits or is blocked"},
    {"open", "opens; what waits passes"},
    {"close", "closes"},
};
constexpr NodeOutput kOutputs[] = {
    {"passed", false, "a signal passes"},
    {"blocked", false, "it is closed and keeps nothing"},
};
constexpr NodeParameter kParameters[] = {
    BooleanParameterRow("Open", true, "whether it is open at first"),
    BooleanParameterRow("Keep", false, "whether signals wait while it is closed"),
};

constexpr char kOpen[] = "Open";
constexpr char kKept[] = "Kept";

}  // namespace

constinit const NodeDescription Gate::kDescription = {
    .sentence = "Lets signals pass while it is open",
    .inputs = kInputs,
    .outputs = kOutputs,
    .parameters = kParameters,
    .state_in_dictionary = true,
    .acts_outside = false,
};

bool Gate::OnSignal(std::string_view signal) {
  Sdk::NodeRecord record = Record();
  if (signal != "pass") {
    record.SetNumber(kOpen, signal == "open" ? 1 : 0);
    if (signal == "close") return true;
    for (std::int64_t kept = record.Number(kKept); kept > 0; --kept) {
      record.SetNumber(kKept, kept - 1);
      FireOutput("passed");
    }
  } else if (record.Number(kOpen, BooleanParameter("Open") ? 1 : 0) != 0) {
    FireOutput("passed");
  } else if (BooleanParameter("Keep")) {
    record.SetNumber(kKept, record.Number(kKept) + 1);
  } else {
    FireOutput("blocked");
  }
  return true;
}

}  // namespace OrvWorkFlow::Nodes
