#include "nodes/flow/ForEach.h"

namespace OrvWorkFlow::Nodes {

namespace {

constexpr NodeInput kInputs[] = {
    {"start", "begins with the first item; a loop that is under way is given up"},
    {"next", "the item is done"},
};
constexpr NodeOutput kOutputs[] = {
    {"item", true, "an item is in /ForEach/<instance>/Item, its number in .../Number"},
    {"finished", false, "all items are done"},
    {"failed", false, "the items cannot be read; why is in /ForEach/<instance>/Problem"},
};
constexpr NodeParameter kParameters[] = {
    kOverParameter, kWhatParameter, kPatternParameter, kRecursiveParameter, kItemsParameter,
};

}  // namespace

constinit const NodeDescription ForEach::kDescription = {
    .sentence = "Goes over files, lines, a list or the children of an entry, one after the other",
    .inputs = kInputs,
    .outputs = kOutputs,
    .parameters = kParameters,
    .state_in_dictionary = true,
    .acts_outside = false,
};

bool ForEach::OnSignal(std::string_view signal) {
  if (signal == "next") return EndItem(0);
  Begin(0, 0);
  return true;
}

}  // namespace OrvWorkFlow::Nodes
