// Counts signals.
//
// In the record: Count.
#pragma once

#include "OrvWorkFlow/sdk/WorkNodeBase.h"

namespace OrvWorkFlow::Nodes {

class Counter final : public Sdk::WorkNodeBase {
 public:
  static constexpr char kTypeName[] = "Counter";
  static const NodeDescription kDescription;
  Counter() : Sdk::WorkNodeBase(kTypeName, kDescription) {}

  std::int32_t MostSignalsFired() override { return 1; }

 private:
  bool OnSignal(std::string_view signal) override;
};

}  // namespace OrvWorkFlow::Nodes
