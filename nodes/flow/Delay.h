// Passes signals on after a time. Time counts while the workflow is stopped, too: what became due meanwhile is passed
// on at once. (Timer counts the time in which the workflow runs.)
#pragma once

#include "nodes/flow/DueNode.h"

namespace OrvWorkFlow::Nodes {

class Delay final : public DueNode {
 public:
  static constexpr char kTypeName[] = "Delay";
  static const NodeDescription kDescription;
  Delay() : DueNode(kTypeName, kDescription) {}

  std::int32_t MostSignalsFired() override { return 1; }

 private:
  bool OnInput(std::string_view signal, Outputs& outputs) override;
  void OnDue(std::int64_t time, Outputs& outputs) override;
};

}  // namespace OrvWorkFlow::Nodes
