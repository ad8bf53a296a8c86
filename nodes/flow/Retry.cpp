#include "nodes/flow/Retry.h"

#include <algorithm>

namespace OrvWorkFlow::Nodes {

namespace {

constexpr NodeInput kInputs[] = {
    {"try", "the first attempt at something new"},
    {"failed", "the attempt failed"},
    {"succeeded", "the attempt succeeded"},
    {"resume", "goes on after a stop"},
};
constexpr NodeOutput kOutputs[] = {
    {"attempt", true, "the attempt of the number in /Retry/<instance>/Attempt begins"},
    {"succeeded", false, "an attempt succeeded"},
    {"gave_up", true, "the last attempt failed"},
};
constexpr NodeParameter kParameters[] = {
    NumberParameterRow("Attempts", "3", 1, "how many attempts at most"),
    NumberParameterRow("Milliseconds", "1000", 0, "the pause before the second attempt"),
    NumberParameterRow("Factor", "2", 1, "how many times as long each further pause is"),
    NumberParameterRow("MostMilliseconds", "600000", 0, "the longest pause"),
};

constexpr char kAttempt[] = "Attempt";
constexpr char kUnderWay[] = "UnderWay";

}  // namespace

constinit const NodeDescription Retry::kDescription = {
    .sentence = "Has something tried again when it failed, up to a limit, with pauses that grow",
    .inputs = kInputs,
    .outputs = kOutputs,
    .parameters = kParameters,
    .state_in_dictionary = true,
    .acts_outside = false,
};

bool Retry::OnInput(std::string_view signal, Outputs& outputs) {
  Sdk::NodeRecord record = Record();
  if (signal == "try") {
    RemoveAll();
    record.SetNumber(kAttempt, 1);
    record.SetNumber(kUnderWay, 1);
    outputs.push_back("attempt");
    return true;
  }
  if (record.Number(kUnderWay) == 0) return false;  // Nothing is being tried.
  record.SetNumber(kUnderWay, 0);
  if (signal == "succeeded") {
    outputs.push_back("succeeded");
  } else if (record.Number(kAttempt) >= NumberParameter("Attempts")) {
    outputs.push_back("gave_up");
  } else {
    Add(Now() + PauseBehind(record.Number(kAttempt)));
  }
  return true;
}

std::int64_t Retry::PauseBehind(std::int64_t attempt) const {
  const std::int64_t most = NumberParameter("MostMilliseconds");
  const std::int64_t factor = NumberParameter("Factor");
  std::int64_t pause = std::min<std::int64_t>(NumberParameter("Milliseconds"), most);
  for (; attempt > 1 && factor > 1 && pause > 0 && pause < most; --attempt) pause = std::min(pause * factor, most);
  return pause;
}

void Retry::OnDue(std::int64_t /*time*/, Outputs& outputs) {
  Sdk::NodeRecord record = Record();
  record.SetNumber(kAttempt, record.Number(kAttempt) + 1);
  record.SetNumber(kUnderWay, 1);
  outputs.push_back("attempt");
}

}  // namespace OrvWorkFlow::Nodes
