// Ends the run with an exit code and a text: what waits is not delivered, and the next run begins anew.
#pragma once

#include "OrvWorkFlow/sdk/WorkNodeBase.h"

namespace OrvWorkFlow::Nodes {

// What it says stands below "/Orvflow/End", so that a run that dies right after it is ended by the next one.
class RunEnd final : public Sdk::WorkNodeBase {
 public:
  static constexpr char kTypeName[] = "RunEnd";
  static const NodeDescription kDescription;
  static const NodeTable<ParameterRule> kRules;
  RunEnd() : Sdk::WorkNodeBase(kTypeName, kDescription, kRules) {}

  std::int32_t MostSignalsFired() override { return 1; }

 private:
  bool OnSignal(std::string_view signal) override;
};

}  // namespace OrvWorkFlow::Nodes
