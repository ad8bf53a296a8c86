// Passes signals on, so many in a time at most; the others wait for their turn.
//
// In the record: Passed, the times of those that were passed on last, in milliseconds since 1970.
#pragma once

#include "nodes/flow/DueNode.h"

namespace OrvWorkFlow::Nodes {

class RateLimit final : public DueNode {
 public:
  static constexpr char kTypeName[] = "RateLimit";
  static const NodeDescription kDescription;
  RateLimit() : DueNode(kTypeName, kDescription) {}

  std::int32_t MostSignalsFired() override { return 1; }

 private:
  bool OnInput(std::string_view signal, Outputs& outputs) override;
  void OnDue(std::int64_t time, Outputs& outputs) override;
};

}  // namespace OrvWorkFlow::Nodes
