// Lets signals pass while it is open.
//
// In the record: Open; Kept, how many wait for it to open.
#pragma once

#include "OrvWorkFlow/sdk/WorkNodeBase.h"

namespace OrvWorkFlow::Nodes {

class Gate final : public Sdk::WorkNodeBase {
 public:
  static constexpr char kTypeName[] = "Gate";
  static const NodeDescription kDescription;
  Gate() : Sdk::WorkNodeBase(kTypeName, kDescription) {}

 private:
  bool OnSignal(std::string_view signal) override;
};

}  // namespace OrvWorkFlow::Nodes
