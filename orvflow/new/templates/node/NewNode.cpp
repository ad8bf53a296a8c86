// The work node NewNode: counts its signals, up to a limit.
#include <cstdint>
#include <new>
#include <string>

#include "OrvWorkFlow/Plugin.h"
#include "OrvWorkFlow/WorkFlowFactory.h"
#include "OrvWorkFlow/sdk/NodeCreator.h"
#include "OrvWorkFlow/sdk/WorkNodeBase.h"

ORV_WORKFLOW_PLUGIN();

namespace {

using namespace OrvWorkFlow;

// All that the node takes, fires and reads stands here: what a table does not name, the node cannot use.
constexpr NodeInput kInputs[] = {
    {"go", "counts"},
};
constexpr NodeOutput kOutputs[] = {
    {"done", false, "it is counted"},
    {"failed", false, "the limit was reached before"},
};
constexpr NodeParameter kParameters[] = {
    NumberParameterRow("Limit", "10", 1, "how far it counts"),
};
constexpr NodeDescription kDescription = {
    .sentence = "Counts its signals, up to a limit",
    .inputs = kInputs,
    .outputs = kOutputs,
    .parameters = kParameters,
    .state_in_dictionary = true,
    .acts_outside = false,
};

class NewNode final : public Sdk::WorkNodeBase {
 public:
  static constexpr char kTypeName[] = "NewNode";
  NewNode() : WorkNodeBase(kTypeName, kDescription) {}

 private:
  // What has to survive a stop is in the workflow's dictionary, under a path of the node's own.
  bool OnSignal(std::string_view /*signal*/) override {
    const std::string path = "/NewNode/" + InstanceName() + "/Count";
    std::int32_t count = 0;
    WorkflowDictionary().GetValue(path.c_str(), &count);
    if (count >= NumberParameter("Limit")) {
      FireOutput("failed");
      return true;
    }
    WorkflowDictionary().SetValue(path.c_str(), count + 1);
    FireOutput("done");
    return true;
  }
};

WorkFlowFactory registration(new (std::nothrow) Sdk::NodeCreator<NewNode>);

}  // namespace
