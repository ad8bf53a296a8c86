#include "nodes/flow/Join.h"

#include <algorithm>
#include <string>

namespace OrvWorkFlow::Nodes {

namespace {

constexpr NodeInput kInputs[] = {
    {"arrive", "counts each time"},     {"in1", "counts once a round"}, {"in2", "counts once a round"},
    {"in3", "counts once a round"},     {"in4", "counts once a round"}, {"in5", "counts once a round"},
    {"in6", "counts once a round"},     {"in7", "counts once a round"}, {"in8", "counts once a round"},
    {"reset", "forgets what has come"},
};
constexpr NodeOutput kOutputs[] = {
    {"joined", true, "as many as are needed have come"},
    {"late", false, "a further one of the same round has come"},
};
constexpr NodeParameter kParameters[] = {
    NumberParameterRow("Of", "2", 1, "how many signals a round has"),
    NumberParameterRow("Needed", "0", 0, "how many of them are waited for; 0 for all, 1 for any"),
};

constexpr char kFired[] = "Fired";

std::int64_t Came(const Sdk::NodeRecord& record) {
  std::int64_t came = record.Number("In0");
  for (char place = '1'; place <= '8'; ++place) came += record.Number(std::string("In") + place) > 0 ? 1 : 0;
  return came;
}

}  // namespace

constinit const NodeDescription Join::kDescription = {
    .sentence = "Waits for several signals: all of them, or some",
    .inputs = kInputs,
    .outputs = kOutputs,
    .parameters = kParameters,
    .state_in_dictionary = true,
    .acts_outside = false,
};

bool Join::OnSignal(std::string_view signal) {
  Sdk::NodeRecord record = Record();
  if (signal == "reset") {
    record.Clear();
    return true;
  }
  const std::string place = std::string("In") + (signal == "arrive" ? '0' : signal.back());
  const std::int64_t before = record.Number(place);
  record.SetNumber(place, before + 1);
  const std::int64_t of = NumberParameter("Of");
  const std::int64_t needed = NumberParameter("Needed");
  const bool belongs_here = before == 0 || place == "In0";
  if (belongs_here && record.Number(kFired) != 0) FireOutput("late");
  EndRounds(record, of, needed == 0 ? of : std::min(needed, of));
  return true;
}

void Join::EndRounds(Sdk::NodeRecord& record, std::int64_t of, std::int64_t needed) {
  for (;;) {
    const std::int64_t came = Came(record);
    if (came >= needed && record.Number(kFired) == 0) {
      record.SetNumber(kFired, 1);
      FireOutput("joined");
    }
    if (came < of) return;
    std::int64_t left = of;
    for (char place = '8'; place >= '1' && left > 0; --place) {
      const std::string name = std::string("In") + place;
      const std::int64_t count = record.Number(name);
      if (count == 0) continue;
      record.SetNumber(name, count - 1);
      --left;
    }
    record.SetNumber("In0", record.Number("In0") - left);
    record.SetNumber(kFired, 0);
  }
}

}  // namespace OrvWorkFlow::Nodes
