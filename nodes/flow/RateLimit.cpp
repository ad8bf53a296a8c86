#include "nodes/flow/RateLimit.h"

#include <algorithm>
#include <string>

namespace OrvWorkFlow::Nodes {

namespace {

constexpr NodeInput kInputs[] = {
    {"pass", "is passed on, at once or when its turn has come"},
    {"resume", "goes on after a stop"},
};
constexpr NodeOutput kOutputs[] = {
    {"passed", false, "its turn has come"},
    {"dropped", false, "too many wait already"},
};
constexpr NodeParameter kParameters[] = {
    NumberParameterRow("Signals", "1", 1, "how many in the time", 1000),
    NumberParameterRow("Milliseconds", "1000", 1, "the time"),
    NumberParameterRow("MostWaiting", "1000", 0, "how many may wait", 100000),
};

constexpr char kPassed[] = "Passed";

}  // namespace

constinit const NodeDescription RateLimit::kDescription = {
    .sentence = "Passes signals on, so many in a time at most",
    .inputs = kInputs,
    .outputs = kOutputs,
    .parameters = kParameters,
    .state_in_dictionary = true,
    .acts_outside = false,
};

bool RateLimit::OnInput(std::string_view /*signal*/, Outputs& outputs) {
  Sdk::NodeRecord record = Record();
  std::vector<std::string> passed = record.Texts(kPassed);
  const auto signals = static_cast<std::size_t>(NumberParameter("Signals"));
  if (passed.size() > signals) passed.erase(passed.begin(), passed.end() - static_cast<std::ptrdiff_t>(signals));
  std::int64_t time = Now();
  if (passed.size() == signals)
    time = std::max<std::int64_t>(time, std::stoll(passed.front()) + NumberParameter("Milliseconds"));
  const bool has_to_wait = time > Now() || Waiting() > 0;
  if (has_to_wait && Waiting() >= static_cast<std::size_t>(NumberParameter("MostWaiting"))) {
    outputs.push_back("dropped");
    return true;
  }
  passed.push_back(std::to_string(time));
  record.SetTexts(kPassed, passed);
  if (has_to_wait) {
    Add(time);
  } else {
    outputs.push_back("passed");
  }
  return true;
}

void RateLimit::OnDue(std::int64_t /*time*/, Outputs& outputs) { outputs.push_back("passed"); }

}  // namespace OrvWorkFlow::Nodes
