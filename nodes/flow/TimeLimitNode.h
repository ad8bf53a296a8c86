// A time limit around the work of another node: "begin" goes to that node, what it fires when it is done comes back as
// "done", and "expired" goes to its input that stops it.
//
// The limit counts while the workflow is stopped, too.
#pragma once

#include "nodes/flow/DueNode.h"

namespace OrvWorkFlow::Nodes {

class TimeLimitNode final : public DueNode {
 public:
  static constexpr char kTypeName[] = "TimeLimit";
  static const NodeDescription kDescription;
  TimeLimitNode() : DueNode(kTypeName, kDescription) {}

  std::int32_t MostSignalsFired() override { return 2; }

 private:
  bool OnInput(std::string_view signal, Outputs& outputs) override;
  void OnDue(std::int64_t time, Outputs& outputs) override;
};

}  // namespace OrvWorkFlow::Nodes
