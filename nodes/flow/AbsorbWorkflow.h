// Takes another workflow into the running one. The type's name is known to the library: the workflow of an instance of
// it stands above those that it absorbs.
#pragma once

#include "OrvWorkFlow/sdk/WorkNodeBase.h"

namespace OrvWorkFlow::Nodes {

class AbsorbWorkflow final : public Sdk::WorkNodeBase {
 public:
  static constexpr char kTypeName[] = "AbsorbWorkflow";
  static const NodeDescription kDescription;
  AbsorbWorkflow() : Sdk::WorkNodeBase(kTypeName, kDescription) {}

  std::int32_t MostSignalsFired() override { return 1; }

 private:
  bool OnSignal(std::string_view signal) override;
};

}  // namespace OrvWorkFlow::Nodes
