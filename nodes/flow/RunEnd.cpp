#include "nodes/flow/RunEnd.h"

#include <stdexcept>
#include <string>

#include "OrvWorkFlow/IHostApp.h"
#include "OrvWorkFlow/Names.h"
#include "OrvWorkFlow/sdk/GlobalObject.h"
#include "OrvWorkFlow/sdk/NodeRecord.h"

namespace OrvWorkFlow::Nodes {

namespace {

constexpr char kEnd[] = "/Orvflow/End";
constexpr std::int32_t kMostCode = 125;  // those above are of shells and signals

constexpr NodeInput kInputs[] = {
    {"end", "ends the run"},
};
constexpr NodeOutput kOutputs[] = {
    {"refused", false, "the host does not let nodes end the run; nothing has happened"},
};
constexpr NodeParameter kParameters[] = {
    NumberParameterRow("Code", "0", 0, "the exit code: 0 for success, 1 for failure, 10 and more for what you like",
                       kMostCode),
    TextParameterRow("Text", "", "why, for whoever reads the last lines of the run"),
};
constexpr ParameterRule kRuleRows[] = {
    {.name = "Text", .may_be_left_out = true},
};

}  // namespace

constinit const NodeTable<ParameterRule> RunEnd::kRules = kRuleRows;

constinit const NodeDescription RunEnd::kDescription = {
    .sentence = "Ends the run with an exit code; what waits is not delivered, and the next run begins anew",
    .inputs = kInputs,
    .outputs = kOutputs,
    .parameters = kParameters,
    .state_in_dictionary = true,
    .acts_outside = true,
};

bool RunEnd::OnSignal(std::string_view /*signal*/) {
  const std::int32_t code = NumberParameter("Code");
  const std::string text = TextParameter("Text");
  if (code > 1 && code < 10) {
    throw std::runtime_error("Code is " + std::to_string(code) +
                             ": 2 to 9 say something else of a run; take 0, 1, or 10 to 125");
  }
  auto* const host = Sdk::FindGlobal<IHostEnd>(ObjectNames::kHostApp, InterfaceNames::kHostEnd);
  if (host == nullptr) {
    FireOutput("refused");
    return true;
  }
  Sdk::NodeRecord record(WorkflowDictionary(), kEnd);
  record.Clear();
  record.SetNumber("Code", code);
  record.SetText("Text", text);
  record.SetText("By", std::string(kTypeName) + " " + InstanceName());
  if (host->RequestEnd()) return true;
  record.Clear();
  FireOutput("refused");
  return true;
}

}  // namespace OrvWorkFlow::Nodes
