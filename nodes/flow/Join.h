// Brings branches of a workflow together.
//
// A round is over when so many signals have come as Of says: "in1" to "in8" count once in a round, a second one belongs
// to the next, and "arrive" counts each time. "joined" is fired once a round, when Needed have come.
//
// In the record: In0 (of "arrive") to In8, how many came that belong to this round and later ones; Fired, whether this
// round has fired.
#pragma once

#include "OrvWorkFlow/sdk/WorkNodeBase.h"

namespace OrvWorkFlow::Nodes {

class Join final : public Sdk::WorkNodeBase {
 public:
  static constexpr char kTypeName[] = "Join";
  static const NodeDescription kDescription;
  Join() : Sdk::WorkNodeBase(kTypeName, kDescription) {}

  std::int32_t MostSignalsFired() override { return 2; }

 private:
  bool OnSignal(std::string_view signal) override;
  // Fires what the rounds that are whole, and the one behind them, have to fire.
  void EndRounds(Sdk::NodeRecord& record, std::int64_t of, std::int64_t needed);
};

}  // namespace OrvWorkFlow::Nodes
