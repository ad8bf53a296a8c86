#include "nodes/flow/ForEachParallel.h"

namespace OrvWorkFlow::Nodes {

namespace {

constexpr NodeInput kInputs[] = {
    {"start", "begins, with an item for each place"}, {"done1", "the item of place 1 is done"},
    {"done2", "the item of place 2 is done"},         {"done3", "the item of place 3 is done"},
    {"done4", "the item of place 4 is done"},         {"done5", "the item of place 5 is done"},
    {"done6", "the item of place 6 is done"},         {"done7", "the item of place 7 is done"},
    {"done8", "the item of place 8 is done"},
};
constexpr NodeOutput kOutputs[] = {
    {"item1", false, "place 1 has an item, in /ForEachParallel/<instance>/1/Item"},
    {"item2", false, "place 2 has an item, in /ForEachParallel/<instance>/2/Item"},
    {"item3", false, "place 3 has an item, in /ForEachParallel/<instance>/3/Item"},
    {"item4", false, "place 4 has an item, in /ForEachParallel/<instance>/4/Item"},
    {"item5", false, "place 5 has an item, in /ForEachParallel/<instance>/5/Item"},
    {"item6", false, "place 6 has an item, in /ForEachParallel/<instance>/6/Item"},
    {"item7", false, "place 7 has an item, in /ForEachParallel/<instance>/7/Item"},
    {"item8", false, "place 8 has an item, in /ForEachParallel/<instance>/8/Item"},
    {"finished", false, "all items are done"},
    {"failed", false, "the items cannot be read; why is in /ForEachParallel/<instance>/Problem"},
};
constexpr NodeParameter kParameters[] = {
    kOverParameter,      kWhatParameter,  kPatternParameter,
    kRecursiveParameter, kItemsParameter, NumberParameterRow("AtATime", "2", 1, "how many places", 8),
};

}  // namespace

constinit const NodeDescription ForEachParallel::kDescription = {
    .sentence = "Goes over files, lines, a list or the children of an entry, several at a time",
    .inputs = kInputs,
    .outputs = kOutputs,
    .parameters = kParameters,
    .state_in_dictionary = true,
    .acts_outside = false,
};

bool ForEachParallel::OnSignal(std::string_view signal) {
  if (signal != "start") return EndItem(signal.back() - '0');
  Begin(1, NumberParameter("AtATime"));
  return true;
}

void ForEachParallel::FireItem(int place) {
  constexpr const char* kItems[] = {"item1", "item2", "item3", "item4", "item5", "item6", "item7", "item8"};
  FireOutput(kItems[place - 1]);
}

}  // namespace OrvWorkFlow::Nodes
