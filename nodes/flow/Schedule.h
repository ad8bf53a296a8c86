// Fires at the times of a cron expression (CronTimes.h).
//
// In the record: Time, the time for which it fired last, as clocks show it; Left, how many times are left, where there
// is a limit.
#pragma once

#include "nodes/flow/DueNode.h"

namespace OrvWorkFlow::Nodes {

class Schedule final : public DueNode {
 public:
  static constexpr char kTypeName[] = "Schedule";
  static const NodeDescription kDescription;
  static const NodeTable<ParameterRule> kRules;
  Schedule() : DueNode(kTypeName, kDescription, kRules) {}

 private:
  bool OnInput(std::string_view signal, Outputs& outputs) override;
  void OnDue(std::int64_t time, Outputs& outputs) override;
  void AddNext(std::int64_t after, Outputs& outputs);
  void Fire(std::int64_t moment, Outputs& outputs);
};

}  // namespace OrvWorkFlow::Nodes
