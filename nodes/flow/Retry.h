// Tries again what failed, some times, each time after a longer pause.
//
// In the record: Attempt, the number of the attempt that is under way or was the last.
#pragma once

#include "nodes/flow/DueNode.h"

namespace OrvWorkFlow::Nodes {

class Retry final : public DueNode {
 public:
  static constexpr char kTypeName[] = "Retry";
  static const NodeDescription kDescription;
  Retry() : DueNode(kTypeName, kDescription) {}

  std::int32_t MostSignalsFired() override { return 1; }

 private:
  bool OnInput(std::string_view signal, Outputs& outputs) override;
  void OnDue(std::int64_t time, Outputs& outputs) override;
  std::int64_t PauseBehind(std::int64_t attempt) const;
};

}  // namespace OrvWorkFlow::Nodes
